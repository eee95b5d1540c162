#include "tavrik/socket_watch.h"

#include <gio/gio.h>

#include <utility>

namespace tavrik {
namespace {

// Of the thread that opens a session.
thread_local std::weak_ptr<SocketWatch> t_session;

// An emission of GSocketClient's "event"; the library offers no other way to the sockets it makes.
gboolean onClientEvent(GSignalInvocationHint*, guint count, const GValue* values, gpointer) {
    const std::shared_ptr<SocketWatch> session = t_session.lock();
    if (session == nullptr || count < 4 || !G_IS_SOCKET_CONNECTION(g_value_get_object(&values[3]))) {
        return TRUE;
    }
    GSocket* const socket =
        g_socket_connection_get_socket(G_SOCKET_CONNECTION(g_value_get_object(&values[3])));
    const int event = g_value_get_enum(&values[1]);
    if (event == G_SOCKET_CLIENT_CONNECTING) {
        session->permit(socket);
    } else if (event == G_SOCKET_CLIENT_CONNECTED) {
        session->add(socket);
    }
    return TRUE;
}

void hookOnce() {
    static const bool hooked = [] {
        // The class must exist before its signal can be found.
        g_type_class_unref(g_type_class_ref(G_TYPE_SOCKET_CLIENT));
        const guint signal = g_signal_lookup("event", G_TYPE_SOCKET_CLIENT);
        return signal != 0 && g_signal_add_emission_hook(signal, 0, onClientEvent, nullptr, nullptr) != 0;
    }();
    static_cast<void>(hooked);
}

}  // namespace

SocketWatch::~SocketWatch() {
    for (GSocket* const socket : m_sockets) {
        g_object_unref(socket);
    }
}

void SocketWatch::follow(const std::shared_ptr<SocketWatch>& session) {
    hookOnce();
    t_session = session;
}

void SocketWatch::breakOff() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_broken = true;
    for (GSocket* const socket : m_sockets) {
        g_socket_shutdown(socket, TRUE, TRUE, nullptr);
    }
}

void SocketWatch::permit(GSocket* socket) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_broken) {
        g_socket_close(socket, nullptr);
    }
}

void SocketWatch::add(GSocket* socket) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_sockets.push_back(G_SOCKET(g_object_ref(socket)));
    if (m_broken) {
        g_socket_shutdown(socket, TRUE, TRUE, nullptr);
    }
}

}  // namespace tavrik
