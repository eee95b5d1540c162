// What arrives whole is shown whole, however the line rests inside pictures. More than a look:
//   SORVANE_PICTURES=1000 SORVANE_SEED=7 SORVANE_LOAD=3 SORVANE_RESULTS=FILE whole_pictures_test
//     --gtest_filter='*WholePictures*'
// With SORVANE_PICTURES every form is run with every kind of picture; SORVANE_LOAD busy threads run beside,
// and SORVANE_RESULTS gets a line a run. tests/tavrik/run_whole_pictures does that form by form.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <ostream>

#include "stalled_run.h"

namespace tavrik::test {
namespace {

constexpr std::size_t kPicturesInCi = 100;
constexpr std::size_t kLongestFilm = 250;
constexpr int kAttempts = 3;

struct Form {
    std::string name;
    Way way = Way::kUdp;
    WireForm wire;
    bool sound = false;
    bool delimiters = false;
    bool ends_by_itself = true;
    bool proof = true;      // the form proves where a picture ends
    std::size_t quick = 0;  // the kind of picture that is run always
};

struct Kind {
    std::string name;
    Codec codec;
    int slices;
};

const std::vector<Kind> kKinds{{"H264", Codec::kH264, 1},
                               {"H264Slices4", Codec::kH264, 4},
                               {"H264Slices8", Codec::kH264, 8},
                               {"H265", Codec::kH265, 1}};

std::vector<Form> forms() {
    using Muxer = WireForm::Muxer;
    const auto udp = [](std::string name, WireForm wire, bool ends_by_itself, std::size_t quick) {
        Form form{std::move(name), Way::kUdp, wire};
        form.ends_by_itself = ends_by_itself;
        form.quick = quick;
        return form;
    };
    WireForm lengths, plain, constant, nulls, gstreamer, rtp, with_times, with_checks, across, raw;
    lengths.pes_lengths = true;
    constant.constant_rate = 14000000;
    nulls.null_packets = true;
    gstreamer.muxer = Muxer::kGstreamer;
    gstreamer.across_pictures = true;
    rtp.rtp = true;
    with_times.packet_size = 192;
    with_checks.packet_size = 204;
    across.across_pictures = true;
    raw.muxer = Muxer::kNone;
    std::vector<Form> all{
        {"RtspTcp", Way::kRtspTcp, {}},
        {"RtspUdp", Way::kRtspUdp, {}},
        {"RtspTcpWithSound", Way::kRtspTcp, {}, true},
        udp("TsLengths", lengths, true, 0),
        udp("Ts", plain, false, 2),
        udp("TsConstantRate", constant, false, 1),
        udp("TsNullPackets", nulls, false, 3),
        udp("TsAcrossPictures", across, false, 1),
        udp("TsGstreamer", gstreamer, false, 1),
        udp("TsInRtp", rtp, false, 2),
        udp("Ts192", with_times, false, 1),
        udp("Ts204", with_checks, false, 1),
        udp("RawDelimiters", raw, false, 2),
        udp("RawBare", raw, false, 1),
    };
    all[0].quick = 2;
    all[1].quick = 1;
    all[2].quick = 3;
    all[12].delimiters = true;
    all[13].proof = false;
    return all;
}

struct Case {
    Form form;
    Kind kind;
};

void PrintTo(const Case& c, std::ostream* out) { *out << c.form.name << ' ' << c.kind.name; }

std::vector<Case> cases() {
    const bool all = std::getenv("SORVANE_PICTURES") != nullptr;
    std::vector<Case> out;
    for (const Form& form : forms()) {
        for (std::size_t kind = 0; kind < kKinds.size(); ++kind) {
            if (all || kind == form.quick) {
                out.push_back({form, kKinds[kind]});
            }
        }
    }
    return out;
}

FilmSettings filmOf(const Case& c, std::size_t pictures) {
    FilmSettings settings;
    settings.codec = c.kind.codec;
    settings.slices = c.kind.slices;
    settings.delimiters = c.form.delimiters;
    if (c.kind.codec == Codec::kH265) {
        settings.width = 640;
        settings.height = 512;
        settings.kbps = 5000;
    }
    const auto group = static_cast<std::size_t>(settings.key_interval);
    settings.pictures = std::min(kLongestFilm, (pictures + kTailPictures + group - 1) / group * group);
    return settings;
}

void record(const std::string& line) {
    std::printf("[   SHOWN  ] %s\n", line.c_str());
    if (const char* path = std::getenv("SORVANE_RESULTS")) {
        std::ofstream(path, std::ios::app) << line << '\n';
    }
}

class WholePictures : public testing::TestWithParam<Case> {};

TEST_P(WholePictures, AreShownThroughStalls) {
    const Case& c = GetParam();
    RunSettings settings;
    settings.way = c.form.way;
    settings.form = c.form.wire;
    settings.sound = c.form.sound;
    settings.ends_by_itself = c.form.ends_by_itself;
    settings.pictures = fromEnvironment("SORVANE_PICTURES", kPicturesInCi);
    settings.seed = fromEnvironment("SORVANE_SEED", 1);
    settings.stalls = fromEnvironment("SORVANE_STALLS", 1) != 0;
    settings.busy_threads = static_cast<int>(fromEnvironment("SORVANE_LOAD", 0));
    const Film film = makeFilm(filmOf(c, settings.pictures));
    RunResult result;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        result = runStalled(film, settings);
        record("form=" + c.form.name + " kind=" + c.kind.name +
               " pictures=" + std::to_string(settings.pictures) + " seed=" + std::to_string(settings.seed) +
               " load=" + std::to_string(settings.busy_threads) + " " + result.text());
        if (result.valid()) {
            break;
        }
    }
    ASSERT_TRUE(result.valid()) << "the system dropped datagrams in every attempt: no claim";
    if (settings.stalls) {
        ASSERT_GT(result.stalls, settings.pictures / 20);
    }
    EXPECT_EQ(result.comparison.repeated, 0u);
    if (c.form.proof) {
        EXPECT_EQ(result.comparison.damaged, 0u);
        EXPECT_EQ(result.comparison.missing, 0u);
    } else {
        EXPECT_LE(result.comparison.groups_hurt, 1u) << "one wrong guess, and no more guessing";
    }
}

std::string nameOf(const testing::TestParamInfo<Case>& info) {
    return info.param.form.name + "_" + info.param.kind.name;
}

INSTANTIATE_TEST_SUITE_P(Tavrik, WholePictures, testing::ValuesIn(cases()), nameOf);

// The comparison itself, on a small film.
Film smallFilm() {
    FilmSettings settings;
    settings.width = 320;
    settings.height = 240;
    settings.kbps = 1000;
    settings.key_interval = 10;
    settings.pictures = 30;
    return makeFilm(settings);
}

TEST(Comparing, TellsDamagedFromMissingAndRepeated) {
    const Film film = smallFilm();
    std::vector<std::uint32_t> shown(film.sums);
    Comparison all = compare(film, shown, 30, 30);
    EXPECT_EQ(all.text(), "shown=30 damaged=0 missing=0 repeated=0 groups_hurt=0");
    EXPECT_EQ(all.whole_groups, (std::vector<std::size_t>{0, 1, 2}));
    shown[12] ^= 1;                  // damaged, in the second group
    shown.erase(shown.begin() + 5);  // missing, in the first
    shown.push_back(shown[3]);       // behind
    Comparison some = compare(film, shown, 30, 30);
    EXPECT_EQ(some.text(), "shown=30 damaged=1 missing=2 repeated=1 groups_hurt=2");
    EXPECT_EQ(some.whole_groups, (std::vector<std::size_t>{2}));
    // Twice through the film, with its last picture missing the first time.
    shown = film.sums;
    shown.pop_back();
    shown.insert(shown.end(), film.sums.begin(), film.sums.end());
    EXPECT_EQ(compare(film, shown, 60, 60).text(), "shown=59 damaged=0 missing=1 repeated=0 groups_hurt=1");
}

// Pictures that are cut short before they are sent have to be found: else every run above claims nothing.
TEST(Comparing, SeesPicturesCutShort) {
    Film film = smallFilm();
    std::size_t cut = 0;
    for (std::size_t n = 0; n < film.units.size(); ++n) {
        if (n % 10 != 0) {
            film.units[n].resize(film.units[n].size() * 6 / 10);
            ++cut;
        }
    }
    RunSettings settings;
    settings.way = Way::kRtspTcp;
    settings.stalls = false;
    settings.pictures = film.units.size();
    const RunResult result = runStalled(film, settings);
    // The decoder's concealment reaches into the next key picture at times.
    EXPECT_GE(result.comparison.missing, cut) << result.text();
    EXPECT_GE(result.comparison.damaged, cut / 2) << result.text();
    EXPECT_EQ(result.comparison.groups_hurt, 3u);
}

}  // namespace
}  // namespace tavrik::test
