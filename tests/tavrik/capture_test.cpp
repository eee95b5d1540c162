// Recordings against the film that was sent: every picture decoded and known by its sum.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <ostream>

#include "camera.h"
#include "recording.h"
#include "tavrik/tavrik.h"

namespace tavrik::test {
namespace {

constexpr std::size_t kGroup = 10;
constexpr std::size_t kPictures = 80;

const Film& filmIn(Codec codec, bool delimiters = false) {
    const auto make = [](Codec c, bool d) {
        FilmSettings settings;
        settings.codec = c;
        settings.width = 320;
        settings.height = 240;
        settings.kbps = 1500;
        settings.slices = c == Codec::kH264 ? 2 : 1;
        settings.key_interval = static_cast<int>(kGroup);
        settings.delimiters = d;
        settings.pictures = kPictures;
        return makeFilm(settings);
    };
    static const Film h264 = make(Codec::kH264, false);
    static const Film delimited = make(Codec::kH264, true);
    static const Film h265 = make(Codec::kH265, false);
    return codec == Codec::kH265 ? h265 : delimiters ? delimited : h264;
}

struct Way {
    const char* name;
    Codec codec;
    Line line;
    bool raw;
    // The last picture shows its end by itself.
    bool ends_by_itself = true;
};

void PrintTo(const Way& way, std::ostream* out) { *out << way.name; }

WireForm formOf(const Way& way) {
    WireForm form;
    form.pes_lengths = true;
    form.muxer = way.raw ? WireForm::Muxer::kNone : WireForm::Muxer::kFfmpeg;
    return form;
}

class CaptureWays : public testing::TestWithParam<Way> {
protected:
    const Film& film() const { return filmIn(GetParam().codec, GetParam().raw); }
    std::size_t shownOf(std::size_t sent) const { return GetParam().ends_by_itself ? sent : sent - 1; }
    std::string run(const std::string& path) const {
        const Recording recording = readRecording(path);
        const std::string numbers = runOf(numbersOf(film(), recording.sums));
        return recording.trouble.empty() ? numbers : numbers + ", " + recording.trouble;
    }
    bool isDelimiter(const Bytes& nal) const {
        return GetParam().codec == Codec::kH265 ? (nal[0] >> 1 & 63) == 35 : (nal[0] & 31) == 9;
    }
    // Up to the last picture sent, which only silence ends in some forms.
    void expectFrom(std::size_t first, std::size_t sent, const std::string& path) const {
        const std::string begin = std::to_string(first) + "..";
        std::vector<std::string> good{begin + std::to_string(sent - 1)};
        if (!GetParam().ends_by_itself) {
            good.push_back(begin + std::to_string(sent - 2));
        }
        EXPECT_THAT(good, testing::Contains(run(path)));
    }
};

TEST_P(CaptureWays, Mp4BeginsWithTheGroupInMemoryAndHoldsEveryPicture) {
    const Folder folder("begin");
    Camera camera(film(), kPictures, GetParam().line, formOf(GetParam()));
    Receiver receiver;
    const int handle = camera.open(receiver);
    ASSERT_GT(handle, 0);
    camera.sendUpTo(25);
    ASSERT_TRUE(receiver.waitForFrames(shownOf(25)));
    const std::string path = folder / "clip.mp4";
    captureBegin(path.c_str(), handle, 1);
    camera.sendUpTo(60);
    ASSERT_TRUE(receiver.waitForFrames(shownOf(60)));
    feedClose(handle);
    expectFrom(20, 60, path);
    EXPECT_GE(probedPictures(path), static_cast<int>(shownOf(60)) - 20);
    EXPECT_EQ(probed(path, "v:0", "stream=codec_name,width,height"),
              GetParam().codec == Codec::kH265 ? "hevc,320,240" : "h264,320,240");
    const Recording recording = readRecording(path);
    EXPECT_TRUE(std::is_sorted(recording.times.begin(), recording.times.end()));
    EXPECT_EQ(std::adjacent_find(recording.times.begin(), recording.times.end()), recording.times.end());
    EXPECT_EQ(recording.times.front(), 0);
}

TEST_P(CaptureWays, ThreeRollOversLoseAndDoubleNothing) {
    const Folder folder("roll");
    Camera camera(film(), kPictures, GetParam().line, formOf(GetParam()));
    Receiver receiver;
    const int handle = camera.open(receiver);
    ASSERT_GT(handle, 0);
    camera.sendUpTo(15);
    ASSERT_TRUE(receiver.waitForFrames(shownOf(15)));
    const auto name = [&](int n) { return folder / ("clip" + std::to_string(n) + ".mp4"); };
    captureBegin(name(0).c_str(), handle, 1);
    // Amid a group, just before its end and just behind its beginning.
    const std::size_t rolls[] = {24, 39, 53};
    for (int n = 0; n < 3; ++n) {
        camera.sendUpTo(rolls[n]);
        ASSERT_TRUE(receiver.waitForFrames(shownOf(rolls[n])));
        captureEnd(handle);
        captureBegin(name(n + 1).c_str(), handle, 1);
    }
    camera.sendUpTo(kPictures);
    ASSERT_TRUE(receiver.waitForFrames(shownOf(kPictures)));
    feedClose(handle);
    EXPECT_EQ(run(name(0)), "10..29");
    EXPECT_EQ(run(name(1)), "30..39");
    EXPECT_EQ(run(name(2)), "40..59");
    expectFrom(60, kPictures, name(3));
    for (int n = 0; n < 4; ++n) {
        EXPECT_GE(probedPictures(name(n)), 10);
    }
}

TEST_P(CaptureWays, RawHoldsTheStreamFromItsParameterSetsOn) {
    const Folder folder("raw");
    Camera camera(film(), kPictures, GetParam().line, formOf(GetParam()));
    Receiver receiver;
    const int handle = camera.open(receiver);
    ASSERT_GT(handle, 0);
    camera.sendUpTo(15);
    ASSERT_TRUE(receiver.waitForFrames(shownOf(15)));
    const std::string path = folder / "stream.dat";
    captureBegin(path.c_str(), handle, 0);
    camera.sendUpTo(45);
    ASSERT_TRUE(receiver.waitForFrames(shownOf(45)));
    feedClose(handle);
    std::ifstream file(path, std::ios::binary);
    const Bytes bytes((std::istreambuf_iterator<char>(file)), {});
    std::vector<Bytes> sent;
    for (std::size_t n = 10; n < shownOf(45); ++n) {
        for (const Bytes& nal : nalsOf(film().unit(n))) {
            if (!isDelimiter(nal)) {
                sent.push_back(nal);
            }
        }
    }
    // The muxer of the transport stream adds delimiters.
    std::vector<Bytes> recorded;
    for (const Bytes& nal : nalsOf(bytes)) {
        if (!isDelimiter(nal)) {
            recorded.push_back(nal);
        }
    }
    ASSERT_GE(recorded.size(), sent.size());
    recorded.resize(sent.size());
    EXPECT_TRUE(recorded == sent);
    expectFrom(10, 45, path);
}

INSTANTIATE_TEST_SUITE_P(Tavrik, CaptureWays,
                         testing::Values(Way{"TsH264", Codec::kH264, Line::kUdp, false},
                                         Way{"TsH265", Codec::kH265, Line::kUdp, false},
                                         Way{"RtspH264", Codec::kH264, Line::kRtsp, false},
                                         Way{"RtspH265", Codec::kH265, Line::kRtsp, false},
                                         Way{"RawH264", Codec::kH264, Line::kUdp, true, false},
                                         Way{"RawH265", Codec::kH265, Line::kUdp, true, false}),
                         [](const testing::TestParamInfo<Way>& info) { return info.param.name; });

}  // namespace
}  // namespace tavrik::test
