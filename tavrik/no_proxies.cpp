#include "tavrik/no_proxies.h"

#include <gio/gio.h>

namespace {

// Answers "direct" to every question.
struct DirectResolver {
    GObject parent;
};
struct DirectResolverClass {
    GObjectClass parent;
};

gboolean isSupported(GProxyResolver*) { return TRUE; }

gchar** lookUp(GProxyResolver*, const gchar*, GCancellable*, GError**) {
    gchar** const answer = g_new0(gchar*, 2);
    answer[0] = g_strdup("direct://");
    return answer;
}

void freeAnswer(gpointer answer) { g_strfreev(static_cast<gchar**>(answer)); }

void lookUpAsync(GProxyResolver* self, const gchar* uri, GCancellable* cancellable, GAsyncReadyCallback done,
                 gpointer context) {
    GTask* const task = g_task_new(self, cancellable, done, context);
    g_task_return_pointer(task, lookUp(self, uri, cancellable, nullptr), freeAnswer);
    g_object_unref(task);
}

gchar** lookUpFinish(GProxyResolver*, GAsyncResult* result, GError** error) {
    return static_cast<gchar**>(g_task_propagate_pointer(G_TASK(result), error));
}

void initInterface(gpointer face, gpointer) {
    auto* const resolver = static_cast<GProxyResolverInterface*>(face);
    resolver->is_supported = isSupported;
    resolver->lookup = lookUp;
    resolver->lookup_async = lookUpAsync;
    resolver->lookup_finish = lookUpFinish;
}

constexpr int kAboveAllOthers = 1000;

bool install() {
    const GType type =
        g_type_register_static_simple(G_TYPE_OBJECT, "TavrikDirectResolver", sizeof(DirectResolverClass),
                                      nullptr, sizeof(DirectResolver), nullptr, GTypeFlags(0));
    const GInterfaceInfo face = {initInterface, nullptr, nullptr};
    g_type_add_interface_static(type, G_TYPE_PROXY_RESOLVER, &face);
    GIOExtensionPoint* const point = g_io_extension_point_register(G_PROXY_RESOLVER_EXTENSION_POINT_NAME);
    g_io_extension_point_set_required_type(point, G_TYPE_PROXY_RESOLVER);
    return g_io_extension_point_implement(G_PROXY_RESOLVER_EXTENSION_POINT_NAME, type, "tavrik-direct",
                                          kAboveAllOthers) != nullptr;
}

}  // namespace

namespace tavrik {

void useNoProxies() {
    static const bool installed = install();
    static_cast<void>(installed);
}

}  // namespace tavrik
