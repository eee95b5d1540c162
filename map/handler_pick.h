// Lets a map see every event of its view and decide what is picked.
#pragma once

#include <functional>

#include "globe/rtt_picker.h"

class handler_pick : public globe::Picker::Callback {
public:
    using Function = std::function<bool(const osgGA::GUIEventAdapter&)>;
    // `on_event` is called with each event of the view; true: the picker looks what lies under the pointer.
    explicit handler_pick(Function on_event);

    void onHit(globe::ObjectID id) override;
    void onMiss() override;
    bool accept(const osgGA::GUIEventAdapter& ea, const osgGA::GUIActionAdapter& aa) override;

protected:
    ~handler_pick() override;

private:
    Function m_onEvent;
};
