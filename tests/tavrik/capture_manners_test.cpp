// When recordings begin and end, and what the stream does to them.
#include <gtest/gtest.h>

extern "C" {
#include <libavutil/base64.h>
}

#include <chrono>
#include <filesystem>

#include "camera.h"
#include "recording.h"
#include "tavrik/recorder.h"
#include "tavrik/tavrik.h"

namespace tavrik::test {
namespace {

constexpr std::size_t kPictures = 80;

const Film& film() {
    static const Film made = [] {
        FilmSettings settings;
        settings.width = 320;
        settings.height = 240;
        settings.kbps = 1500;
        settings.slices = 1;
        settings.key_interval = 10;
        settings.pictures = kPictures;
        return makeFilm(settings);
    }();
    return made;
}

WireForm transport() {
    WireForm form;
    form.pes_lengths = true;
    return form;
}

std::string runIn(const std::string& path) {
    const Recording recording = readRecording(path);
    return runOf(numbersOf(film(), recording.sums)) + recording.trouble;
}

std::vector<int> pictureNumbers(const std::string& path) {
    return numbersOf(film(), readRecording(path).sums);
}

class CaptureManners : public testing::Test {
protected:
    void open() {
        m_handle = m_camera.open(m_receiver);
        ASSERT_GT(m_handle, 0);
    }
    void send(std::size_t end) {
        m_camera.sendUpTo(end);
        ASSERT_TRUE(m_receiver.waitForFrames(end));
    }

    Folder m_folder{"manners"};
    Receiver m_receiver;
    Camera m_camera{film(), kPictures, Line::kUdp, transport()};
    int m_handle = 0;
};

TEST_F(CaptureManners, AHandleThatRecordsEndsItsFileAndBeginsTheNext) {
    open();
    const std::string raw = m_folder / "a.dat", mp4 = m_folder / "b.mp4", last = m_folder / "c.dat";
    send(12);
    captureBegin(raw.c_str(), m_handle, 0);
    send(25);
    captureBegin(mp4.c_str(), m_handle, 1);
    send(43);
    captureBegin(last.c_str(), m_handle, 0);
    send(65);
    closeInTime(m_handle);
    EXPECT_EQ(runIn(raw), "10..29");
    EXPECT_EQ(runIn(mp4), "30..49");
    EXPECT_EQ(runIn(last), "50..64");
}

TEST_F(CaptureManners, TheEndClosesTheFileWhileTheStreamGoesOn) {
    open();
    const std::string first = m_folder / "a.mp4", second = m_folder / "b.mp4";
    send(12);
    captureBegin(first.c_str(), m_handle, 1);
    send(38);
    captureEnd(m_handle);
    // No picture need come for that.
    EXPECT_TRUE(becomes([&] { return isClosed(first); }));
    EXPECT_EQ(runIn(first), "10..37");
    send(45);
    captureBegin(second.c_str(), m_handle, 1);
    send(48);
    closeInTime(m_handle);
    EXPECT_EQ(runIn(second), "40..47") << "a fresh one begins with the group in memory";
    EXPECT_EQ(runIn(first), "10..37");
}

TEST_F(CaptureManners, CloseEndsItAtOnceAndWhole) {
    open();
    const std::string path = m_folder / "a.mp4";
    send(12);
    captureBegin(path.c_str(), m_handle, 1);
    send(27);
    closeInTime(m_handle);
    EXPECT_TRUE(isClosed(path));
    EXPECT_EQ(runIn(path), "10..26");
}

TEST_F(CaptureManners, BeginsWithTheFirstKeyPictureWhereNoneIsInMemory) {
    open();
    const std::string path = m_folder / "a.mp4";
    captureBegin(path.c_str(), m_handle, 1);
    EXPECT_FALSE(std::filesystem::exists(path));
    send(25);
    closeInTime(m_handle);
    EXPECT_EQ(runIn(path), "0..24");
}

TEST_F(CaptureManners, ItsOwnPathAgainChangesNothing) {
    open();
    const std::string path = m_folder / "a.mp4";
    send(12);
    for (int i = 0; i < 100; ++i) {
        captureEnd(m_handle);
        captureBegin(path.c_str(), m_handle, 1);
    }
    send(45);
    captureBegin(path.c_str(), m_handle, 1);
    send(65);
    closeInTime(m_handle);
    EXPECT_EQ(runIn(path), "10..64");
}

TEST_F(CaptureManners, ARollOverWithoutAKeyPictureLeavesAllInTheFileBefore) {
    open();
    const std::string first = m_folder / "a.mp4", second = m_folder / "b.mp4";
    send(12);
    captureBegin(first.c_str(), m_handle, 1);
    captureEnd(m_handle);
    captureBegin(second.c_str(), m_handle, 1);
    send(18);
    testing::internal::CaptureStderr();
    captureEnd(m_handle);
    EXPECT_TRUE(becomes([&] { return isClosed(first); }));
    closeInTime(m_handle);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(runIn(first), "10..17");
    EXPECT_FALSE(std::filesystem::exists(second));
    EXPECT_NE(log.find("b.mp4 has not begun: no key picture came"), std::string::npos) << log;
    EXPECT_NE(log.find("a.mp4 ended: as asked for, 8 pictures"), std::string::npos) << log;
}

TEST_F(CaptureManners, ChinesePathsAreUtf8) {
    open();
    const std::string folder = m_folder / "\xE5\xBD\x95\xE5\x83\x8F 1";
    std::filesystem::create_directories(folder);
    const std::string path = folder + "/\xE9\x80\x9A\xE9\x81\x93.mp4";
    send(12);
    captureBegin(path.c_str(), m_handle, 1);
    send(25);
    closeInTime(m_handle);
    EXPECT_EQ(runIn(path), "10..24");
}

TEST_F(CaptureManners, HandlesThatAreNotOpenAreNothing) {
    for (const int handle : {0, -1, 123456789}) {
        captureBegin((m_folder / "a.mp4").c_str(), handle, 1);
        captureEnd(handle);
        StillBegin(handle, m_folder.path().c_str(), 0, 1, (m_folder / "a.jpg").c_str());
        StillEnd(handle);
    }
    open();
    captureBegin(nullptr, m_handle, 1);
    captureBegin("", m_handle, 1);
    captureEnd(m_handle);
    StillBegin(m_handle, nullptr, 0, 1, nullptr);
    send(12);
    closeInTime(m_handle);
    EXPECT_TRUE(std::filesystem::is_empty(m_folder.path()));
}

TEST(CapturePull, TakesTheHandlesThatAreNotOpen) {
    const Folder folder("pull");
    Receiver receiver;
    std::mutex mutex;
    Bytes waiting;
    feedPull(
        receiver.onFrame(),
        [&](unsigned char* to, int capacity) {
            const std::lock_guard<std::mutex> lock(mutex);
            const std::size_t size = std::min(waiting.size(), static_cast<std::size_t>(capacity));
            std::copy_n(waiting.begin(), size, to);
            waiting.erase(waiting.begin(), waiting.begin() + static_cast<std::ptrdiff_t>(size));
            return static_cast<int>(size);
        },
        1);
    const auto add = [&](std::size_t from, std::size_t to) {
        const std::lock_guard<std::mutex> lock(mutex);
        for (std::size_t n = from; n < to; ++n) {
            waiting.insert(waiting.end(), film().unit(n).begin(), film().unit(n).end());
        }
    };
    const std::string path = folder / "a.mp4", still = folder / "a.jpg";
    add(0, 15);
    ASSERT_TRUE(receiver.waitForFrames(14));
    captureBegin(path.c_str(), 0, 1);
    StillBegin(0, folder.path().c_str(), 0, 1, still.c_str());
    add(15, 40);
    ASSERT_TRUE(receiver.waitForFrames(39));
    captureEnd(0);
    EXPECT_TRUE(becomes([&] { return isClosed(path); }));
    EXPECT_TRUE(becomes([&] { return std::filesystem::exists(still); }));
    feedClose(0);
    const std::vector<int> numbers = pictureNumbers(path);
    ASSERT_FALSE(numbers.empty());
    EXPECT_EQ(numbers.front(), 10);
    EXPECT_GE(numbers.back(), 38);
}

// Pictures given to a session one by one, without a network in between: over RTSP with times of our own.
class CaptureStream : public testing::Test {
protected:
    // A test that fails midway must not leave its pictures to the next.
    ~CaptureStream() override { feedClose(m_handle); }
    void open(Codec codec = Codec::kH264) {
        RtspServer::Settings settings;
        settings.codec = codec;
        m_server = std::make_unique<RtspServer>(settings);
        m_handle =
            feedOpen(m_server->url().c_str(), 0, m_receiver.onFrame(), nullptr, "", true, "", nullptr, 1);
        ASSERT_TRUE(m_server->waitForPlay(kPatienceMs));
    }
    void send(const Bytes& unit, std::uint32_t time) {
        m_server->sendPicture(unit, time);
        std::this_thread::sleep_for(std::chrono::milliseconds(4));
    }

    Folder m_folder{"stream"};
    Receiver m_receiver;
    std::unique_ptr<RtspServer> m_server;
    int m_handle = 0;
};

TEST_F(CaptureStream, WithoutKeyPicturesOrWithParameterSetsAloneMakesNoFile) {
    open();
    captureBegin((m_folder / "a.mp4").c_str(), m_handle, 1);
    const auto begun = std::chrono::steady_clock::now();
    std::vector<Bytes> sets;
    for (const Bytes& nal : nalsOf(film().unit(0))) {
        if (nal[0] % 32 == 7 || nal[0] % 32 == 8) {
            sets.push_back(nal);
        }
    }
    ASSERT_EQ(sets.size(), 2u);
    for (std::uint32_t n = 0; n < 20; ++n) {
        send(annexB(sets), n * 3600);
    }
    for (std::uint32_t n = 1; n < 10; ++n) {
        send(film().unit(n), (20 + n) * 3600);
    }
    // On a machine that stood still for seconds a recording has begun without a key picture.
    const bool in_time = std::chrono::steady_clock::now() - begun < Recorder::kMaxWaitForKey;
    EXPECT_TRUE(!in_time || std::filesystem::is_empty(m_folder.path()));
    for (std::uint32_t n = 10; n < 25; ++n) {
        send(film().unit(n), (30 + n) * 3600);
    }
    ASSERT_TRUE(m_receiver.waitForFrames(15));
    closeInTime(m_handle);
    EXPECT_TRUE(!in_time || runIn(m_folder / "a.mp4") == "10..24") << runIn(m_folder / "a.mp4");
}

// Some cameras tell their parameter sets in the session's description alone.
TEST_F(CaptureStream, GetsParameterSetsFromTheDescription) {
    RtspServer::Settings settings;
    const auto isSet = [](const Bytes& nal) { return nal[0] % 32 == 7 || nal[0] % 32 == 8; };
    for (const Bytes& nal : nalsOf(film().unit(0))) {
        if (isSet(nal)) {
            std::vector<char> text(AV_BASE64_SIZE(nal.size()));
            av_base64_encode(text.data(), static_cast<int>(text.size()), nal.data(),
                             static_cast<int>(nal.size()));
            settings.parameter_sets +=
                (settings.parameter_sets.empty() ? "" : ",") + std::string(text.data());
        }
    }
    m_server = std::make_unique<RtspServer>(settings);
    m_handle = feedOpen(m_server->url().c_str(), 0, m_receiver.onFrame(), nullptr, "", true, "", nullptr, 1);
    ASSERT_TRUE(m_server->waitForPlay(kPatienceMs));
    const std::string raw = m_folder / "a.dat", mp4 = m_folder / "b.mp4";
    for (std::uint32_t n = 0; n < 45; ++n) {
        std::vector<Bytes> nals;
        for (const Bytes& nal : nalsOf(film().unit(n))) {
            if (!isSet(nal)) {
                nals.push_back(nal);
            }
        }
        send(annexB(nals), n * 3600);
        if (n == 12 || n == 25) {
            ASSERT_TRUE(m_receiver.waitForFrames(n + 1));
            captureBegin((n == 12 ? raw : mp4).c_str(), m_handle, n == 12 ? 0 : 1);
        }
    }
    ASSERT_TRUE(m_receiver.waitForFrames(45));
    closeInTime(m_handle);
    EXPECT_EQ(runIn(raw), "10..29");
    EXPECT_EQ(runIn(mp4), "30..44");
}

// A long group of pictures is not kept from the disk until its end.
TEST_F(CaptureStream, WithoutAKeyPictureForLongIsOnTheDiskAllTheSame) {
    EncoderSettings how;
    how.key_interval = 1000;
    TestEncoder encoder(how);
    open();
    captureBegin((m_folder / "a.mp4").c_str(), m_handle, 1);
    const auto size = [&] {
        std::error_code error;
        const auto bytes = std::filesystem::file_size(m_folder / "a.mp4", error);
        return error ? 0 : bytes;
    };
    std::uintmax_t before = 0;
    int grown = 0;
    EXPECT_TRUE(stream(
        [&](int n) {
            m_server->sendPicture(encoder.encode(n), static_cast<std::uint32_t>(n) * 3600);
            grown += size() > before ? 1 : 0;
            before = size();
        },
        [&] { return grown >= 3; }, 40));
    closeInTime(m_handle);
    const Recording recording = readRecording(m_folder / "a.mp4");
    EXPECT_EQ(recording.trouble, "");
    EXPECT_EQ(recording.sums.size(), m_receiver.numbers().size());
    EXPECT_EQ(probed(m_folder / "a.mp4", "v:0", "packet=flags").find("K_,K_"), std::string::npos);
}

TEST_F(CaptureStream, AChangeOfSizeGoesOnInTheSameFile) {
    EncoderSettings small, large;
    large.width = 640;
    large.height = 480;
    TestEncoder first(small), second(large);
    open();
    captureBegin((m_folder / "a.mp4").c_str(), m_handle, 1);
    for (int n = 0; n < 40; ++n) {
        send((n < 20 ? first : second).encode(n), static_cast<std::uint32_t>(n) * 3600);
    }
    ASSERT_TRUE(m_receiver.waitForFrames(40));
    closeInTime(m_handle);
    const Recording recording = readRecording(m_folder / "a.mp4");
    EXPECT_EQ(recording.trouble, "");
    std::vector<int> widths(20, 320);
    widths.resize(40, 640);
    EXPECT_EQ(recording.widths, widths);
}

TEST(CaptureCodec, AChangeEndsTheFile) {
    const Folder folder("codec");
    Receiver receiver;
    const int port = freeUdpPort();
    const int handle = feedOpen("", port, receiver.onFrame(), nullptr, "", false, "", nullptr, 1);
    UdpSender sender(port);
    TestEncoder h264(EncoderSettings{}), h265(EncoderSettings{Codec::kH265});
    testing::internal::CaptureStderr();
    captureBegin((folder / "a.mp4").c_str(), handle, 1);
    int sent = 0;
    EXPECT_TRUE(stream(
        [&](int n) {
            sender.send(h264.encode(n), 1400);
            ++sent;
        },
        [&] { return receiver.numbers().size() >= 25; }));
    EXPECT_TRUE(stream([&](int n) { sender.send(h265.encode(1000 + n), 1400); },
                       [&] { return !receiver.numbers().empty() && receiver.numbers().back() >= 1005; }));
    EXPECT_TRUE(becomes([&] { return isClosed(folder / "a.mp4"); }));
    captureEnd(handle);
    captureBegin((folder / "b.mp4").c_str(), handle, 1);
    EXPECT_TRUE(stream([&](int n) { sender.send(h265.encode(2000 + n), 1400); },
                       [&] { return receiver.numbers().back() >= 2015; }));
    closeInTime(handle);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find("a.mp4 ended: the stream's coding changed"), std::string::npos) << log;
    EXPECT_EQ(readRecording(folder / "a.mp4").trouble, "");
    EXPECT_GE(readRecording(folder / "a.mp4").sums.size(), 24u);
    EXPECT_EQ(probed(folder / "b.mp4", "v:0", "stream=codec_name"), "hevc");
    EXPECT_EQ(readRecording(folder / "b.mp4").trouble, "");
}

// Times as a stream tells them: back to nothing, far ahead, wrapped. The file's go on.
TEST_F(CaptureStream, TimesThatJumpDoNotReachTheFile) {
    open();
    captureBegin((m_folder / "a.mp4").c_str(), m_handle, 1);
    std::uint32_t time = 0xFFFFFFFFu - 7 * 3600;  // RTP's wrap
    for (std::uint32_t n = 0; n < kPictures; ++n) {
        time = n == 25 ? 1000 : n == 47 ? 3000000000u : n == 60 ? 5000 : time + 3600;
        m_server->sendPicture(film().unit(n), time);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ASSERT_TRUE(m_receiver.waitForFrames(kPictures));
    closeInTime(m_handle);
    const Recording recording = readRecording(m_folder / "a.mp4");
    EXPECT_EQ(recording.trouble, "");
    EXPECT_EQ(runOf(numbersOf(film(), recording.sums)), "0..79");
    for (std::size_t i = 1; i < recording.times.size(); ++i) {
        EXPECT_GT(recording.times[i], recording.times[i - 1]);
        EXPECT_LT(recording.times[i], recording.times[i - 1] + 90000 * 5) << i;
    }
}

}  // namespace
}  // namespace tavrik::test
