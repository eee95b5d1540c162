// The page of directories and saving intervals.
#pragma once

#include <QObject>

#include "settings/settings_page.h"

class MyAppConfig;
struct SettingsForm;

// A chosen directory stands in the configuration at once; the rest is stored with the dialog.
class FilePage : public QObject, public SettingsPage {
    Q_OBJECT

public:
    // Form and configuration outlive the page.
    FilePage(const SettingsForm& form, MyAppConfig& config);

    void load() override;
    void store() override;

private:
    const SettingsForm& m_form;
    MyAppConfig& m_config;
};
