// What the settings ask of the module that shows the encoder's own page. The browser's library is large and
// starts processes of its own: the module alone links it, and is loaded at its first use.
#pragma once

#include <QUrl>
#include <QWidget>
#include <functional>

// Shows one address and what belongs to it: the same scheme, host and port. Nothing else is fetched, opened,
// permitted or stored. GUI thread.
class EncoderView {
public:
    virtual ~EncoderView() = default;

    // Deleted with the view.
    virtual QWidget* widget() = 0;
    // Asks the encoder for its page, the first time and again.
    virtual void load() = 0;
    // Called whenever an attempt has ended: the page is there, or the encoder did not answer.
    std::function<void(bool answered)> finished;
};

// The one function of the module. `parent` outlives the view. Null when no view can be made.
using MakeEncoderView = EncoderView* (*)(QWidget* parent, const QUrl& address);
constexpr const char* kMakeEncoderView = "makeEncoderView";
// Beside the program.
constexpr const char* kEncoderViewModule = "modules/encoder_view";
