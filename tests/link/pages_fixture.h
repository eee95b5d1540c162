// The command pages on the main form and on the settings form, without the code of their windows.
#pragma once

#include <QDialog>

#include "forms/main_form.h"
#include "forms/settings_form.h"
#include "link/command_fields.h"
#include "link/command_pages.h"
#include "link_parts_fixture.h"
#include "tests/fakes/built_form.h"

class PagesPartTest : public SenderPartTest {
protected:
    // Until then an expiry goes to nobody, however long the test takes.
    void routeTimers() {
        timers.on_timer = [this](int id) {
            if (id == stop_timer) {
                pages.onStopTimer();
            } else {
                pages.onZoomTimer(id);
            }
        };
    }

    QMyCmdBtn* button(const char* name) const { return window.findChild<QMyCmdBtn*>(QLatin1String(name)); }
    QPushButton* settingsButton(const char* name) const {
        return settings.findChild<QPushButton*>(QLatin1String(name));
    }

    QMainWindow window;
    Ui::KorvathClass ui = builtForm<Ui::KorvathClass>(window);
    MainForm form{ui};
    QDialog settings;
    Ui::dialogSettings settings_ui = builtForm<Ui::dialogSettings>(settings);
    SettingsForm settings_form{settings_ui};

    CommandTimerList zoom_timers;
    int stop_timer = 0;
    bool tracking = false;
    int display_mode = 1;
    bool settings_exist = true;

    CommandFields fields{form, window};
    CommandPages pages{
        form, timers, sender, CommandPagesFields{zoom_timers, stop_timer, link_state, tracking},
        CommandQuestions{[this] { return display_mode; },
                         [this]() -> const QWidget* { return settings_exist ? &settings : nullptr; },
                         [this]() -> const QWidget* { return settings_form.osd_page; }}};
};
