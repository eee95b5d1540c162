// The page of the firmware upgrade: module, file, progress and what the pod tells.
#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <cstdint>
#include <memory>

#include "settings/firmware_upgrade.h"
#include "settings/settings_page.h"

struct SettingsForm;

// Nothing of it is stored. Answers act whether the page is shown or not.
class UpgradePage : public QObject, public SettingsPage {
    Q_OBJECT

public:
    // The form outlives the page.
    explicit UpgradePage(const SettingsForm& form);
    ~UpgradePage() override;

    void load() override;
    // The state of the pod is told in the new language; the log keeps what was told.
    void retranslate() override;
    // Code 12289: the pod's answers.
    void onReply(std::uint16_t code, const unsigned char* data, int size) override;

signals:
    // A variable frame of its own, in either protocol mode.
    void frameRequested(std::uint16_t code, const QByteArray& payload);
    // Nothing may leave the station by itself from now on.
    void silenceRequested();

private:
    class File;

    sorvane::UpgradeSurroundings surroundings();
    void chooseFile();
    void showTold(int state);
    void showProgress(int frame, std::int64_t frames);
    void tellSuccess();

    const SettingsForm& m_form;
    std::unique_ptr<File> m_file;
    sorvane::FirmwareUpgrade m_upgrade;
    int m_state = -1;  // the latest with a text; -1 before the first
    QString m_progress;
    bool m_telling = false;
};
