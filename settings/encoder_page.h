// The pod's encoder, its folders and the custom text that it burns into its picture.
#pragma once

#include <QObject>
#include <cstdint>

#include "link/command_catalogue.h"
#include "settings/settings_page.h"

struct SettingsForm;

// Nothing of it is stored: the encoder's state is the pod's.
class EncoderPage : public QObject, public SettingsPage {
    Q_OBJECT

public:
    // The form outlives the page.
    explicit EncoderPage(const SettingsForm& form);

    void load() override;

signals:
    // A command that ends by itself after a moment.
    void timedCommandRequested(const sorvane::Command& command);
    // A variable frame of its own, in either protocol mode.
    void frameRequested(std::uint16_t code, const QByteArray& payload);

private:
    void nameFolder();
    void sendCustomText();

    const SettingsForm& m_form;
};
