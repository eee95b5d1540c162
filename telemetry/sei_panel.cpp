#include "telemetry/sei_panel.h"

#include <QDialog>
#include <QGridLayout>
#include <QLabel>
#include <mutex>

#include "forms/sei_form.h"
#include "telemetry/shown_text.h"

namespace {

constexpr int kRowHeight = 24;
constexpr int kValueWidth = 120;

QLabel* makeLabel(const QString& name, const char* role, Qt::Alignment alignment) {
    auto* label = new QLabel;
    label->setObjectName(name);
    label->setProperty("role", QString::fromLatin1(role));
    label->setTextFormat(Qt::PlainText);
    label->setAlignment(alignment | Qt::AlignVCenter);
    return label;
}

}  // namespace

// What crosses to the GUI thread: one block and at most one call, so that a window that is held up meets the
// latest block and no queue of them.
struct SeiPanel::Mailbox {
    std::mutex mutex;
    SeiPanel* panel = nullptr;  // null once it is gone
    std::optional<sorvane::SeiPayload> waiting;
};

SeiPanel::SeiPanel(const SeiForm& form, QDialog& dialog)
    : m_form(form), m_dialog(dialog), m_mailbox(std::make_shared<Mailbox>()) {
    m_mailbox->panel = this;
    fill(sorvane::seiLeftColumn(), *form.left_column);
    fill(sorvane::seiRightColumn(), *form.right_column);
    setCaptions();
}

SeiPanel::~SeiPanel() {
    const std::lock_guard<std::mutex> lock(m_mailbox->mutex);
    m_mailbox->panel = nullptr;
}

void SeiPanel::fill(const sorvane::SeiFields& fields, QGridLayout& column) {
    int row = 0;
    for (const sorvane::SeiField& field : fields) {
        const QString name = QString::fromLatin1(field.object_name);
        QLabel* caption = makeLabel(name + QStringLiteral("_caption"), "caption", Qt::AlignRight);
        QLabel* value = makeLabel(name, "value", Qt::AlignLeft);
        // A label of a fixed size takes a new text without a new layout of the dialog.
        value->setFixedSize(kValueWidth, kRowHeight);
        value->setText(QStringLiteral("--"));
        caption->setBuddy(value);
        column.addWidget(caption, row, 0);
        column.addWidget(value, row, 1);
        m_rows.push_back({&field, caption, value});
        ++row;
    }
}

SeiPanel::Taker SeiPanel::taker() const {
    return [mailbox = m_mailbox](void* run, int size, int kind) {
        const auto block = sorvane::findSeiBlock(static_cast<const std::uint8_t*>(run), size, kind);
        if (!block) {
            return;
        }
        const std::lock_guard<std::mutex> lock(mailbox->mutex);
        const bool under_way = mailbox->waiting.has_value();
        mailbox->waiting = block;
        if (mailbox->panel != nullptr && !under_way) {
            QMetaObject::invokeMethod(
                mailbox->panel, [panel = mailbox->panel] { panel->takeWaiting(); }, Qt::QueuedConnection);
        }
    };
}

void SeiPanel::takeWaiting() {
    {
        const std::lock_guard<std::mutex> lock(m_mailbox->mutex);
        m_shown = m_mailbox->waiting;
        m_mailbox->waiting.reset();
    }
    showValues();
}

void SeiPanel::showValues() {
    if (!m_shown) {
        return;
    }
    for (const Row& row : m_rows) {
        row.value->setText(shownText(sorvane::seiText(*row.field, *m_shown)));
    }
}

void SeiPanel::setCaptions() {
    for (const Row& row : m_rows) {
        row.caption->setText(QCoreApplication::translate("sei_info", row.field->caption));
    }
}

void SeiPanel::retranslate() {
    m_form.ui.retranslateUi(&m_dialog);
    setCaptions();
    showValues();
}
