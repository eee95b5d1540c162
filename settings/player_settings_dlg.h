// The one modeless settings dialog; owns the configuration of the whole program.
#pragma once

#include <QString>
#include <QTranslator>
#include <array>
#include <cstdint>
#include <memory>

#include "widgets/common_dlg.h"

class Korvath;
class MyAppConfig;
class QLineEdit;
class QPushButton;
namespace Ui {
class dialogSettings;
}

class PlayerSettingsDlg : public common_dlg {
    Q_OBJECT

public:
    // Creates and loads the configuration, fills the pages from it. `window` outlives the dialog.
    explicit PlayerSettingsDlg(Korvath* window);
    // Saves and deletes the configuration.
    ~PlayerSettingsDlg() override;

    // Runs the form's retranslation and sets the texts that are not in the form; after each language change.
    void init();
    // 0 Chinese, 1 English; other values change no translator.
    void applyLanguage(int language);

    // rbtn_scaleQualHigh_3 is checked: each command goes out once as a variable frame.
    bool singleMode() const;
    // checkBox_16 is checked: command 1026 goes out every 40 ms in single mode.
    bool sendsTelemetryPeriodically() const;
    int languageIndex() const;
    // Decoder for the stream library: 1 software, 2 CUDA, 4 Quick Sync.
    std::uint8_t decoderValue() const;

    // A reply frame of the pod: 16-bit code and `size` bytes of data (0 or more), valid during the call.
    void on_recv_single_frame(std::uint16_t code, const unsigned char* data, int size);

    MyAppConfig* m_config = nullptr;
    std::unique_ptr<Ui::dialogSettings> ui;

protected:
    void closeEvent(QCloseEvent* e) override;
    // Escape and reject() close the dialog without closeEvent; the page states are stored there too.
    void reject() override;

private:
    friend struct KorvathAccess;
    // One row of the file page: where it stands, what it stores, the chooser's title.
    struct DirectoryRow {
        QLineEdit* edit;
        QPushButton* change;
        QPushButton* open;
        QString MyAppConfig::*key;
        QString title;
    };

    void fillFromConfig();
    void connectWidgets();
    // A page is a pair: widgets from configuration, configuration from widgets.
    void loadCommonPage();
    void connectCommonPage();
    void retranslateCommonPage();
    void storeCommonPage();
    void loadFilePage();
    void connectFilePage();
    void storeFilePage();
    std::array<DirectoryRow, 3> directoryRows();
    void storePages();
    void loadOsdPage();
    void retranslateOsdPage();
    // Colour and language of the on-screen display.
    void sendOsdStyle();

    Korvath* m_window;
    QTranslator m_translator;
    bool m_translatorLoaded = false;
};
