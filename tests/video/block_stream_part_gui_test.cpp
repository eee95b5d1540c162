// The block stream over loopback, without the window.
#include <gtest/gtest.h>

#include <QDeadlineTimer>
#include <QUdpSocket>
#include <atomic>
#include <thread>
#include <vector>

#include "tests/fakes/fake_tavrik.h"
#include "tests/widgets/wait.h"
#include "video/block_stream.h"
#include "video/stream_panel.h"

namespace {

constexpr int kBlockSize = 256;
const QByteArray kHeader = "HEAD";

class BlockStreamPart : public ::testing::Test {
protected:
    BlockStreamPart() {
        fake_tavrik::reset();
        QUdpSocket probe;
        probe.bind(QHostAddress(QHostAddress::LocalHost));
        request.port = probe.localPort();
        request.url = "127.0.0.1";
        request.decoder = 4;
    }
    ~BlockStreamPart() override {
        stream.close();
        delete[] data;
    }

    bool open() { return stream.open(request, kHeader.toStdString(), tavrik::FrameCallback()); }
    static QByteArray block(char fill) { return kHeader + QByteArray(kBlockSize - kHeader.size(), fill); }
    void send(const QByteArray& datagram) {
        socket.writeDatagram(datagram, QHostAddress(QHostAddress::LocalHost),
                             static_cast<quint16>(request.port));
    }
    // Pulls as the decoder's thread does until `count` bytes have come.
    QByteArray pull(int count) {
        QByteArray all;
        const auto take = [&] {
            char bytes[1000];
            const auto& on_read = fake_tavrik::state().pulls.back().on_read;
            const int n = on_read(reinterpret_cast<unsigned char*>(bytes), sizeof bytes);
            all.append(bytes, n);
            return all.size() >= count;
        };
        EXPECT_TRUE(waitFor(take)) << all.size();
        return all;
    }
    // Takes all that waits; its size.
    static int drain() {
        std::vector<unsigned char> bytes(8U << 20);
        int all = 0;
        for (int n = 1; n > 0; all += n) {
            n = fake_tavrik::state().pulls.back().on_read(bytes.data(), static_cast<int>(bytes.size()));
        }
        return all;
    }
    // What an earlier stream left in the reassembler goes: more than it can hold.
    void forgetEarlierBytes() {
        send(QByteArray(4096, 'x'));
        send(block('#'));
        const QByteArray first = pull(kBlockSize - kHeader.size());
        ASSERT_EQ(first, block('#').mid(kHeader.size()));
    }

    StreamRequest request;
    int port = 0;
    unsigned char* data = nullptr;
    int capacity = 0;
    int size = 0;
    std::mutex mutex;
    BlockStream stream{port, sorvane::BlockBufferFields{data, capacity, size, mutex}};
    QUdpSocket socket;
};

TEST_F(BlockStreamPart, BlocksOfDatagramsArePulledWithoutTheirHeaders) {
    ASSERT_TRUE(open());
    EXPECT_GT(port, 0);
    ASSERT_EQ(fake_tavrik::state().pulls.size(), 1U);
    EXPECT_EQ(fake_tavrik::state().pulls[0].decoder, 4);
    forgetEarlierBytes();
    send(block('a') + "noise" + block('b').left(100));
    send(block('b').mid(100));
    EXPECT_EQ(pull(2 * (kBlockSize - kHeader.size())),
              block('a').mid(kHeader.size()) + block('b').mid(kHeader.size()));
}

TEST_F(BlockStreamPart, PicturesGoWhereTheCallerSays) {
    int pictures = 0;
    ASSERT_TRUE(stream.open(request, {}, [&pictures](AVFrame*, float, int) { ++pictures; }));
    fake_tavrik::state().pulls[0].on_frame(nullptr, 0.0F, 0);
    EXPECT_EQ(pictures, 1);
}

TEST_F(BlockStreamPart, ClosingFreesThePortAndTheBuffer) {
    ASSERT_TRUE(open());
    EXPECT_EQ(capacity, 40960);
    QUdpSocket other;
    const auto local = static_cast<quint16>(request.port);
    EXPECT_FALSE(other.bind(QHostAddress(QHostAddress::AnyIPv4), local, QUdpSocket::DontShareAddress));
    stream.close();
    EXPECT_EQ(port, 0);
    EXPECT_EQ(data, nullptr);
    EXPECT_TRUE(other.bind(QHostAddress(QHostAddress::AnyIPv4), local, QUdpSocket::DontShareAddress));
    // The pull may go on for a moment and finds nothing.
    unsigned char bytes[16];
    EXPECT_EQ(fake_tavrik::state().pulls[0].on_read(bytes, sizeof bytes), 0);
    EXPECT_EQ(fake_tavrik::state().calls, std::vector<std::string>{"pull"});
}

TEST_F(BlockStreamPart, HalfABlockSurvivesAReopening) {
    ASSERT_TRUE(open());
    forgetEarlierBytes();
    send(block('a') + block('b').left(200));
    EXPECT_EQ(pull(kBlockSize - kHeader.size()), block('a').mid(kHeader.size()));
    stream.close();
    ASSERT_TRUE(open());
    send(block('b').mid(200));
    EXPECT_EQ(pull(kBlockSize - kHeader.size()), block('b').mid(kHeader.size()));
}

std::atomic<int> lines_of_full{0};

void countLines(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& text) {
    if (text.contains(QLatin1String("dropping"))) {
        ++lines_of_full;
    }
}

// A decoder that stands still: what waits for it is bounded, told once an opening, and it goes on where it
// stood.
TEST_F(BlockStreamPart, WhatWaitsForTheDecoderIsBoundedAndToldOnce) {
    constexpr int kBound = 32 << 20;
    const QByteArray five = block('1') + block('2') + block('3') + block('4') + block('5');
    const QtMessageHandler before = qInstallMessageHandler(countLines);
    for (int opening = 1; opening <= 2; ++opening) {
        lines_of_full = 0;
        ASSERT_TRUE(open());
        const QDeadlineTimer deadline(60000);
        while (lines_of_full == 0 && !deadline.hasExpired()) {
            send(five);
        }
        for (int n = 0; n < 200; ++n) {
            send(five);
        }
        // More than one block may be missing at the end only if something was dropped before it was full.
        EXPECT_GT(drain(), kBound - kBlockSize);
        EXPECT_LE(capacity, kBound);
        EXPECT_EQ(lines_of_full, 1) << opening;
        stream.close();
    }
    qInstallMessageHandler(before);
}

TEST_F(BlockStreamPart, WithoutThePortNothingIsPulled) {
    request.port = 70000;
    EXPECT_FALSE(open());
    EXPECT_LT(port, 0);
    EXPECT_TRUE(fake_tavrik::state().pulls.empty());
    EXPECT_EQ(capacity, 40960) << "the buffer stays";
    stream.close();
    EXPECT_LT(port, 0) << "there is nothing to close";
    EXPECT_NE(data, nullptr);
}

}  // namespace
