// Custom events: the only way from the threads of the transport and stream libraries to the main window.
#pragma once

#include <QEvent>
#include <QObject>
#include <cstdint>

#include "app/events/event_table.h"

// The event does not own its payload: the handler frees it, and the main window's last drain frees what was
// never delivered.
class QMyEvent : public QEvent {
public:
    QMyEvent(int type, QObject* sender, void* data, std::int32_t size)
        : QEvent(static_cast<QEvent::Type>(type)), sender(sender), data(data), size(size) {}

    QObject* sender;    // the widget that raised the event; null from worker threads
    void* data;         // payload by the event's row; the receiver owns it and nulls this when it takes it
    std::int32_t size;  // payload length in bytes; 0 where the type implies it
};

// An event without data: replay start and end, play failure.
class QMyPlainEvent : public QEvent {
public:
    explicit QMyPlainEvent(int type) : QEvent(static_cast<QEvent::Type>(type)) {}
};
