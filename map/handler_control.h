// Tells a map of a click on one of the controls drawn in it.
#pragma once

#include <functional>
#include <string>

#include "globe/control.h"

class handler_control : public globe::ControlEventHandler {
public:
    using Function = std::function<void(const std::string&)>;
    // `on_click` gets the control's name.
    explicit handler_control(Function on_click);

    void onClick(globe::Control* control) override;

protected:
    ~handler_control() override;

private:
    Function m_onClick;
};
