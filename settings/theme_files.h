// The two looks of the station: style sheets and tool bar icons by file name, read from the run-time tree.
#pragma once

class QToolButton;
class QWidget;
struct MainForm;

// theme: 0 day, 1 night. Sets the application's sheet (a missing one leaves the present sheet), the settings
// dialog's (a missing one empties it), and the icons of the actions and of the view menu's button. GUI
// thread.
void applyThemeFiles(int theme, const QWidget& window, QWidget& settings, const MainForm& form,
                     QToolButton& view_button);
