#include "settings/remote_page.h"

#include <QCheckBox>
#include <QComboBox>
#include <QPushButton>

#include "forms/settings_form.h"
#include "input/sbus_control.h"
#include "settings/sbus_rows.h"
#include "widgets/my_message_box.h"

using sorvane::kSbusRows;
using sorvane::kSbusRowTable;

namespace {

// A write waits so long before it looks at the page.
constexpr int kWriteWaitMs = 50;

constexpr std::uint16_t kAsk = 56;
constexpr std::uint16_t kAssign = 17;
constexpr std::uint16_t kConfiguration = 54;
constexpr unsigned char kOfChannels = 2;

const QByteArray kAskChannels = QByteArray::fromHex("02");
const QByteArray kSaveChannels = QByteArray::fromHex("0006");
const QByteArray kFactoryChannels = QByteArray::fromHex("0106");

}  // namespace

RemotePage::RemotePage(const SettingsForm& form) : m_form(form) {
    m_writeWaits.setSingleShot(true);
    m_writeWaits.setInterval(kWriteWaitMs);
    connect(&m_writeWaits, &QTimer::timeout, this, &RemotePage::sendAssignment);
    for (std::size_t i = 0; i < kSbusRows; ++i) {
        const Row r = row(i);
        for (int channel = 0; channel < sorvane::kSbusChannels; ++channel) {
            r.channel->addItem(QString(), channel);
        }
        if (r.reverse != nullptr) {
            connect(r.reverse, &QCheckBox::toggled, r.strip, &sbus_control::setReversed);
        }
    }
    const auto sends = [this](QPushButton* button, std::uint16_t code, const QByteArray& payload) {
        connect(button, &QPushButton::clicked, this,
                [this, code, payload] { emit frameRequested(code, payload); });
    };
    sends(m_form.remote_read, kAsk, kAskChannels);
    sends(m_form.remote_save, kConfiguration, kSaveChannels);
    sends(m_form.remote_factory, kConfiguration, kFactoryChannels);
    connect(m_form.remote_write, &QPushButton::clicked, this, &RemotePage::write);
}

RemotePage::Row RemotePage::row(std::size_t index) const {
    const sorvane::SbusRow& names = kSbusRowTable[index];
    const QWidget& page = *m_form.remote_page;
    return {
        page.findChild<QComboBox*>(QLatin1String(names.channel_box)),
        names.reverse_box != nullptr ? page.findChild<QCheckBox*>(QLatin1String(names.reverse_box)) : nullptr,
        page.findChild<sbus_control*>(QLatin1String(names.strip))};
}

void RemotePage::load() {
    for (std::size_t i = 0; i < kSbusRows; ++i) {
        row(i).channel->setCurrentIndex(kSbusRowTable[i].channel);
    }
}

void RemotePage::retranslate() {
    const QString word = tr("SBUS channel");
    for (std::size_t i = 0; i < kSbusRows; ++i) {
        QComboBox* box = row(i).channel;
        for (int channel = 0; channel < box->count(); ++channel) {
            box->setItemText(channel, word + QString::number(channel + 1));
        }
    }
    if (m_textsShown) {
        showTexts();
    }
}

void RemotePage::selected() {
    m_textsShown = true;
    showTexts();
}

void RemotePage::showTexts() {
    for (std::size_t i = 0; i < kSbusRows; ++i) {
        row(i).strip->setTexts(tr(kSbusRowTable[i].text_a), tr(kSbusRowTable[i].text_b));
    }
}

// A second click within the wait asks for nothing more than the first; a window that closes within it takes
// the wait with it.
void RemotePage::write() {
    if (!link_open || !link_open()) {
        MyMessageBox::warning(m_form.remote_page->window(), tr("请先连接串口！"), tr("警告"));
        return;
    }
    if (!m_writeWaits.isActive()) {
        m_writeWaits.start();
    }
}

void RemotePage::sendAssignment() {
    if (!link_open()) {
        return;
    }
    QByteArray payload(1, static_cast<char>(kOfChannels));
    for (std::size_t i = 0; i < kSbusRows; ++i) {
        const Row r = row(i);
        const bool reversed = r.reverse != nullptr && r.reverse->isChecked();
        payload += static_cast<char>(sorvane::sbusByte(r.channel->currentData().toInt(), reversed));
    }
    emit frameRequested(kAssign, payload);
}

void RemotePage::onReply(std::uint16_t /*code*/, const unsigned char* data, int size) {
    if (size < 1 + static_cast<int>(kSbusRows) || data[0] != kOfChannels) {
        return;
    }
    for (std::size_t i = 0; i < kSbusRows; ++i) {
        const Row r = row(i);
        r.channel->setCurrentIndex(sorvane::sbusChannel(data[1 + i]));
        if (r.reverse != nullptr) {
            r.reverse->setChecked(sorvane::sbusReversed(data[1 + i]));
        }
    }
}
