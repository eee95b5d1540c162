// The buffer between the block port and the decoder when there is no memory for it.
#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>

#include "video/block_buffer.h"

namespace {

bool g_noMemory = false;

}  // namespace

// In the whole executable's place.
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    if (g_noMemory) {
        return nullptr;
    }
    try {
        return ::operator new[](size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

namespace sorvane {
namespace {

// The program ends there; the test goes on.
struct Ended : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct BlockMemory : ::testing::Test {
    ~BlockMemory() override {
        g_noMemory = false;
        buffer.close();
    }
    template <class Act>
    static std::string whatEnds(Act act) {
        g_noMemory = true;
        std::string what = "(nothing)";
        try {
            act();
        } catch (const Ended& ended) {
            what = ended.what();
        }
        g_noMemory = false;
        return what;
    }

    unsigned char* data = nullptr;
    int capacity = 0;
    int size = 0;
    std::mutex mutex;
    BlockBuffer buffer{BlockBufferFields{data, capacity, size, mutex},
                       [](const char* what) { throw Ended(what); }};
};

TEST_F(BlockMemory, TheFirstBlockIsNamed) {
    EXPECT_EQ(whatEnds([this] { buffer.open(); }), "m_recv_buf_udp");
}

TEST_F(BlockMemory, TheBlockThatItGrowsByIsNamed) {
    buffer.open();
    const unsigned char byte = 7;
    const std::string full(static_cast<std::size_t>(capacity), 'x');
    EXPECT_EQ(whatEnds([&] { buffer.append(reinterpret_cast<const unsigned char*>(full.data()), capacity); }),
              "(nothing)");
    EXPECT_EQ(whatEnds([&] { buffer.append(&byte, 1); }), "buf_new");
}

}  // namespace
}  // namespace sorvane
