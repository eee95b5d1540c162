// Recordings of streams whose pictures are sent in another order than they are shown.
#include <gtest/gtest.h>

extern "C" {
#include <libavutil/opt.h>
}

#include <algorithm>
#include <random>
#include <stdexcept>

#include "camera.h"
#include "recording.h"
#include "tavrik/capture_clock.h"
#include "tavrik/capture_writer.h"
#include "tavrik/tavrik.h"
#include "ts_writer.h"

namespace tavrik::test {
namespace {

constexpr int kCount = 72;
constexpr int kKeys = 24;  // pictures a group

struct ReorderedFilm {
    struct Unit {
        Bytes bytes;
        int shown;  // its place in the order of showing
    };
    std::vector<Unit> units;  // as they are sent
    Film film;                // its sums, in the order of showing
};

ReorderedFilm makeReordered(Codec codec, bool open_groups) {
    const bool h264 = codec == Codec::kH264;
    const AVCodec* const encoder = avcodec_find_encoder_by_name(h264 ? "libx264" : "libx265");
    const CodecContextPtr context(avcodec_alloc_context3(encoder));
    context->width = kWidth;
    context->height = kHeight;
    context->pix_fmt = AV_PIX_FMT_YUV420P;
    context->time_base = {1, 25};
    context->gop_size = kKeys;
    context->max_b_frames = 3;
    context->thread_count = 1;
    av_opt_set(context->priv_data, "preset", "ultrafast", 0);
    const std::string keys = std::to_string(kKeys);
    const std::string common = "repeat-headers=1:scenecut=0:b-adapt=0:bframes=3:keyint=" + keys +
                               ":min-keyint=" + keys + ":open-gop=" + (open_groups ? "1" : "0");
    const std::string own =
        common + (h264 ? "" : ":info=0:log-level=none:pools=none:frame-threads=1:b-pyramid=1");
    av_opt_set(context->priv_data, h264 ? "x264-params" : "x265-params", own.c_str(), 0);
    if (avcodec_open2(context.get(), nullptr, nullptr) < 0) {
        throw std::runtime_error("encoder does not open");
    }
    const FramePtr frame(av_frame_alloc());
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = kWidth;
    frame->height = kHeight;
    av_frame_get_buffer(frame.get(), 0);
    const PacketPtr packet(av_packet_alloc());
    const CodecContextPtr decoder(
        avcodec_alloc_context3(avcodec_find_decoder(h264 ? AV_CODEC_ID_H264 : AV_CODEC_ID_HEVC)));
    decoder->thread_count = 1;
    avcodec_open2(decoder.get(), nullptr, nullptr);
    const FramePtr shown(av_frame_alloc());
    ReorderedFilm out;
    const auto decode = [&](const AVPacket* what) {
        avcodec_send_packet(decoder.get(), what);
        while (avcodec_receive_frame(decoder.get(), shown.get()) >= 0) {
            out.film.sums.push_back(sumOf(shown.get()));
        }
    };
    const auto drain = [&] {
        while (avcodec_receive_packet(context.get(), packet.get()) >= 0) {
            out.units.push_back(
                {Bytes(packet->data, packet->data + packet->size), static_cast<int>(packet->pts)});
            decode(packet.get());
            av_packet_unref(packet.get());
        }
    };
    for (int n = 0; n < kCount; ++n) {
        av_frame_make_writable(frame.get());
        drawDetail(frame.get(), n);
        frame->pts = n;
        avcodec_send_frame(context.get(), frame.get());
        drain();
    }
    avcodec_send_frame(context.get(), nullptr);
    drain();
    decode(nullptr);
    if (out.units.size() != kCount || out.film.sums.size() != kCount) {
        throw std::runtime_error("the film is no reference");
    }
    return out;
}

enum class By { kTransport, kRtsp, kRaw };

struct Case {
    const char* name;
    Codec codec;
    bool open_groups;
    By by;
};

void PrintTo(const Case& c, std::ostream* out) { *out << c.name; }

class CaptureOrder : public testing::TestWithParam<Case> {
protected:
    void open() {
        RtspServer::Settings settings;
        settings.codec = GetParam().codec;
        std::string url;
        if (GetParam().by == By::kRtsp) {
            m_server = std::make_unique<RtspServer>(settings);
            url = m_server->url();
        }
        m_handle = feedOpen(url.c_str(), m_port, m_receiver.onFrame(), nullptr, "", m_server != nullptr, "",
                            nullptr, 1);
        ASSERT_TRUE(m_server == nullptr || m_server->waitForPlay(kPatienceMs));
    }
    void send(std::size_t from, std::size_t to) {
        for (std::size_t n = from; n < to; ++n) {
            const ReorderedFilm::Unit& unit = m_film.units[n];
            switch (GetParam().by) {
                case By::kRtsp:
                    m_server->sendPicture(unit.bytes, static_cast<std::uint32_t>(unit.shown) * 3600);
                    break;
                case By::kRaw:
                    m_sender.send(unit.bytes, 1400);
                    break;
                case By::kTransport:
                    sendTransport(unit, n);
                    break;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(40));
        }
    }
    void sendTransport(const ReorderedFilm::Unit& unit, std::size_t n) {
        m_writer.tables(GetParam().codec == Codec::kH264 ? 0x1B : 0x24);
        m_writer.times((unit.shown + 10) * 3600, static_cast<std::int64_t>(n + 6) * 3600);
        m_writer.pes(TsWriter::kVideoPid, unit.bytes, unit.bytes.size() < 60000);
        m_sender.send(m_writer.take(), 1316);
    }

    const ReorderedFilm m_film = makeReordered(GetParam().codec, GetParam().open_groups);
    const Folder m_folder{"order"};
    Receiver m_receiver;
    std::unique_ptr<RtspServer> m_server;
    int m_port = freeUdpPort();
    UdpSender m_sender{m_port};
    TsWriter m_writer;
    int m_handle = 0;
};

TEST_P(CaptureOrder, IsThatOfShowingAcrossARollOver) {
    open();
    const std::string first = m_folder / "a.mp4", second = m_folder / "b.mp4";
    captureBegin(first.c_str(), m_handle, 1);
    send(0, 35);
    ASSERT_TRUE(m_receiver.waitForFrames(28));
    captureEnd(m_handle);
    captureBegin(second.c_str(), m_handle, 1);
    send(35, kCount);
    ASSERT_TRUE(m_receiver.waitForFrames(kCount - 8));
    closeInTime(m_handle);
    const Recording a = readRecording(first), b = readRecording(second);
    EXPECT_EQ(a.trouble + b.trouble, "");
    // The key picture of an open group stands in both files: pictures of both need it.
    const int last = GetParam().open_groups ? 2 * kKeys : 2 * kKeys - 1;
    EXPECT_EQ(runOf(numbersOf(m_film.film, a.sums)), "0.." + std::to_string(last));
    std::vector<int> numbers = numbersOf(m_film.film, b.sums);
    // The last ones sent may not have been whole at the close.
    numbers.resize(std::min<std::size_t>(numbers.size(), kCount - 8 - 48));
    EXPECT_EQ(runOf(numbers), "48.." + std::to_string(kCount - 9));
    for (const Recording* recording : {&a, &b}) {
        for (std::size_t i = 1; i < recording->times.size(); ++i) {
            const std::int64_t step = recording->times[i] - recording->times[i - 1];
            // Over RTSP the receiver makes times of its own where they do not rise.
            if (GetParam().by == By::kTransport) {
                EXPECT_EQ(step, 3600) << i;
            } else {
                EXPECT_GT(step, 0) << i;
            }
        }
    }
}

// The pace of a busy machine: mostly the camera's, at times all at once or after a pause.
std::int64_t nextArrival(std::mt19937& random) {
    const unsigned kind = random() % 8;
    return kind == 0 ? 20 : kind == 1 ? static_cast<std::int64_t>(random() % 700000) : 40000;
}

struct Pace {
    Codec codec;
    int keys;      // each so many pictures are a key picture
    bool stamped;  // with the stream's times; else those of arrival are written, as raw bytes carry none
    unsigned seed;
};

constexpr int kTicks = 3600;

Recording writtenAtPace(const std::vector<ReorderedFilm::Unit>& units, const Pace& pace) {
    const Folder folder("pace");
    const std::string path = folder / "a.mp4";
    std::mt19937 random(pace.seed);
    std::chrono::microseconds at{0};
    const auto writer =
        makeMp4Writer({pace.codec == Codec::kH264 ? AV_CODEC_ID_H264 : AV_CODEC_ID_HEVC, nullptr, {}, false});
    EXPECT_TRUE(writer->open(path));
    for (const ReorderedFilm::Unit& unit : units) {
        const auto made = std::make_shared<AccessUnit>();
        made->codec = pace.codec;
        made->padded = unit.bytes;
        sealBytes(made->padded);
        made->stamp.arrival = CaptureClock::Clock::time_point(at);
        made->stamp.pts = pace.stamped ? unit.shown * kTicks : kNoTime;
        made->decoding_can_begin = made->file_can_begin = unit.shown % pace.keys == 0;
        EXPECT_TRUE(writer->picture(made));
        at += std::chrono::microseconds(nextArrival(random));
    }
    EXPECT_TRUE(writer->finish());
    return readRecording(path);
}

void expectTimes(const Recording& recording, const Pace& pace) {
    for (std::size_t i = 1; i < recording.times.size(); ++i) {
        const std::int64_t step = recording.times[i] - recording.times[i - 1];
        EXPECT_TRUE(pace.stamped ? step == kTicks : step > 0) << step << " at " << i << " of " << pace.seed;
    }
}

TEST(CapturePace, TimesRiseWhateverItIs) {
    for (const Codec codec : {Codec::kH264, Codec::kH265}) {
        const ReorderedFilm film = makeReordered(codec, false);
        for (unsigned seed = 1; seed <= 16; ++seed) {
            const Pace pace{codec, kKeys, seed % 4 == 0, seed};
            const Recording recording = writtenAtPace(film.units, pace);
            EXPECT_EQ(recording.trouble, "");
            EXPECT_EQ(runOf(numbersOf(film.film, recording.sums)), "0.." + std::to_string(kCount - 1));
            expectTimes(recording, pace);
        }
    }
}

// Each picture is a piece of its own, and none knows how long it lasts when it is written.
TEST(CapturePace, OfKeyPicturesAlone) {
    constexpr int kPictures = 40;
    FilmSettings settings;
    settings.width = 320;
    settings.height = 240;
    settings.key_interval = 1;
    settings.pictures = kPictures;
    const Film film = makeFilm(settings);
    std::vector<ReorderedFilm::Unit> units;
    for (int n = 0; n < kPictures; ++n) {
        units.push_back({film.unit(static_cast<std::size_t>(n)), n});
    }
    for (unsigned seed = 1; seed <= 8; ++seed) {
        const Pace pace{Codec::kH264, 1, seed % 2 == 0, seed};
        const Recording recording = writtenAtPace(units, pace);
        EXPECT_EQ(runOf(numbersOf(film, recording.sums)), "0.." + std::to_string(kPictures - 1));
        expectTimes(recording, pace);
    }
}

INSTANTIATE_TEST_SUITE_P(Tavrik, CaptureOrder,
                         testing::Values(Case{"H265Transport", Codec::kH265, false, By::kTransport},
                                         Case{"H265OpenGroups", Codec::kH265, true, By::kTransport},
                                         Case{"H265Rtsp", Codec::kH265, false, By::kRtsp},
                                         Case{"H265Raw", Codec::kH265, false, By::kRaw},
                                         Case{"H264Transport", Codec::kH264, false, By::kTransport}),
                         [](const testing::TestParamInfo<Case>& info) { return info.param.name; });

}  // namespace
}  // namespace tavrik::test
