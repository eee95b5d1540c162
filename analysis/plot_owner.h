// What the plot dialog asks of the main window.
#pragma once

// All calls come on the GUI thread.
class PlotOwner {
public:
    // The LinkState of the control link; 0 is closed.
    virtual int linkState() const = 0;
    // Telemetry saving on or off; refused with a message while the link is closed.
    virtual void toggleTelemetrySaving() = 0;
    virtual bool savingTelemetry() const = 0;

protected:
    ~PlotOwner() = default;
};
