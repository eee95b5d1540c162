#include "telemetry/status_pages.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QFontMetrics>
#include <QScrollBar>
#include <QSet>
#include <QVBoxLayout>
#include <algorithm>
#include <cstring>
#include <utility>

#include "base/age_text.h"
#include "forms/main_form.h"
#include "telemetry/shown_text.h"
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

QString ageLine(qint64 age_ms) {
    return QCoreApplication::translate("Korvath", "%1 前")
        .arg(QString::fromStdString(sorvane::ageText(age_ms)));
}

// The widest of each unit.
QSet<QString> possibleAges() {
    constexpr qint64 kSecond = 1000;
    constexpr qint64 kMinute = 60 * kSecond;
    constexpr qint64 kHour = 60 * kMinute;
    return {ageLine(99 * kSecond + 900), ageLine(99 * kMinute), ageLine(999 * kHour)};
}

// Texts that a report can bring to a row: one byte repeated through all fields makes every enumeration take
// each of its values, every flag both, and every number one with as many digits as it can have.
QSet<QString> possibleTexts(const sorvane::PanelRow& row) {
    constexpr int kMostValues = 20;  // of an enumeration
    QSet<QString> texts;
    const auto add = [&](int byte) {
        sorvane::TelemetryRecord record;
        sorvane::NavBlock nav;
        std::memset(static_cast<void*>(&record), byte, sizeof record);
        std::memset(static_cast<void*>(&nav), byte, sizeof nav);
        texts.insert(shownText(row.format({record, nav})));
    };
    for (int value = 0; value <= kMostValues; ++value) {
        add(value);
    }
    for (const int extreme : {0x7f, 0x80, 0xff}) {
        add(extreme);
    }
    return texts;
}

// As a label lays it out: strokes reach beyond the last letter's advance, and letters of another typeface may
// be higher.
QSize oneLine(const QFontMetrics& metrics, const QString& text) {
    return metrics.boundingRect(QRect(), 0, text).size() + QSize(1, 0);
}

// The least width in which the text takes two lines at most.
int widthInTwoLines(const QFontMetrics& metrics, const QString& text) {
    constexpr int kStep = 2;
    const QSize line = oneLine(metrics, text);
    for (int width = line.width() / 2; width < line.width(); width += kStep) {
        const QRect need = metrics.boundingRect(QRect(0, 0, width, 0), Qt::TextWordWrap, text);
        if (need.width() <= width && need.height() < 3 * line.height()) {
            return width;
        }
    }
    return line.width();
}

}  // namespace

StatusPage::StatusPage(sorvane::PanelPage page, std::function<void()> fontChanged, QWidget* parent)
    : QWidget(parent), m_fontChanged(std::move(fontChanged)) {
    for (const sorvane::PanelRow& row : sorvane::panelRows()) {
        if (row.page == page) {
            addRow(row, this);
        }
    }
    retranslate();
}

void StatusPage::addRow(const sorvane::PanelRow& row, QWidget* parent) {
    const QString name = QString::fromLatin1(row.object_name);
    const QString caption_name = row.caption_object != nullptr ? QString::fromLatin1(row.caption_object)
                                                               : name + QStringLiteral("_caption");
    QLabel* caption = makeLabel(parent, caption_name, "caption", Qt::AlignRight);
    QLabel* value = makeLabel(parent, name, "value", Qt::AlignLeft);
    value->setWordWrap(row.may_wrap);
    caption->setBuddy(value);
    value->setText(initialText(row.page));
    m_rows.push_back({&row, caption, value, QSize()});
}

void StatusPage::addAge(const sorvane::PanelRow& row, QWidget* line) {
    line->setFixedHeight(kRowHeight);
    addRow(row, line);
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
    measure();
    place();
}

int StatusPage::neededWidth() const { return m_captionWidth + kColumnGap + m_valueWidth; }

void StatusPage::measure() {
    m_captionWidth = 0;
    m_valueWidth = 0;
    for (Row& r : m_rows) {
        r.caption->ensurePolished();
        r.value->ensurePolished();
        const int caption = oneLine(r.caption->fontMetrics(), r.caption->text()).width();
        m_captionWidth = std::max(m_captionWidth, caption);
        const QFontMetrics metrics = r.value->fontMetrics();
        int width = 0;
        r.longest = QSize();
        for (const QString& text : r.value == m_age ? possibleAges() : possibleTexts(*r.row)) {
            r.longest = r.longest.expandedTo(oneLine(metrics, text));
            width = std::max(width, r.row->may_wrap ? widthInTwoLines(metrics, text) : r.longest.width());
        }
        m_valueWidth = std::max(m_valueWidth, width);
    }
    m_measuredFont = m_rows.front().value->font();
}

void StatusPage::place() {
    const int value_x = m_captionWidth + kColumnGap;
    const int value_width = std::max(width() - value_x, 0);
    int y = 0;
    for (const Row& r : m_rows) {
        r.caption->setFixedWidth(m_captionWidth);
        if (r.value == m_age) {
            // On a line of its own.
            r.caption->move(0, 0);
            r.value->setFixedSize(value_width, kRowHeight);
            r.value->move(value_x, 0);
            continue;
        }
        y += r.row->starts_group ? kGroupGap : 0;
        r.caption->move(0, y);
        const bool wraps = r.row->may_wrap && r.longest.width() > value_width;
        // The first of two lines stands where a single one does.
        const int line = r.longest.height();
        r.value->setAlignment(Qt::AlignLeft | (wraps ? Qt::AlignTop : Qt::AlignVCenter));
        r.value->setContentsMargins(0, wraps ? (kRowHeight - line) / 2 : 0, 0, 0);
        r.value->setFixedSize(value_width, wraps ? kRowHeight + line : kRowHeight);
        r.value->move(value_x, y);
        y += r.value->height();
    }
    setFixedHeight(y);
}

void StatusPage::resizeEvent(QResizeEvent* e) {
    QWidget::resizeEvent(e);
    place();
}

// Another style sheet or font changes the widths of the texts.
void StatusPage::changeEvent(QEvent* e) {
    QWidget::changeEvent(e);
    if (e->type() == QEvent::StyleChange || e->type() == QEvent::FontChange) {
        followFont();
    }
}

bool StatusPage::event(QEvent* e) {
    const bool result = QWidget::event(e);
    if (e->type() == QEvent::Polish || e->type() == QEvent::Show) {
        followFont();
    }
    return result;
}

void StatusPage::followFont() {
    const QLabel* value = m_rows.front().value;
    value->ensurePolished();
    if (value->font() != m_measuredFont) {
        measure();
        m_fontChanged();
    }
    place();
}

void StatusPage::refresh(const sorvane::PanelSource& source) {
    using Kind = sorvane::PanelText::Kind;
    for (const Row& r : m_rows) {
        const sorvane::PanelText text = r.row->format(source);
        if (text.kind != Kind::kKeep) {
            r.value->setText(shownText(text));
        }
    }
}

StatusPages::StatusPages(const MainForm& form, const sorvane::TelemetryRecord& record,
                         const sorvane::NavBlock& nav)
    : m_form(form), m_record(record), m_nav(nav) {
    m_aircraft = addPage(sorvane::PanelPage::kAircraft, form.aircraft_content);
    m_pod = addPage(sorvane::PanelPage::kPod, form.pod_content);
    m_health = addPage(sorvane::PanelPage::kHealth, form.health_content);
    QElapsedTimer clock;
    clock.start();
    now_ms = [clock] { return clock.elapsed(); };
    const auto add_age = [](StatusPage* page, const sorvane::PanelRow& row, QVBoxLayout* layout) {
        auto* line = new QWidget(layout->parentWidget());
        layout->addWidget(line);
        page->addAge(row, line);
    };
    add_age(m_pod, kPodAge, form.ui.layout_page);
    add_age(m_health, kHealthAge, form.ui.layout_page_2);
    fitPane();
    followPage();
}

// Pages can be taken out.
void StatusPages::followPage() {
    const QStackedWidget* pages = m_form.status_pages;
    const auto show = [this, pages] {
        const int page = pages->currentIndex();
        m_form.status_page_number->setText(QStringLiteral("%1 / %2").arg(page + 1).arg(pages->count()));
        m_form.previous_status_page->setEnabled(page > 0);
        m_form.next_status_page->setEnabled(page + 1 < pages->count());
    };
    QObject::connect(pages, &QStackedWidget::currentChanged, m_form.status_page_number, show);
    QObject::connect(pages, &QStackedWidget::widgetRemoved, m_form.status_page_number, show);
    show();
}

StatusPage* StatusPages::addPage(sorvane::PanelPage page, QWidget* content) {
    auto* layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    auto* widget = new StatusPage(
        page, [this] { fitPane(); }, content);
    layout->addWidget(widget);
    layout->addStretch(1);
    return widget;
}

void StatusPages::retranslate() {
    for (StatusPage* page : {m_aircraft, m_pod, m_health}) {
        page->retranslate();
    }
    fitPane();
    showRecordButton();
}

// As narrow as its contents allow, so that it covers little of the picture; the same for all pages, so that
// it does not jump from one to the next.
void StatusPages::fitPane() {
    // Called for the first of the pages while the others do not exist yet.
    if (m_health == nullptr) {
        return;
    }
    QWidget& pane = *m_form.ui.widget_stat;
    const QScrollBar& bar = *m_form.ui.scroll_page->verticalScrollBar();
    const QMargins margins = pane.layout()->contentsMargins();
    int needed = 0;
    for (const StatusPage* page : {m_aircraft, m_pod, m_health}) {
        needed = std::max(needed, page->neededWidth());
    }
    bar.ensurePolished();
    pane.setFixedWidth(margins.left() + needed + bar.sizeHint().width() + margins.right());
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
    const QString text = ageLine(age_ms);
    m_pod->setAge(text, age_ms > kOld_ms);
    m_health->setAge(text, age_ms > kOld_ms);
}

void StatusPages::refreshAircraft() { m_aircraft->refresh({m_record, m_nav}); }

void StatusPages::showRecordButton() {
    const bool recording = sorvane::bitSet(m_record.status_word_a, sorvane::kRecordingBit);
    m_form.pod_record->setText(recording ? QCoreApplication::translate("Korvath", "停止录像")
                                         : QCoreApplication::translate("Korvath", "开始录像"));
}
