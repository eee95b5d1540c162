// The page of raw traffic to and from a module of the pod.
#pragma once

#include <QObject>
#include <QTimer>
#include <cstdint>

#include "settings/relay.h"
#include "settings/settings_page.h"

struct SettingsForm;

// Nothing of it is stored. What came stands in the log until it is cleared, the latest kLogLines lines of it.
class RelayPage : public QObject, public SettingsPage {
    Q_OBJECT

public:
    static constexpr int kLogLines = 10000;

    // The form outlives the page.
    explicit RelayPage(const SettingsForm& form);

    void load() override;
    void retranslate() override;
    // Code 19: module, payload number, bytes. What comes within 100 ms is shown together.
    void onReply(std::uint16_t code, const unsigned char* data, int size) override;

signals:
    // A variable frame of its own, in either protocol mode.
    void frameRequested(std::uint16_t code, const QByteArray& payload);

private:
    void send();
    void showBurst();

    const SettingsForm& m_form;
    sorvane::RelayBurst m_burst;
    QTimer m_burstTimer;
};
