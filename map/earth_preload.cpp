#include "map/earth_preload.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <osgDB/ReadFile>
#include <thread>
#include <vector>

#include "globe/initialize.h"
#include "globe/map_node.h"

namespace {

const char* const kEarthFile = "./earth/XEarth.earth";
constexpr int kMaps = 2;
constexpr std::chrono::seconds kPatience{1};

// Lives as long as the thread or the station wants it, so that a read that hangs may outlast the station's
// interest.
struct EarthStore {
    std::mutex mutex;
    std::condition_variable over;
    std::vector<osg::ref_ptr<osg::Node>> nodes;  // in loading order
    bool unwanted = false;
    bool done = false;
    bool hangs = false;  // the read came to no end
};

std::unique_ptr<std::thread> g_earth_thread;
std::shared_ptr<EarthStore> g_earth_nodes;
int g_earth_next = 0;

bool wanted(EarthStore& store) {
    const std::lock_guard<std::mutex> lock(store.mutex);
    return !store.unwanted;
}

void readEarth(const std::shared_ptr<EarthStore>& store) {
    globe::initialize();
    for (int i = 0; i < kMaps && wanted(*store); ++i) {
        osg::ref_ptr<osg::Node> node = osgDB::readRefNodeFile(kEarthFile);
        const std::lock_guard<std::mutex> lock(store->mutex);
        if (!store->unwanted) {
            store->nodes.push_back(std::move(node));
        }
    }
    const std::lock_guard<std::mutex> lock(store->mutex);
    store->done = true;
    store->over.notify_all();
}

// False if the read hangs: it is left behind then, and touches nothing that goes away.
bool joinPreload(std::chrono::milliseconds patience) {
    if (g_earth_thread == nullptr || !g_earth_thread->joinable()) {
        return true;
    }
    std::unique_lock<std::mutex> lock(g_earth_nodes->mutex);
    const bool over = g_earth_nodes->over.wait_for(lock, patience, [] { return g_earth_nodes->done; });
    g_earth_nodes->unwanted = !over;
    lock.unlock();
    if (over) {
        g_earth_thread->join();
    } else {
        g_earth_thread->detach();
        g_earth_nodes = std::make_shared<EarthStore>();
        g_earth_nodes->hangs = true;
    }
    return over;
}

}  // namespace

void startEarthPreload() {
    dropEarthPreload();
    g_earth_nodes = std::make_shared<EarthStore>();
    g_earth_thread = std::make_unique<std::thread>([store = g_earth_nodes] { readEarth(store); });
}

osg::ref_ptr<osg::Node> takeEarth(std::chrono::milliseconds patience) {
    joinPreload(patience);
    if (g_earth_nodes != nullptr && g_earth_nodes->hangs) {
        return globe::MapNode::createEmpty(std::string("the earth file ") + kEarthFile + " cannot be read");
    }
    const auto next = static_cast<std::size_t>(g_earth_next);
    if (g_earth_nodes == nullptr || next >= g_earth_nodes->nodes.size()) {
        return nullptr;
    }
    ++g_earth_next;
    return std::move(g_earth_nodes->nodes[next]);
}

void dropEarthPreload() {
    if (g_earth_nodes == nullptr) {
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(g_earth_nodes->mutex);
        g_earth_nodes->unwanted = true;
    }
    joinPreload(kPatience);
    g_earth_thread.reset();
    g_earth_nodes.reset();
    g_earth_next = 0;
}
