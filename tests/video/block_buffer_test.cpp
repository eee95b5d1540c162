// The buffer between the block port and the decoder.
#include "video/block_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace sorvane {

namespace {

using Bytes = std::vector<unsigned char>;

struct Buffer : ::testing::Test {
    ~Buffer() override { buffer.close(); }

    // count bytes that go on from `first`.
    static Bytes counting(int first, int count) {
        Bytes bytes(static_cast<std::size_t>(count));
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            bytes[i] = static_cast<unsigned char>((static_cast<std::size_t>(first) + i) % 251);
        }
        return bytes;
    }
    bool append(const Bytes& bytes) { return buffer.append(bytes.data(), static_cast<int>(bytes.size())); }
    Bytes read(int room) {
        Bytes bytes(static_cast<std::size_t>(room));
        bytes.resize(static_cast<std::size_t>(buffer.read(bytes.data(), room)));
        return bytes;
    }

    unsigned char* data = nullptr;
    int capacity = 0;
    int size = 0;
    std::mutex mutex;
    int out_of_memory = 0;
    BlockBuffer buffer{BlockBufferFields{data, capacity, size, mutex},
                       [this](const char*) { ++out_of_memory; }};
};

TEST_F(Buffer, ClosedItTakesAndGivesNothing) {
    append({1, 2, 3});
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(size, 0);
    EXPECT_EQ(read(10), Bytes{});
}

TEST_F(Buffer, OpensWithItsFirstCapacity) {
    buffer.open();
    EXPECT_NE(data, nullptr);
    EXPECT_EQ(capacity, 40960);
    EXPECT_EQ(size, 0);
    EXPECT_EQ(read(10), Bytes{});
    EXPECT_EQ(out_of_memory, 0);
}

TEST_F(Buffer, KeepsTheOrderOverManyRuns) {
    buffer.open();
    append({1, 2, 3});
    append({4});
    EXPECT_EQ(size, 4);
    EXPECT_EQ(capacity, 40960) << "it only grows";
    EXPECT_EQ(read(2), (Bytes{1, 2}));
    append({5, 6});
    EXPECT_EQ(read(100), (Bytes{3, 4, 5, 6}));
    EXPECT_EQ(size, 0);
}

TEST_F(Buffer, ReadsNoMoreThanThereIsRoom) {
    buffer.open();
    append(counting(0, 1000));
    EXPECT_EQ(read(0), Bytes{});
    EXPECT_EQ(read(1), counting(0, 1));
    EXPECT_EQ(read(400), counting(1, 400));
    EXPECT_EQ(size, 599);
    EXPECT_EQ(read(599), counting(401, 599));
    EXPECT_EQ(read(1), Bytes{});
}

TEST_F(Buffer, ANegativeRoomGivesNothing) {
    buffer.open();
    append({1, 2});
    unsigned char byte = 9;
    EXPECT_TRUE(buffer.append(&byte, -1)) << "nor does a negative size take anything";
    EXPECT_EQ(size, 2);
    EXPECT_EQ(buffer.read(&byte, -1), 0);
    EXPECT_EQ(size, 2);
    EXPECT_EQ(byte, 9);
}

TEST_F(Buffer, GrowsByAsLittleAsItCan) {
    buffer.open();
    const Bytes first = counting(0, BlockBuffer::kFirstCapacity);
    append(first);
    EXPECT_EQ(capacity, 40960) << "filled to the brim it still fits";
    append({7});
    EXPECT_EQ(capacity, 40961);
    append(counting(3, 100));
    EXPECT_EQ(capacity, 41061);
    EXPECT_EQ(read(BlockBuffer::kFirstCapacity), first);
    EXPECT_EQ(read(1), Bytes{7});
    // What was read makes room again, and the capacity stays.
    append(counting(0, 40961));
    EXPECT_EQ(capacity, 41061);
    EXPECT_EQ(read(100), counting(3, 100));
    EXPECT_EQ(read(50000), counting(0, 40961));
}

TEST_F(Buffer, AReadMakesRoomBeforeItGrows) {
    buffer.open();
    append(counting(0, 40000));
    read(30000);
    append(counting(40000, 30960));
    EXPECT_EQ(capacity, 40960);
    EXPECT_EQ(read(50000), counting(30000, 40960));
}

TEST_F(Buffer, HoldsSoMuchAndThenDropsWhatComes) {
    constexpr int kBlock = 252;
    constexpr int kBlocks = BlockBuffer::kMaxSize / kBlock;
    constexpr int kRest = BlockBuffer::kMaxSize % kBlock;
    const auto numbered = [](int n) { return Bytes(kBlock, static_cast<unsigned char>(n % 251)); };
    buffer.open();
    for (int n = 0; n < kBlocks; ++n) {
        ASSERT_TRUE(append(numbered(n)));
    }
    for (int n = 0; n < 3; ++n) {
        EXPECT_FALSE(append(Bytes(kBlock, 255)));
        EXPECT_EQ(size, kBlocks * kBlock);
    }
    EXPECT_TRUE(append(Bytes(kRest, 252))) << "what fits is taken";
    EXPECT_FALSE(append({1}));
    EXPECT_TRUE(append({}));
    EXPECT_EQ(size, 32 << 20);
    EXPECT_EQ(capacity, 32 << 20);
    EXPECT_EQ(read(kBlock), numbered(0));
    EXPECT_TRUE(append(Bytes(kBlock, 254)));
    EXPECT_FALSE(append({1}));
    const Bytes all = read(BlockBuffer::kMaxSize);
    ASSERT_EQ(all.size(), 32U << 20);
    for (int n = 1; n < kBlocks; ++n) {
        const Bytes expected = numbered(n);
        const auto at = all.begin() + (n - 1) * kBlock;
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), at)) << n;
    }
    EXPECT_EQ(Bytes(all.end() - kBlock - kRest, all.end() - kBlock), Bytes(kRest, 252));
    EXPECT_EQ(Bytes(all.end() - kBlock, all.end()), Bytes(kBlock, 254));
    EXPECT_EQ(out_of_memory, 0);
}

TEST_F(Buffer, OneRunMayFillItAtOnce) {
    buffer.open();
    EXPECT_FALSE(append(Bytes(BlockBuffer::kMaxSize + 1)));
    EXPECT_EQ(size, 0);
    EXPECT_EQ(capacity, 40960);
    const Bytes run(BlockBuffer::kMaxSize, 7);
    EXPECT_TRUE(append(run));
    EXPECT_EQ(capacity, BlockBuffer::kMaxSize);
    EXPECT_TRUE(read(BlockBuffer::kMaxSize) == run);
}

TEST_F(Buffer, OpeningAgainEmptiesItAndCloseFreesIt) {
    buffer.open();
    append(counting(0, 50000));
    buffer.open();
    EXPECT_EQ(size, 0);
    EXPECT_EQ(capacity, 40960);
    append({1});
    buffer.close();
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(capacity, 0);
    EXPECT_EQ(size, 0);
    append({1});
    EXPECT_EQ(read(10), Bytes{});
    buffer.open();
    EXPECT_EQ(read(10), Bytes{});
}

TEST_F(Buffer, CarriesAStreamFromOneThreadToAnother) {
    constexpr int kTotal = 300000;
    buffer.open();
    std::thread port([this] {
        for (int sent = 0; sent < kTotal;) {
            const int count = std::min(1 + sent % 977, kTotal - sent);
            append(counting(sent, count));
            sent += count;
        }
    });
    int received = 0;
    bool in_order = true;
    while (received < kTotal && in_order) {
        const Bytes bytes = read(1 + received % 1501);
        in_order = bytes == counting(received, static_cast<int>(bytes.size()));
        received += static_cast<int>(bytes.size());
        std::this_thread::yield();
    }
    port.join();
    EXPECT_TRUE(in_order);
    EXPECT_EQ(received, kTotal);
    EXPECT_EQ(size, 0);
}

// A stream may close at any moment of the port and of the decoder.
TEST_F(Buffer, ClosesAndOpensUnderBothThreads) {
    std::atomic<bool> stop{false};
    std::thread port([&] {
        while (!stop) {
            append(Bytes(30, 5));
        }
    });
    std::thread decoder([&] {
        while (!stop) {
            for (const unsigned char byte : read(7000)) {
                EXPECT_EQ(byte, 5);
            }
        }
    });
    for (int i = 0; i < 150; ++i) {
        buffer.open();
        std::this_thread::yield();
        buffer.open();
        std::this_thread::yield();
        buffer.close();
    }
    stop = true;
    port.join();
    decoder.join();
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(size, 0);
}

}  // namespace

}  // namespace sorvane
