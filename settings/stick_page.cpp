#include "settings/stick_page.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QSignalBlocker>
#include <QSlider>
#include <QTimer>
#include <algorithm>

#include "forms/settings_form.h"
#include "widgets/label_part_bg.h"

using sorvane::kAxisRowsAColumn;
using sorvane::kButtonRowsAColumn;

namespace {

constexpr int kBlinkMs = 100;

std::vector<int> ints(const QVariantList& list) {
    std::vector<int> values;
    for (const QVariant& value : list) {
        values.push_back(value.toInt());
    }
    return values;
}

QVariantList variants(const std::vector<int>& values) {
    QVariantList list;
    for (const int value : values) {
        list << value;
    }
    return list;
}

}  // namespace

StickPage::StickPage(const SettingsForm& form, MyAppConfig& config) : m_form(form), m_config(config) {
    buildRows();
    clearRows();
}

void StickPage::buildRows() {
    const auto find = [this](const char* kind, int number) {
        const auto name = [kind, number](const char* part) {
            return QStringLiteral("%1_%2_%3").arg(QLatin1String(part), QLatin1String(kind)).arg(number);
        };
        const QWidget& page = *m_form.stick_page;
        return Row{page.findChild<QWidget*>(name("row")), page.findChild<QLabel*>(name("label")),
                   page.findChild<QLabel*>(name("indicator")), page.findChild<QComboBox*>(name("comboBox"))};
    };
    const auto on_choice = QOverload<int>::of(&QComboBox::currentIndexChanged);
    for (int number = 1; number <= 2 * kAxisRowsAColumn; ++number) {
        const Row row = find("axis", number);
        for (std::size_t role = 0; role < sorvane::kAxisRoles; ++role) {
            row.choice->addItem(QString());
        }
        connect(row.choice, on_choice, this, [this, box = row.choice](int value) {
            choose(m_config.js_rocker_cmd_map, m_axes, box, value);
        });
        m_allAxes.push_back(row);
    }
    for (int number = 1; number <= 2 * kButtonRowsAColumn; ++number) {
        const Row row = find("btn", number);
        // The row stays where it is while the mark is away.
        QSizePolicy policy = row.indicator->sizePolicy();
        policy.setRetainSizeWhenHidden(true);
        row.indicator->setSizePolicy(policy);
        for (std::size_t function = 0; function < sorvane::kButtonFunctions; ++function) {
            row.choice->addItem(QString());
        }
        connect(row.choice, on_choice, this, [this, box = row.choice](int value) {
            choose(m_config.js_btn_cmd_map, m_buttons, box, value);
        });
        m_allButtons.push_back(row);
    }
}

void StickPage::load() {
    m_form.stick_enabled->setChecked(m_config.js_enable);
    m_form.stick_yaw_reverse->setChecked(m_config.js_yaw_reverse);
    m_form.stick_pitch_reverse->setChecked(m_config.js_pitch_reverse);
    m_form.stick_sensitivity->setValue(m_config.js_sensitivity);
}

void StickPage::store() {
    m_config.js_enable = m_form.stick_enabled->isChecked();
    m_config.js_yaw_reverse = m_form.stick_yaw_reverse->isChecked();
    m_config.js_pitch_reverse = m_form.stick_pitch_reverse->isChecked();
    m_config.js_sensitivity = m_form.stick_sensitivity->value();
}

sorvane::StickSettings StickPage::settings() const {
    return {m_form.stick_enabled->isChecked(), m_form.stick_yaw_reverse->isChecked(),
            m_form.stick_pitch_reverse->isChecked(),
            static_cast<float>(m_form.stick_sensitivity->value()) /
                static_cast<float>(m_form.stick_sensitivity->maximum())};
}

// The texts that are not the form's, or that the form has set again.
void StickPage::retranslate() {
    for (const Row& row : m_allAxes) {
        for (std::size_t role = 0; role < sorvane::kAxisRoles; ++role) {
            row.choice->setItemText(static_cast<int>(role), tr(sorvane::kAxisRoleNames[role]));
        }
    }
    for (const Row& row : m_allButtons) {
        for (std::size_t i = 0; i < sorvane::kButtonFunctions; ++i) {
            row.choice->setItemText(static_cast<int>(i), tr(sorvane::kButtonFunctionTable[i].name));
        }
    }
    for (std::size_t i = 0; i < m_axes.size(); ++i) {
        m_axes[i].label->setText(QString(QLatin1Char(m_letters[i])));
    }
    // On over both columns.
    for (std::size_t i = 0; i < m_buttons.size(); ++i) {
        m_buttons[i].label->setText(tr("按键 %1").arg(i + 1));
    }
}

StickPage::Rows StickPage::visibleRows(const Rows& all, const sorvane::Columns& columns,
                                       int rows_a_column) const {
    Rows shown(all.begin(), all.begin() + columns.first);
    shown.insert(shown.end(), all.begin() + rows_a_column, all.begin() + rows_a_column + columns.second);
    return shown;
}

// The page of nothing plugged in.
void StickPage::clearRows() {
    for (const Rows* rows : {&m_allAxes, &m_allButtons}) {
        for (const Row& row : *rows) {
            row.line->hide();
        }
    }
    m_axes.clear();
    m_buttons.clear();
    m_letters.clear();
    m_form.stick_none->show();
    m_form.stick_axes->hide();
    m_form.stick_buttons->hide();
}

void StickPage::connectChange(bool is_connect, int button_count, int product_id, int caps) {
    qDebug("zvdbg**is_connect = %s", is_connect ? "true" : "false");
    clearRows();
    if (is_connect) {
        m_product = product_id;
        m_letters = sorvane::axisLetters(static_cast<std::uint32_t>(caps));
        m_axes =
            visibleRows(m_allAxes, sorvane::columnsOf(static_cast<int>(m_letters.size()), kAxisRowsAColumn),
                        kAxisRowsAColumn);
        m_buttons = visibleRows(m_allButtons, sorvane::columnsOf(button_count, kButtonRowsAColumn),
                                kButtonRowsAColumn);
        const auto begin = [product_id](MyAppConfig::CommandMap& map, int rows) {
            if (map[product_id].isEmpty()) {
                map[product_id] = variants(std::vector<int>(static_cast<std::size_t>(std::max(rows, 0)), 0));
            }
        };
        begin(m_config.js_rocker_cmd_map, static_cast<int>(m_axes.size()));
        begin(m_config.js_btn_cmd_map, button_count);
        showLists();
    }
    retranslate();
}

// What is chosen for the product; no choice of the operator's.
void StickPage::showLists() {
    const auto show = [](const Rows& rows, const std::vector<int>& list, std::size_t (*row_of)(int)) {
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const QSignalBlocker quiet(rows[i].choice);
            const std::size_t row = row_of(sorvane::storedAt(list, static_cast<int>(i)));
            rows[i].choice->setCurrentIndex(static_cast<int>(row));
            rows[i].line->show();
        }
    };
    show(m_axes, stored(m_config.js_rocker_cmd_map), &sorvane::roleRow);
    show(m_buttons, stored(m_config.js_btn_cmd_map), &sorvane::functionRow);
    for (const Row& row : m_axes) {
        static_cast<label_part_bg*>(row.label)->setValue(0.5);
    }
    m_form.stick_none->hide();
    m_form.stick_axes->setHidden(m_axes.empty());
    m_form.stick_buttons->setHidden(m_buttons.empty());
}

std::vector<int> StickPage::stored(const MyAppConfig::CommandMap& map) const { return ints(map[m_product]); }

void StickPage::choose(MyAppConfig::CommandMap& map, const Rows& rows, const QComboBox* box,
                       int value) const {
    const auto row = std::find_if(rows.begin(), rows.end(), [box](const Row& r) { return r.choice == box; });
    if (row == rows.end() || value < 0) {
        return;
    }
    std::vector<int> list = stored(map);
    sorvane::storeAt(list, static_cast<int>(row - rows.begin()), value);
    map[m_product] = variants(list);
}

const sorvane::ButtonFunction& StickPage::pressFeedback(int button) {
    if (button < 0 || static_cast<std::size_t>(button) >= m_buttons.size()) {
        return sorvane::kButtonFunctionTable[0];
    }
    QLabel* indicator = m_buttons[static_cast<std::size_t>(button)].indicator;
    indicator->hide();
    QTimer::singleShot(kBlinkMs, indicator, &QWidget::show);
    const int row = sorvane::storedAt(stored(m_config.js_btn_cmd_map), button);
    return sorvane::kButtonFunctionTable[sorvane::functionRow(row)];
}

int StickPage::axisFeedback(int axis, float offset) {
    const std::size_t row = m_letters.find(sorvane::axisLetter(axis));
    if (row == std::string::npos) {
        return -1;
    }
    auto* bar = static_cast<label_part_bg*>(m_axes[row].label);
    bar->setValue(std::clamp(static_cast<double>(offset), 0.0, 1.0));
    return m_axes[row].choice->currentIndex();
}
