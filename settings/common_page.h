// The page of general settings.
#pragma once

#include <QObject>
#include <QTimer>
#include <array>
#include <cstdint>

#include "settings/decoder_mask.h"
#include "settings/settings_page.h"

class MyAppConfig;
class QRadioButton;
struct SettingsForm;

class CommonPage : public QObject, public SettingsPage {
    Q_OBJECT

public:
    // Form and configuration outlive the page. The list of decoders is filled once they are known.
    CommonPage(const SettingsForm& form, MyAppConfig& config, sorvane::DecoderMask decoders);

    void load() override;
    void store() override;
    void retranslate() override;

    // Each command goes out once as a variable frame.
    bool singleMode() const;
    // Command 1026 goes out every 40 ms in single mode.
    bool sendsTelemetryPeriodically() const;
    int languageIndex() const;
    // Decoder for the stream library: 1 software, 2 CUDA, 4 Quick Sync. Waits a moment for the list if need
    // be; software while it is not known.
    std::uint8_t decoderValue();

signals:
    void languageChosen(int language);
    void themeChosen(int theme);
    // One of the widgets behind singleMode and sendsTelemetryPeriodically has another state.
    void sendModeChanged();
    // 0 three axes, 1 two axes.
    void servoFrameChosen(int platform_type);

private:
    void connectWidgets();
    void fillDecoders();
    void selectDecoder();
    void nameDecoders();
    // In the order of the stored values.
    std::array<QRadioButton*, 4> views() const;
    // The stream of positions exists in single mode alone. Makes no sendModeChanged of its own.
    void allowTelemetryStream(bool single);

    const SettingsForm& m_form;
    MyAppConfig& m_config;
    const sorvane::DecoderMask m_decoders;
    bool m_decodersShown = false;
    QTimer m_decodersTimer;  // until they are known
};
