// What the settings dialog asks of each of its pages.
#pragma once

#include <cstdint>

// The page's widgets belong to the form; the page has what happens in them. GUI thread.
class SettingsPage {
public:
    virtual ~SettingsPage() = default;

    // Widgets from configuration. No choice of the operator: nothing is announced by it.
    virtual void load() = 0;
    // Configuration from widgets, when the dialog closes.
    virtual void store() {}
    // Sets the texts that are not in the form, after each change of language.
    virtual void retranslate() {}
    // The page's row of the list was selected, by the operator or by the program.
    virtual void selected() {}
    // A reply of the pod with a code of this page: `size` bytes (0 or more), valid during the call.
    virtual void onReply(std::uint16_t /*code*/, const unsigned char* /*data*/, int /*size*/) {}
};
