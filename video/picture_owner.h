// What the widget under a picture asks of its owner.
#pragma once

#include <QPoint>
#include <cstdint>

// All calls come on the GUI thread. Window numbers are 1 and 2; points are global.
class PictureOwner {
public:
    // True when a stream is open on that window; false for any other number.
    virtual bool noSignalTest(int window_id) const = 0;
    // Size of the picture drawn last on either window: what clicks are converted with on a window that has
    // shown none yet.
    virtual int frameWidth() const = 0;
    virtual int frameHeight() const = 0;
    // The window's frame is being resized from an edge at this moment.
    virtual bool edgeResizing() const = 0;
    // The gesture under way, seen up to the global point, has been one on the window's edge and not a click.
    virtual bool edgeGesture(const QPoint& global) const = 0;

    // Command 1 zooms in, 2 out.
    virtual void setZoom(int window_id, int cmd) = 0;
    // Pixels of the encoded picture, right of and above its centre.
    virtual void trackPoint(std::int16_t x, std::int16_t y) = 0;
    virtual void stopTracking() = 0;
    // A drag begins, sends its servo rates (azimuth positive to the right, pitch positive upward), and ends.
    virtual void beginSlew(int window_id) = 0;
    virtual void slew(std::int16_t rate_x, std::int16_t rate_y) = 0;
    virtual void stopSlew(int window_id) = 0;
    // The middle button goes down on the first picture; its hold has ended.
    virtual void middlePressed() = 0;
    virtual void middleReleased() = 0;

    // Marks of a drag.
    virtual void showDragRing(const QPoint& centre) = 0;
    virtual void showDragDot(const QPoint& centre) = 0;
    virtual void hideDragMarks() = 0;
    // A picture has moved: what floats over it is to be placed anew.
    virtual void placeTips() = 0;

protected:
    ~PictureOwner() = default;
};
