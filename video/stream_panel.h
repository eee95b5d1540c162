// The video groups of the connection dialog: what is to be opened, and the history of addresses.
#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <cstdint>
#include <functional>

class MyAppConfig;
class QPushButton;
struct ConnectionForm;

// What one opening asks for, as the dialog says at that moment.
struct StreamRequest {
    QByteArray url;    // Latin-1
    QString local_ip;  // empty for any
    int port = 0;      // 0 for a text that is no number
    int type = 0;      // a sorvane::StreamType
    std::uint8_t decoder = 1;
};

// Form and configuration outlive it. GUI thread.
class StreamPanel : public QObject {
    Q_OBJECT

public:
    // decoder: the value for the stream library, asked anew at each opening.
    StreamPanel(const ConnectionForm& form, MyAppConfig& config, std::function<std::uint8_t()> decoder);

    // channel is 1 or 2.
    StreamRequest request(int channel) const;
    int streamType() const;
    // The address of channel 1 was opened: the history takes it in, and the list is filled anew.
    void noteOpened();
    // Texts of the two buttons.
    void showOpen(bool open1, bool open2);
    // What the edits hold, into the configuration.
    void store();

private:
    void onTypeChanged(int index);
    void refillAddresses();

    const ConnectionForm& m_form;
    MyAppConfig& m_config;
    std::function<std::uint8_t()> m_decoder;
};
