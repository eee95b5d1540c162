// What a map asks of the main window.
#pragma once

#include <QPoint>
#include <cstdint>

class QWidget;

// All calls come on the GUI thread.
class MapOwner {
public:
    // A press on the globe or on a button of its dialog begins: whatever moves the pod by hand ends first.
    // `who` tells holds apart; `code` is what the hold sends next, 0 for nothing.
    virtual void geoHoldBegins(const void* who, std::uint8_t code) = 0;
    virtual void sendCommandPayload(std::uint8_t code, const void* data, int n) = 0;
    // It was let go: the command ends, by stopCommand(0) where the hold had been taken over by another.
    virtual void geoHoldEnded(const void* who) = 0;

    // The global point lies on an edge by which the window is resized.
    virtual bool onWindowEdge(const QPoint& global) const = 0;
    // Parent of the maps' dialogs.
    virtual QWidget* dialogParent() = 0;

protected:
    ~MapOwner() = default;
};
