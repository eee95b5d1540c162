#include "map/handler_control.h"

#include <utility>

handler_control::handler_control(Function on_click) : m_onClick(std::move(on_click)) {}

handler_control::~handler_control() = default;

void handler_control::onClick(globe::Control* control) { m_onClick(control->getName()); }
