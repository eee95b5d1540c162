// Asks a window for a frame from any thread.
#pragma once

#include <mutex>
#include <osg/ref_ptr>
#include <osgGA/EventQueue>

namespace globe {

// An event without meaning in the window's queue makes a viewer that draws on demand draw. (Its own flag for
// redraws would be lost if it were set while a frame is drawn.) At most one event is under way.
class RedrawBell {
public:
    // By the thread that draws, each time it does: where to ring, and that what was rung for is being drawn.
    void hear(osgGA::EventQueue* queue) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_queue = queue;
        m_rung = false;
    }
    void ring() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_queue && !m_rung) {
            m_rung = true;
            m_queue->userEvent(new osg::DummyObject);
        }
    }

private:
    std::mutex m_mutex;
    osg::ref_ptr<osgGA::EventQueue> m_queue;
    bool m_rung = false;
};

}  // namespace globe
