#include "settings/relay_page.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTextCursor>
#include <QTextEdit>
#include <array>

#include "forms/settings_form.h"
#include "settings/reply_codes.h"

namespace {

constexpr int kBurstMs = 100;

// In the order of sorvane::relayModuleCode.
constexpr std::array<const char*, sorvane::kRelayModules> kModules = {
    QT_TRANSLATE_NOOP("RelayPage", "红外机芯"),     QT_TRANSLATE_NOOP("RelayPage", "可见光机芯"),
    QT_TRANSLATE_NOOP("RelayPage", "激光测距机"),   QT_TRANSLATE_NOOP("RelayPage", "激光补光灯"),
    QT_TRANSLATE_NOOP("RelayPage", "可见光补光灯"), QT_TRANSLATE_NOOP("RelayPage", "跟踪板"),
    QT_TRANSLATE_NOOP("RelayPage", "伺服"),         QT_TRANSLATE_NOOP("RelayPage", "红外镜头"),
    QT_TRANSLATE_NOOP("RelayPage", "可见光镜头"),   QT_TRANSLATE_NOOP("RelayPage", "红外振镜"),
    QT_TRANSLATE_NOOP("RelayPage", "可见光振镜"),   QT_TRANSLATE_NOOP("RelayPage", "激光照射器"),
    QT_TRANSLATE_NOOP("RelayPage", "激光告警器"),   QT_TRANSLATE_NOOP("RelayPage", "火控板"),
};

}  // namespace

RelayPage::RelayPage(const SettingsForm& form) : m_form(form) {
    // The texts come with the language.
    for (std::size_t i = 0; i < kModules.size(); ++i) {
        m_form.relay_module->addItem(QString());
    }
    m_form.relay_log->document()->setMaximumBlockCount(kLogLines);
    m_burstTimer.setSingleShot(true);
    m_burstTimer.setInterval(kBurstMs);
    connect(&m_burstTimer, &QTimer::timeout, this, &RelayPage::showBurst);
    connect(m_form.relay_send, &QPushButton::clicked, this, &RelayPage::send);
    connect(m_form.relay_clear, &QPushButton::clicked, m_form.relay_log, &QTextEdit::clear);
    connect(m_form.relay_history, QOverload<int>::of(&QComboBox::activated), this,
            [this](int row) { m_form.relay_text->setPlainText(m_form.relay_history->itemText(row)); });
}

void RelayPage::load() { m_form.relay_module->setCurrentIndex(0); }

void RelayPage::retranslate() {
    for (std::size_t i = 0; i < kModules.size(); ++i) {
        m_form.relay_module->setItemText(static_cast<int>(i), tr(kModules[i]));
    }
}

void RelayPage::send() {
    const QString text = m_form.relay_text->toPlainText();
    const std::vector<std::uint8_t> data = sorvane::relayData(
        m_form.relay_module->currentIndex(), m_form.relay_number->text().toInt(), text.toStdU16String());
    emit frameRequested(
        kRelayFrame, QByteArray(reinterpret_cast<const char*>(data.data()), static_cast<int>(data.size())));
    m_form.relay_history->insertItem(0, text);
    m_form.relay_history->setCurrentIndex(0);
}

void RelayPage::onReply(std::uint16_t /*code*/, const unsigned char* data, int size) {
    if (m_burst.add(data, size)) {
        m_burstTimer.start();
    }
}

void RelayPage::showBurst() {
    const int row = m_burst.row();
    const QString module =
        row >= 0 ? tr(kModules[static_cast<std::size_t>(row)]) : QString::number(m_burst.module());
    QTextCursor end(m_form.relay_log->document());
    end.movePosition(QTextCursor::End);
    end.insertText(tr("模块：%1，载荷编号：%2").arg(module).arg(m_burst.number()) + QLatin1Char('\n') +
                   QString::fromStdString(m_burst.digits()) + QLatin1Char('\n'));
    m_burst.clear();
    m_form.relay_log->moveCursor(QTextCursor::End);
}
