// The one modeless settings dialog; owns the configuration of the whole program.
#pragma once

#include <QTranslator>
#include <cstdint>
#include <functional>
#include <memory>

#include "input/stick_mapping.h"
#include "link/command_catalogue.h"
#include "settings/decoder_mask.h"
#include "settings/reply_router.h"
#include "widgets/common_dlg.h"

class CommonPage;
class MyAppConfig;
class OsdPage;
class RemotePage;
class StickPage;
struct SettingsForm;
namespace Ui {
class dialogSettings;
}

// Complete from the constructor on. What a choice asks of the window goes out as a signal, to be connected
// directly. GUI thread.
class PlayerSettingsDlg : public common_dlg {
    Q_OBJECT

public:
    // Creates and loads the configuration, fills the pages from it; the list of decoders once they are known.
    explicit PlayerSettingsDlg(const sorvane::DecoderMask& decoders, QWidget* parent = nullptr);
    // Saves and deletes the configuration.
    ~PlayerSettingsDlg() override;

    // Runs the form's retranslation and sets the texts that are not in the form; after each language change.
    void init();
    // 0 Chinese, 1 English; other values change no translator.
    void applyLanguage(int language);

    // Single mode is chosen: each command goes out once as a variable frame.
    bool singleMode() const;
    // The stream of positions is chosen: command 1026 goes out every 40 ms in single mode.
    bool sendsTelemetryPeriodically() const;
    int languageIndex() const;
    // The page of the pod's on-screen display, whose controls the commands of its buttons read.
    const QWidget* osdPage() const;
    // Decoder for the stream library: 1 software, 2 CUDA, 4 Quick Sync. Software while they are not known.
    std::uint8_t decoderValue() const;

    // The game controller; see settings/stick_page.h.
    sorvane::StickSettings stickSettings() const;
    void on_js_connect_change(bool is_connect, int button_count, int product_id, int caps);
    const sorvane::ButtonFunction& pressFeedback(int button);
    int axisFeedback(int index, float offset);

    // Asked by what needs the control link; until it is set, there is none.
    void setLinkQuestion(std::function<bool()> link_open);
    // What was read from a pod before holds no longer.
    void linkOpened();
    // A reply frame of the pod: 16-bit code and `size` bytes of data (0 or more), valid during the call.
    void on_recv_single_frame(std::uint16_t code, const unsigned char* data, int size);

    MyAppConfig* m_config = nullptr;
    std::unique_ptr<Ui::dialogSettings> ui;

signals:
    // 0 day, 1 night.
    void themeChosen(int theme);
    // The translator is in place: every form is to be retranslated before the signal returns, this one by
    // init.
    void languageChanged();
    // singleMode or sendsTelemetryPeriodically has changed.
    void sendModeChanged();
    // 0 three axes, 1 two axes.
    void servoFrameChosen(int platform_type);
    void commandRequested(const sorvane::Command& command);
    // The same, and the command ends by itself after a moment.
    void timedCommandRequested(const sorvane::Command& command);
    // A variable frame of its own, in either protocol mode.
    void frameRequested(std::uint16_t code, const QByteArray& payload);
    // The command with that code ends; 0 is every command of the fixed frame.
    void stopRequested(int code);
    // Until the next change of the send mode or opening of the link nothing may leave by itself.
    void silenceRequested();

protected:
    void closeEvent(QCloseEvent* e) override;
    // Escape and reject() close the dialog without closeEvent; the page states are stored there too.
    void reject() override;

private:
    void addRows();
    void addPages(const sorvane::DecoderMask& decoders);
    void place(PageId id, std::unique_ptr<SettingsPage> page);
    void connectWidgets();
    void connectRequests();
    void onRow(int row);
    void storePages();

    std::unique_ptr<const SettingsForm> m_form;
    PageList m_pages;
    ReplyRouter m_router;
    CommonPage* m_common = nullptr;
    OsdPage* m_osd = nullptr;
    RemotePage* m_remote = nullptr;
    StickPage* m_stick = nullptr;
    QTranslator m_toolkitTexts;
    QTranslator m_translator;
    bool m_translatorLoaded = false;
};
