#include "app/korvath_parts.h"
#include "korvath_fixture.h"

std::function<sorvane::CalendarTime()>& KorvathAccess::m_localClock() const {
    return w.m_parts->sender->local_clock;
}

int KorvathAccess::m_interfaceHandle() const { return w.m_parts->intake->interfaceHandle(); }

std::function<void(void*, int, int)> KorvathAccess::onSei() const { return w.m_parts->sei->taker(); }

VideoSurface* KorvathAccess::findSurface(QWidget* widget) const {
    return w.m_parts->presenter->findSurface(widget);
}
