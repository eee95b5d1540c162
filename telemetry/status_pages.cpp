#include "telemetry/status_pages.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QVBoxLayout>
#include <algorithm>

#include "base/age_text.h"
#include "forms/main_form.h"
#include "widgets/sheets.h"

namespace {

constexpr int kRowHeight = 24;
constexpr int kGroupGap = 8;
constexpr int kColumnGap = 8;

// Until the first report. The aircraft page stays blank until its first block.
QString initialText(sorvane::PanelPage page) {
    return page == sorvane::PanelPage::kAircraft ? QString() : QStringLiteral("--");
}

QLabel* makeLabel(QWidget* parent, const QString& name, const char* role, Qt::Alignment alignment) {
    auto* label = new QLabel(parent);
    label->setObjectName(name);
    label->setProperty("role", QString::fromLatin1(role));
    label->setTextFormat(Qt::PlainText);
    label->setAlignment(alignment | Qt::AlignVCenter);
    label->setFixedHeight(kRowHeight);
    return label;
}

QString captionText(const sorvane::PanelRow& row) {
    // A caption with a name of its own stands as it is in every language.
    if (row.caption_object != nullptr) {
        return QString::fromUtf8(row.caption);
    }
    return QCoreApplication::translate("KorvathClass", row.caption);
}

// The rows of the age, one a page, as names differ. Their values are written by setAge alone.
sorvane::PanelText kept(const sorvane::PanelSource& /*source*/) { return {}; }
constexpr const char* kAgeCaption = QT_TRANSLATE_NOOP("KorvathClass", "最后回报：");
constexpr sorvane::PanelRow kPodAge = {sorvane::PanelPage::kPod, "label_pod_age_val", kAgeCaption, kept};
constexpr sorvane::PanelRow kHealthAge = {sorvane::PanelPage::kHealth, "label_health_age_val", kAgeCaption,
                                          kept};

// With what the style sheet adds around the text.
int captionWidth(const QLabel& caption) {
    caption.ensurePolished();
    return caption.sizeHint().width();
}

}  // namespace

StatusPage::StatusPage(sorvane::PanelPage page, QWidget* parent) : QWidget(parent) {
    int y = 0;
    for (const sorvane::PanelRow& row : sorvane::panelRows()) {
        if (row.page != page) {
            continue;
        }
        if (row.starts_group) {
            y += kGroupGap;
        }
        addRow(row, y, this);
        y += kRowHeight;
    }
    setFixedHeight(y);
    retranslate();
}

void StatusPage::addRow(const sorvane::PanelRow& row, int y, QWidget* parent) {
    const QString name = QString::fromLatin1(row.object_name);
    const QString caption_name = row.caption_object != nullptr ? QString::fromLatin1(row.caption_object)
                                                               : name + QStringLiteral("_caption");
    QLabel* caption = makeLabel(parent, caption_name, "caption", Qt::AlignRight);
    QLabel* value = makeLabel(parent, name, "value", Qt::AlignLeft);
    caption->setBuddy(value);
    value->setText(initialText(row.page));
    m_rows.push_back({&row, caption, value, y});
}

void StatusPage::addAge(const sorvane::PanelRow& row, QWidget* line) {
    line->setFixedHeight(kRowHeight);
    addRow(row, 0, line);
    m_age = m_rows.back().value;
    // No row of the table; and what the sheets ask for is there before anything is shown.
    m_rows.back().caption->setProperty("role", QStringLiteral("ageCaption"));
    m_age->setProperty("role", QStringLiteral("age"));
    m_age->setProperty("tone", QString());
    retranslate();
}

void StatusPage::setAge(const QString& text, bool old) {
    m_age->setText(text);
    setStyleProperty(*m_age, "tone", old ? QStringLiteral("danger") : QString());
}

void StatusPage::retranslate() {
    for (const Row& r : m_rows) {
        r.caption->setText(captionText(*r.row));
    }
    place();
}

void StatusPage::place() {
    int edge = 0;
    for (const Row& r : m_rows) {
        edge = std::max(edge, captionWidth(*r.caption));
    }
    const int value_x = edge + kColumnGap;
    for (const Row& r : m_rows) {
        r.caption->setFixedWidth(edge);
        r.caption->move(0, r.y);
        r.value->setFixedWidth(std::max(width() - value_x, 0));
        r.value->move(value_x, r.y);
    }
}

void StatusPage::resizeEvent(QResizeEvent* e) {
    QWidget::resizeEvent(e);
    place();
}

// Another style sheet or font changes the width of the captions.
void StatusPage::changeEvent(QEvent* e) {
    QWidget::changeEvent(e);
    if (e->type() == QEvent::StyleChange || e->type() == QEvent::FontChange) {
        place();
    }
}

bool StatusPage::event(QEvent* e) {
    const bool result = QWidget::event(e);
    if (e->type() == QEvent::Polish || e->type() == QEvent::Show) {
        place();
    }
    return result;
}

void StatusPage::refresh(const sorvane::PanelSource& source) {
    using Kind = sorvane::PanelText::Kind;
    for (const Row& r : m_rows) {
        const sorvane::PanelText text = r.row->format(source);
        if (text.kind == Kind::kWord) {
            r.value->setText(QCoreApplication::translate("Korvath", text.word));
        } else if (text.kind == Kind::kNumber) {
            r.value->setText(QString::fromUtf8(text.number));
        }
    }
}

StatusPages::StatusPages(const MainForm& form, const sorvane::TelemetryRecord& record,
                         const sorvane::NavBlock& nav)
    : m_form(form),
      m_record(record),
      m_nav(nav),
      m_aircraft(addPage(sorvane::PanelPage::kAircraft, form.aircraft_content)),
      m_pod(addPage(sorvane::PanelPage::kPod, form.pod_content)),
      m_health(addPage(sorvane::PanelPage::kHealth, form.health_content)) {
    QElapsedTimer clock;
    clock.start();
    now_ms = [clock] { return clock.elapsed(); };
    const auto addAge = [](StatusPage* page, const sorvane::PanelRow& row, QVBoxLayout* layout) {
        auto* line = new QWidget(layout->parentWidget());
        layout->addWidget(line);
        page->addAge(row, line);
    };
    addAge(m_pod, kPodAge, form.ui.layout_page);
    addAge(m_health, kHealthAge, form.ui.layout_page_2);
}

StatusPage* StatusPages::addPage(sorvane::PanelPage page, QWidget* content) {
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    auto* widget = new StatusPage(page, content);
    layout->addWidget(widget);
    layout->addStretch(1);
    return widget;
}

void StatusPages::retranslate() {
    for (StatusPage* page : {m_aircraft, m_pod, m_health}) {
        page->retranslate();
    }
    showRecordButton();
}

void StatusPages::onRecord() {
    m_lastReport_ms = now_ms();
    showRecordButton();
    if (m_form.ui.widget_stat->isVisible()) {
        refresh();
    }
}

void StatusPages::refresh() {
    const sorvane::PanelSource source{m_record, m_nav};
    m_pod->refresh(source);
    m_health->refresh(source);
}

void StatusPages::showAge() {
    constexpr qint64 kOld_ms = 2000;
    if (m_lastReport_ms < 0 || !m_form.ui.widget_stat->isVisible()) {
        return;
    }
    const qint64 age_ms = now_ms() - m_lastReport_ms;
    const QString text =
        QCoreApplication::translate("Korvath", "%1 前").arg(QString::fromStdString(sorvane::ageText(age_ms)));
    m_pod->setAge(text, age_ms > kOld_ms);
    m_health->setAge(text, age_ms > kOld_ms);
}

void StatusPages::refreshAircraft() { m_aircraft->refresh({m_record, m_nav}); }

void StatusPages::showRecordButton() {
    const bool recording = sorvane::bitSet(m_record.status_word_a, sorvane::kRecordingBit);
    m_form.pod_record->setText(recording ? QCoreApplication::translate("Korvath", "停止录像")
                                         : QCoreApplication::translate("Korvath", "开始录像"));
}
