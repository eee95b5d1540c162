#include <gtest/gtest.h>

#include <filesystem>

#include "camera.h"
#include "tavrik/still_writer.h"
#include "tavrik/tavrik.h"

namespace tavrik::test {
namespace {

// Decodes the file; null if it is no JPEG.
FramePtr jpegIn(const std::string& path) {
    AVFormatContext* raw = nullptr;
    if (avformat_open_input(&raw, ("file:" + path).c_str(), nullptr, nullptr) < 0) {
        return nullptr;
    }
    const FormatPtr format(raw);
    if (avformat_find_stream_info(raw, nullptr) < 0) {
        return nullptr;
    }
    const CodecContextPtr context(avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_MJPEG)));
    avcodec_parameters_to_context(context.get(), raw->streams[0]->codecpar);
    const PacketPtr packet(av_packet_alloc());
    FramePtr frame(av_frame_alloc());
    const bool good = avcodec_open2(context.get(), nullptr, nullptr) >= 0 &&
                      av_read_frame(raw, packet.get()) >= 0 &&
                      avcodec_send_packet(context.get(), packet.get()) >= 0 &&
                      avcodec_receive_frame(context.get(), frame.get()) >= 0;
    return good ? std::move(frame) : nullptr;
}

class Stills : public testing::Test {
protected:
    void open() {
        m_handle =
            feedOpen(m_server.url().c_str(), 0, m_receiver.onFrame(), nullptr, "", true, "", nullptr, 1);
        ASSERT_TRUE(m_server.waitForPlay(kPatienceMs));
    }
    void show(int number) {
        m_server.sendPicture(m_encoder.encode(number), m_time += 3600);
        ASSERT_TRUE(m_receiver.waitForNumber(number));
    }
    static bool there(const std::string& path) {
        return becomes([&] { return std::filesystem::exists(path); });
    }

    Folder m_folder{"stills"};
    RtspServer m_server{{}};
    std::uint32_t m_time = 0;
    TestEncoder m_encoder{EncoderSettings{Codec::kH264, 640, 480}};
    Receiver m_receiver;
    int m_handle = 0;
};

TEST_F(Stills, AreThePictureShownLastAtItsFullSize) {
    open();
    show(3);
    show(4711);
    const std::string path = m_folder / "20240102/120000_1.jpg";
    StillBegin(m_handle, m_folder.path().c_str(), 0, 1, path.c_str());
    ASSERT_TRUE(there(path));
    const FramePtr picture = jpegIn(path);
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(picture->width, 640);
    EXPECT_EQ(picture->height, 480);
    EXPECT_EQ(readNumber(picture.get()), 4711);
    // A second one in the same second takes its place.
    show(815);
    StillBegin(m_handle, m_folder.path().c_str(), 0, 1, path.c_str());
    EXPECT_TRUE(becomes([&] {
        const FramePtr now = jpegIn(path);
        return now != nullptr && readNumber(now.get()) == 815;
    }));
    feedClose(m_handle);
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(m_folder.path())) {
        files += entry.is_regular_file() ? 1 : 0;
    }
    EXPECT_EQ(files, 1u);
}

TEST_F(Stills, WaitForTheFirstPictureAndAreWrittenBeforeTheCloseReturns) {
    open();
    const std::string early = m_folder / "early.jpg", last = m_folder / "last.jpg";
    StillBegin(m_handle, m_folder.path().c_str(), 0, 1, early.c_str());
    show(1);
    ASSERT_TRUE(there(early));
    show(2);
    StillBegin(m_handle, m_folder.path().c_str(), 0, 1, last.c_str());
    feedClose(m_handle);
    EXPECT_TRUE(there(last));
    const FramePtr picture = jpegIn(last);
    ASSERT_NE(picture, nullptr);
    EXPECT_EQ(readNumber(picture.get()), 2);
}

TEST_F(Stills, ComeToTheDiskUnderTheNameThatGbkTells) {
    open();
    show(1);
    // "截图/一.jpg"
    const std::string gbk = m_folder / "\xBD\xD8\xCD\xBC/\xD2\xBB.jpg";
    const std::string utf8 = m_folder / "\xE6\x88\xAA\xE5\x9B\xBE/\xE4\xB8\x80.jpg";
    StillBegin(m_handle, m_folder.path().c_str(), 0, 1, gbk.c_str());
    EXPECT_TRUE(there(utf8));
    feedClose(m_handle);
}

TEST_F(Stills, ThatCannotBeWrittenCostALine) {
    open();
    show(1);
    testing::internal::CaptureStderr();
    StillBegin(m_handle, "/proc", 0, 1, "/proc/none/1.jpg");
    StillBegin(m_handle, "/dev", 0, 1, "/dev/full/1.jpg");
    feedClose(m_handle);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find("tavrik: still /proc/none/1.jpg: "), std::string::npos) << log;
    EXPECT_NE(log.find("tavrik: still /dev/full/1.jpg: "), std::string::npos) << log;
}

// A directory stands in the place of the file.
TEST_F(Stills, ThatCannotGetTheirNameLeaveNothingBehind) {
    open();
    show(1);
    const std::string path = m_folder / "1.jpg";
    std::filesystem::create_directory(path);
    testing::internal::CaptureStderr();
    StillBegin(m_handle, m_folder.path().c_str(), 0, 1, path.c_str());
    feedClose(m_handle);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find("1.jpg: Is a directory"), std::string::npos) << log;
    EXPECT_TRUE(std::filesystem::is_empty(path));
    EXPECT_FALSE(std::filesystem::exists(path + ".part"));
}

TEST_F(Stills, MoreThanSixteenDoNotWait) {
    open();
    const auto path = [this](int n) { return m_folder / (std::to_string(n) + ".jpg"); };
    testing::internal::CaptureStderr();
    for (int n = 1; n <= 17; ++n) {
        StillBegin(m_handle, m_folder.path().c_str(), 0, 1, path(n).c_str());
    }
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(log, "tavrik: still " + path(17) + ": too many wait, dropped\n");
    show(1);
    for (int n = 1; n <= 16; ++n) {
        EXPECT_TRUE(there(path(n))) << n;
    }
    feedClose(m_handle);
    EXPECT_FALSE(std::filesystem::exists(path(17)));
}

// Forgotten ones make room.
TEST_F(Stills, ThatAreForgottenMakeRoomForOthers) {
    open();
    for (int n = 0; n < 17; ++n) {
        StillBegin(m_handle, m_folder.path().c_str(), 0, 1, (m_folder / "never.jpg").c_str());
    }
    StillEnd(m_handle);
    StillBegin(m_handle, m_folder.path().c_str(), 0, 1, (m_folder / "later.jpg").c_str());
    show(1);
    EXPECT_TRUE(there(m_folder / "later.jpg"));
    feedClose(m_handle);
    EXPECT_FALSE(std::filesystem::exists(m_folder / "never.jpg"));
}

// Colours: what the screen shows is what the file shows.
TEST(StillColours, AreBroughtToThoseOfJpeg) {
    const Folder folder("colours");
    struct Case {
        int width, height;
        AVColorSpace space;
        AVColorRange range;
        int y, u, v;
    };
    // Pure red as each of the codings has it; JPEG has it as 76, 85, 255.
    const Case cases[] = {{320, 240, AVCOL_SPC_UNSPECIFIED, AVCOL_RANGE_UNSPECIFIED, 81, 90, 240},
                          {1280, 720, AVCOL_SPC_UNSPECIFIED, AVCOL_RANGE_MPEG, 63, 102, 240},
                          {320, 240, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG, 63, 102, 240},
                          {320, 240, AVCOL_SPC_SMPTE170M, AVCOL_RANGE_JPEG, 76, 85, 255}};
    for (const Case& c : cases) {
        const FramePtr frame(av_frame_alloc());
        frame->format = AV_PIX_FMT_YUV420P;
        frame->width = c.width;
        frame->height = c.height;
        frame->colorspace = c.space;
        frame->color_range = c.range;
        ASSERT_GE(av_frame_get_buffer(frame.get(), 0), 0);
        for (int plane = 0; plane < 3; ++plane) {
            std::fill_n(frame->data[plane], frame->linesize[plane] * (plane == 0 ? c.height : c.height / 2),
                        static_cast<std::uint8_t>(plane == 0   ? c.y
                                                  : plane == 1 ? c.u
                                                               : c.v));
        }
        const std::string path = folder / "red.jpg";
        ASSERT_EQ(writeStill(*frame, path), "");
        const FramePtr read = jpegIn(path);
        ASSERT_NE(read, nullptr);
        EXPECT_NEAR(read->data[0][5000], 76, 3) << c.space;
        EXPECT_NEAR(read->data[1][1000], 85, 3) << c.space;
        EXPECT_NEAR(read->data[2][1000], 255, 3) << c.space;
    }
}

}  // namespace
}  // namespace tavrik::test
