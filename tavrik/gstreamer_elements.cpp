#include "tavrik/gstreamer_elements.h"

#include <gst/gst.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "tavrik/no_proxies.h"

#ifndef TAVRIK_GSTREAMER_PLUGINS
#error "the build names GStreamer's folder of plugins"
#endif

namespace tavrik {
namespace {

constexpr const char* kPlugins[] = {"coreelements", "app", "rtp", "rtpmanager", "rtsp", "udp", "tcp"};

// Folders are separated as in any search path of the system.
bool loadFrom(const std::string& folders, const char* plugin) {
    for (std::size_t at = 0; at <= folders.size();) {
        const std::size_t end = std::min(folders.find(G_SEARCHPATH_SEPARATOR, at), folders.size());
        const std::string folder = folders.substr(at, end - at);
        at = end + 1;
        for (const char* prefix : {"/libgst", "/gst"}) {
            if (folder.empty()) {
                continue;
            }
            const std::string file = folder + prefix + plugin + "." G_MODULE_SUFFIX;
            if (GstPlugin* const loaded = gst_plugin_load_file(file.c_str(), nullptr)) {
                gst_object_unref(loaded);
                return true;
            }
        }
    }
    return false;
}

bool load(const char* plugin) {
    for (const char* variable : {"GST_PLUGIN_SYSTEM_PATH_1_0", "GST_PLUGIN_SYSTEM_PATH"}) {
        const char* const folders = std::getenv(variable);
        if (folders != nullptr && loadFrom(folders, plugin)) {
            return true;
        }
    }
    return loadFrom(TAVRIK_GSTREAMER_PLUGINS, plugin);
}

bool initialise() {
    useNoProxies();
    if (!gst_is_initialized()) {
        // The switches are read from a command line alone.
        char name[] = "tavrik", no_scan[] = "--gst-disable-registry-update",
             no_trap[] = "--gst-disable-segtrap";
        char* words[] = {name, no_scan, no_trap, nullptr};
        char** rest = words;
        int count = 3;
        gst_registry_fork_set_enabled(FALSE);
        if (gst_init_check(&count, &rest, nullptr) == FALSE) {
            return false;
        }
    }
    for (const char* plugin : kPlugins) {
        if (!load(plugin)) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool gstreamerReady() {
    static const bool ready = initialise();
    return ready;
}

}  // namespace tavrik
