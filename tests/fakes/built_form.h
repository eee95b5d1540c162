// A form on a window that is nothing but a window.
#pragma once

// Builds the form on `window` and returns its widgets, so that it can initialise a member.
template <typename Form, typename Window>
Form builtForm(Window& window) {
    Form form;
    form.setupUi(&window);
    return form;
}
