// The command pages' widgets as the catalogue reads them.
#pragma once

#include <QWidget>
#include <functional>

#include "link/command_catalogue.h"

// Looks controls up by object name below one widget: names repeat between the forms of the window. GUI
// thread.
class ControlForm : public sorvane::ControlReader {
public:
    // Both must outlive this object.
    ControlForm(const QWidget& root, const std::function<sorvane::CalendarTime()>& clock);

    bool checked(const char* object) const override;
    int sliderValue(const char* object) const override;
    int index(const char* object) const override;
    int itemData(const char* object) const override;
    int number(const char* object) const override;
    float decimal(const char* object) const override;
    sorvane::CalendarTime localTime() const override;

    void setNumber(const char* edit, int value) const;

private:
    QString text(const char* object) const;

    const QWidget& m_root;
    const std::function<sorvane::CalendarTime()>& m_clock;
};
