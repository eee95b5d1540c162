// Parameter sets that stand in the session description alone.
#include <gtest/gtest.h>

extern "C" {
#include <libavutil/base64.h>
}

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "receiver.h"
#include "rtsp_server.h"
#include "tavrik/live_session.h"
#include "tavrik/network_source.h"
#include "tavrik/rtsp_source.h"

namespace tavrik::test {
namespace {

constexpr std::uint32_t kTicks = 3600;

int typeOf(Codec codec, const Bytes& nal) { return codec == Codec::kH264 ? nal[0] % 32 : nal[0] / 2 % 64; }

bool isSet(Codec codec, const Bytes& nal) {
    const int type = typeOf(codec, nal);
    return codec == Codec::kH264 ? type == 7 || type == 8 : type >= 32 && type <= 34;
}

bool isSlice(Codec codec, const Bytes& nal) {
    const int type = typeOf(codec, nal);
    return codec == Codec::kH264 ? type >= 1 && type <= 5 : type < 32;
}

bool isKey(Codec codec, const Bytes& nal) {
    const int type = typeOf(codec, nal);
    return codec == Codec::kH264 ? type == 5 : type >= 16 && type <= 21;
}

std::string base64(const Bytes& bytes) {
    std::vector<char> text(AV_BASE64_SIZE(bytes.size()));
    av_base64_encode(text.data(), static_cast<int>(text.size()), bytes.data(),
                     static_cast<int>(bytes.size()));
    return text.data();
}

// The sets of a key picture as the session description tells them.
std::string described(Codec codec, const Bytes& unit) {
    static constexpr const char* kNames[] = {"sprop-vps=", ";sprop-sps=", ";sprop-pps="};
    std::string out;
    for (const Bytes& nal : nalsOf(unit)) {
        if (isSet(codec, nal)) {
            out += codec == Codec::kH265 ? kNames[typeOf(codec, nal) - 32] : out.empty() ? "" : ",";
            out += base64(nal);
        }
    }
    return out;
}

Bytes withoutSets(Codec codec, const Bytes& unit) {
    std::vector<Bytes> nals = nalsOf(unit);
    nals.erase(
        std::remove_if(nals.begin(), nals.end(), [codec](const Bytes& nal) { return isSet(codec, nal); }),
        nals.end());
    return annexB(nals);
}

std::vector<Bytes> setsIn(Codec codec, const std::vector<Bytes>& nals) {
    std::vector<Bytes> sets;
    std::copy_if(nals.begin(), nals.end(), std::back_inserter(sets),
                 [codec](const Bytes& nal) { return isSet(codec, nal); });
    return sets;
}

Bytes contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

struct Case {
    Codec codec;
    bool by_ffmpeg;
};

std::unique_ptr<Source> sourceOf(const Case& how, const std::string& url) {
    const NetworkAddress address = *parseNetworkAddress(url);
    if (how.by_ffmpeg) {
        return std::make_unique<NetworkSource>(address, Options{});
    }
    return std::make_unique<RtspSource>(address, Options{});
}

class OutOfBand : public testing::TestWithParam<Case> {};

TEST_P(OutOfBand, AFileBeginsAtAKeyPictureWithTheSets) {
    const Codec codec = GetParam().codec;
    TestEncoder encoder(EncoderSettings{codec});
    std::vector<Bytes> units;
    for (int n = 0; n < 40; ++n) {
        units.push_back(encoder.encode(n));
    }
    RtspServer::Settings settings;
    settings.codec = codec;
    settings.parameter_sets = described(codec, units[0]);
    RtspServer server(settings);
    const std::string path = testing::TempDir() + "out_of_band.dat";
    std::remove(path.c_str());
    Receiver receiver;
    const auto session = std::make_shared<LiveSession>(LiveCallbacks{receiver.onFrame(), nullptr, nullptr},
                                                       DecoderKind::kSoftware, Options{});
    ASSERT_TRUE(session->start(sourceOf(GetParam(), server.url())));
    bool begun = false;
    EXPECT_TRUE(stream(
        [&](int n) {
            const Bytes& unit = units[static_cast<std::size_t>(n) % units.size()];
            server.sendPicture(withoutSets(codec, unit), static_cast<std::uint32_t>(n) * kTicks);
            if (!begun && receiver.numbers().size() >= 15) {
                begun = true;
                session->captureBegin(path, false);
            }
        },
        [&] { return receiver.numbers().size() >= 30; }));
    session->captureEnd();
    session->close();
    const std::vector<Bytes> nals = nalsOf(contentOf(path));
    std::remove(path.c_str());
    const std::vector<Bytes> told = setsIn(codec, nalsOf(units[0]));
    ASSERT_GT(nals.size(), told.size());
    EXPECT_EQ(setsIn(codec, {nals.begin(), nals.begin() + static_cast<std::ptrdiff_t>(told.size())}), told);
    const auto first =
        std::find_if(nals.begin(), nals.end(), [codec](const Bytes& nal) { return isSlice(codec, nal); });
    ASSERT_NE(first, nals.end());
    EXPECT_TRUE(isKey(codec, *first));
    // Begun within a group, not after the patience with a stream that has no key pictures.
    EXPECT_GE(
        std::count_if(nals.begin(), nals.end(), [codec](const Bytes& nal) { return isSlice(codec, nal); }),
        15);
}

INSTANTIATE_TEST_SUITE_P(Tavrik, OutOfBand,
                         testing::Values(Case{Codec::kH264, false}, Case{Codec::kH265, false},
                                         Case{Codec::kH264, true}, Case{Codec::kH265, true}));

}  // namespace
}  // namespace tavrik::test
