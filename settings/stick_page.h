// The page of the game controller: whether it steers, and what its buttons and axes do.
#pragma once

#include <QObject>
#include <string>
#include <vector>

#include "app/config/my_app_config.h"
#include "input/stick_mapping.h"
#include "settings/settings_page.h"

class QComboBox;
class QLabel;
class label_part_bg;
struct SettingsForm;

// Rows stand for what the connected controller has; what is chosen in them goes to the configuration at once,
// under the controller's product id.
class StickPage : public QObject, public SettingsPage {
    Q_OBJECT

public:
    // Form and configuration outlive the page.
    StickPage(const SettingsForm& form, MyAppConfig& config);

    void load() override;
    void store() override;
    void retranslate() override;

    // As the widgets stand.
    sorvane::StickSettings settings() const;
    // A controller has come or gone; the last three as sorvane::JoystickCallbacks tells them.
    void connectChange(bool is_connect, int button_count, int product_id, int caps);
    // A button, from 0: its row blinks; returns what it does.
    const sorvane::ButtonFunction& pressFeedback(int button);
    // An axis by its number, 0.5 is its middle: its row shows it; returns the row's role, -1 without a row.
    int axisFeedback(int axis, float offset);

private:
    struct Row {
        QWidget* line = nullptr;
        QLabel* label = nullptr;      // axes: a label_part_bg
        QLabel* indicator = nullptr;  // buttons alone
        QComboBox* choice = nullptr;
    };
    using Rows = std::vector<Row>;

    void buildRows();
    Rows visibleRows(const Rows& all, const sorvane::Columns& columns, int rows_a_column) const;
    void clearRows();
    void showLists();
    void choose(MyAppConfig::CommandMap& map, const Rows& rows, const QComboBox* box, int value) const;
    std::vector<int> stored(const MyAppConfig::CommandMap& map) const;

    const SettingsForm& m_form;
    MyAppConfig& m_config;
    Rows m_allAxes, m_allButtons;  // as the form has them, first column first
    Rows m_axes, m_buttons;        // those that stand for something
    std::string m_letters;         // of m_axes
    int m_product = 0;
};
