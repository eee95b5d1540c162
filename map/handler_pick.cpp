#include "map/handler_pick.h"

#include <QDebug>
#include <utility>

#include "map/pick_drag.h"

bool g_pick_drag = false;

handler_pick::handler_pick(Function on_event) : m_onEvent(std::move(on_event)) {}

handler_pick::~handler_pick() = default;

void handler_pick::onHit(globe::ObjectID /*id*/) {
    g_pick_drag = true;
    qDebug("drag begin");
}

void handler_pick::onMiss() {}

bool handler_pick::accept(const osgGA::GUIEventAdapter& ea, const osgGA::GUIActionAdapter& /*aa*/) {
    return m_onEvent(ea);
}
