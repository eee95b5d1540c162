#include "video/stream_panel.h"

#include <QCoreApplication>
#include <utility>

#include "app/config/my_app_config.h"
#include "forms/connection_form.h"
#include "video/stream_rules.h"

namespace {

QStringList noted(const QStringList& history, const QString& address) {
    std::vector<std::string> texts;
    for (const QString& entry : history) {
        texts.push_back(entry.toStdString());
    }
    sorvane::noteOpenedAddress(texts, address.toStdString());
    QStringList result;
    for (const std::string& entry : texts) {
        result << QString::fromStdString(entry);
    }
    return result;
}

QString buttonText(bool open) {
    return open ? QCoreApplication::translate("Korvath", "关闭")
                : QCoreApplication::translate("Korvath", "连接");
}

}  // namespace

StreamPanel::StreamPanel(const ConnectionForm& form, MyAppConfig& config,
                         std::function<std::uint8_t()> decoder)
    : m_form(form), m_config(config), m_decoder(std::move(decoder)) {
    m_form.stream_type->addItems({QStringLiteral("RTSP"), QStringLiteral("UDP Raw"),
                                  QStringLiteral("UDP 422"), QStringLiteral("UDP TS")});
    m_form.video1_port->setText(QString::number(m_config.video1_port));
    m_form.video2_port->setText(QString::number(m_config.video2_port));
    const int type = m_config.video_type;
    m_form.stream_type->setCurrentIndex(type < m_form.stream_type->count() ? qMax(type, 0) : 0);
    onTypeChanged(streamType());
    connect(m_form.stream_type, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            &StreamPanel::onTypeChanged);
}

int StreamPanel::streamType() const { return m_form.stream_type->currentIndex(); }

StreamRequest StreamPanel::request(int channel) const {
    const bool first = channel == 1;
    StreamRequest request;
    request.url = (first ? m_form.video1_address->currentText() : m_form.video2_address->text()).toLatin1();
    request.port = (first ? m_form.video1_port : m_form.video2_port)->text().toInt();
    request.local_ip = m_form.local_address->currentText();
    request.type = streamType();
    request.decoder = m_decoder();
    return request;
}

void StreamPanel::onTypeChanged(int index) {
    const bool has_port = index != sorvane::kStreamRtsp;
    m_form.video1_port->setEnabled(has_port);
    m_form.video2_port->setEnabled(has_port);
    const std::string second = sorvane::secondAddress(index, m_config.video2_play_address.toStdString());
    m_form.video2_address->setText(QString::fromStdString(second));
    refillAddresses();
}

void StreamPanel::refillAddresses() {
    QComboBox* box = m_form.video1_address;
    box->clear();
    for (const QString& address : m_config.video1_play_address) {
        if (sorvane::offeredWith(streamType(), address.toStdString())) {
            box->addItem(address);
        }
    }
    if (box->count() > 0) {
        box->setCurrentIndex(0);
    }
}

void StreamPanel::noteOpened() {
    m_config.video1_play_address = noted(m_config.video1_play_address, m_form.video1_address->currentText());
    refillAddresses();
}

void StreamPanel::showOpen(bool open1, bool open2) {
    m_form.video1_open->setText(buttonText(open1));
    m_form.video2_open->setText(buttonText(open2));
}

void StreamPanel::store() {
    m_config.video1_port = m_form.video1_port->text().toInt();
    m_config.video2_play_address = m_form.video2_address->text();
    m_config.video2_port = m_form.video2_port->text().toInt();
    m_config.video_type = streamType();
}
