// The block stream over loopback and the sound of a channel, without the window.
#include <gtest/gtest.h>

#include <QAudioOutput>
#include <QBuffer>
#include <QPointer>
#include <QUdpSocket>
#include <thread>

#include "tests/fakes/fake_tavrik.h"
#include "tests/widgets/wait.h"
#include "video/block_stream.h"
#include "video/channel_sound.h"
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

// --- sound ---

class SoundPart : public ::testing::Test {
protected:
    ~SoundPart() override {
        sound.closeGate();
        sound.stop();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    // One packet from a thread of the stream library's.
    void playOnItsThread(int size) {
        std::thread([this, size] {
            std::vector<unsigned char> packet(static_cast<std::size_t>(std::max(size, 0)));
            sound.play(packet.data(), size, 48000, 2);
        }).join();
    }

    QAudioOutput* output = nullptr;
    QIODevice* device = nullptr;
    ChannelSound sound{SoundFields{output, device}};
};

TEST_F(SoundPart, IsTurnedAwayUntilTheGateOpens) {
    playOnItsThread(4);
    EXPECT_EQ(output, nullptr);
    sound.openGate();
    playOnItsThread(0);
    playOnItsThread(-4);
    EXPECT_EQ(output, nullptr);
    playOnItsThread(4);
    ASSERT_NE(output, nullptr);
    EXPECT_EQ(output->thread(), QCoreApplication::instance()->thread()) << "it is deleted over there";
}

TEST_F(SoundPart, WithoutADevicePacketsAreLostAndNobodyWaits) {
    sound.openGate();
    playOnItsThread(4);
    ASSERT_NE(output, nullptr);
    QAudioOutput* const first = output;
    // What a machine without sound gives.
    device = nullptr;
    playOnItsThread(1 << 20);
    EXPECT_EQ(output, first) << "one output a stream";
}

TEST_F(SoundPart, AStoppedOutputTakesNothingAndHoldsNobodyUp) {
    sound.openGate();
    playOnItsThread(4);
    output->stop();
    QBuffer played;
    played.open(QIODevice::WriteOnly);
    device = &played;
    playOnItsThread(1 << 20);
    EXPECT_EQ(played.data().size(), 0);
    device = nullptr;
}

TEST_F(SoundPart, StoppingLetsGoOfBoth) {
    sound.stop();
    sound.openGate();
    playOnItsThread(4);
    QPointer<QAudioOutput> was = output;
    ASSERT_FALSE(was.isNull());
    sound.stop();
    EXPECT_EQ(output, nullptr);
    EXPECT_EQ(device, nullptr);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(was.isNull());
    // The next stream begins with an output of its own.
    playOnItsThread(4);
    EXPECT_NE(output, nullptr);
}

TEST_F(SoundPart, AClosedGateEndsAWait) {
    sound.openGate();
    // With a device the thread waits for it, without one it plays on; either way it ends.
    std::atomic<bool> ended{false};
    std::thread stream([&] {
        std::vector<unsigned char> packet(1 << 16);
        for (int i = 0; i < 100; ++i) {
            sound.play(packet.data(), static_cast<int>(packet.size()), 8000, 2);
        }
        ended = true;
    });
    sound.closeGate();
    EXPECT_TRUE(waitFor([&] { return ended.load(); }));
    stream.join();
}

}  // namespace
