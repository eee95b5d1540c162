// The settings dialog's buttons that ask the pod for something or order it: one table.
#pragma once

#include <array>
#include <cstdint>

struct SettingsForm;
class QPushButton;

struct RequestRow {
    // kAlone: a variable frame in either protocol mode. kByMode: a command of the mode, ended by itself after
    // a moment.
    enum class Way { kAlone, kByMode };

    QPushButton* SettingsForm::*button;
    std::uint16_t code;
    std::array<std::uint8_t, 2> data;
    int size;  // of data
    Way way;
};

struct RequestView {
    const RequestRow* rows;
    int count;
    const RequestRow* begin() const { return rows; }
    const RequestRow* end() const { return rows + count; }
};
RequestView requests();
