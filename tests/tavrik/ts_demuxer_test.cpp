#include "tavrik/ts_demuxer.h"

#include <gtest/gtest.h>

#include <random>

#include "ts_writer.h"

namespace tavrik::test {
namespace {

struct Collector : TsDemuxer::Handler {
    void tsVideoTimes(Codec, std::int64_t pts, std::int64_t dts) override { times.push_back({pts, dts}); }
    void tsVideoLost() override { ++losses; }
    void tsVideo(Codec c, const std::uint8_t* data, std::size_t size) override {
        codec = c;
        open.insert(open.end(), data, data + size);
        open_ended = false;
    }
    void tsPictureEnd() override {
        pictures.push_back(open);
        open.clear();
        open_ended = true;
    }
    void tsAudio(int type, std::int64_t pts, const std::uint8_t* data, std::size_t size) override {
        audio_type = type;
        audio_times.push_back(pts);
        sounds.emplace_back(data, data + size);
    }
    Codec codec = Codec::kUnknown;
    Bytes open;
    bool open_ended = false;
    std::vector<Bytes> pictures;
    std::vector<Bytes> sounds;
    int audio_type = 0;
    std::vector<std::pair<std::int64_t, std::int64_t>> times;  // pts, dts
    std::vector<std::int64_t> audio_times;
    int losses = 0;
};

Bytes payload(std::size_t size, std::uint8_t seed) {
    Bytes out(size);
    for (std::size_t i = 0; i < size; ++i) {
        out[i] = static_cast<std::uint8_t>(i * 7 + seed);
    }
    return out;
}

Bytes picture(std::size_t size, std::uint8_t seed) {
    Bytes out{0, 0, 0, 1};
    out.resize(std::min<std::size_t>(size, 4));
    const Bytes rest = payload(size - out.size(), seed);
    out.insert(out.end(), rest.begin(), rest.end());
    return out;
}

// Sizes around the packet's, so that stuffing of every kind occurs.
const std::vector<Bytes> kPictures{picture(500, 1), picture(170, 2), picture(169, 3), picture(6, 4),
                                   picture(354, 5)};
const std::vector<Bytes> kSounds{payload(300, 9), payload(40, 10)};

Bytes sample(bool with_length, std::size_t stuffing = 0) {
    TsWriter writer;
    writer.tables(0x1B, 0x0F);
    for (std::size_t i = 0; i < kPictures.size(); ++i) {
        writer.pes(TsWriter::kVideoPid, kPictures[i], with_length, stuffing);
        if (i < kSounds.size()) {
            writer.pes(TsWriter::kAudioPid, kSounds[i], true);
        }
        if (i == 2) {
            writer.tables(0x1B, 0x0F);
        }
    }
    return writer.take();
}

void expectAll(const Collector& got, bool with_length) {
    std::vector<Bytes> pictures = got.pictures;
    if (!with_length) {
        // The last one fills its packets exactly, so that nothing tells its end yet.
        pictures.push_back(got.open);
    }
    ASSERT_TRUE(pictures == kPictures);
    ASSERT_EQ(got.sounds, kSounds);
    ASSERT_EQ(got.codec, Codec::kH264);
    ASSERT_EQ(got.audio_type, 0x0F);
}

TEST(TsDemuxer, FindsPicturesAndSoundForEachCut) {
    for (const bool with_length : {true, false}) {
        const Bytes stream = sample(with_length);
        for (std::size_t cut = 0; cut <= stream.size(); ++cut) {
            Collector got;
            TsDemuxer demuxer(got);
            demuxer.push(stream.data(), cut);
            demuxer.push(stream.data() + cut, stream.size() - cut);
            expectAll(got, with_length);
        }
        Collector got;
        TsDemuxer demuxer(got);
        for (const std::uint8_t byte : stream) {
            demuxer.push(&byte, 1);
        }
        expectAll(got, with_length);
    }
}

TEST(TsDemuxer, KnowsThePicturesEndAtOnceFromItsLength) {
    TsWriter writer;
    writer.tables(0x24);
    writer.pes(TsWriter::kVideoPid, kPictures[0], true);
    Collector got;
    TsDemuxer demuxer(got);
    demuxer.push(writer.bytes().data(), writer.bytes().size());
    EXPECT_EQ(got.pictures, std::vector<Bytes>{kPictures[0]});
    EXPECT_EQ(got.codec, Codec::kH265);
}

TEST(TsDemuxer, TakesPesHeadersLongerThanAPacket) {
    const Bytes stream = sample(true, 240);
    Collector got;
    TsDemuxer demuxer(got);
    demuxer.push(stream.data(), stream.size());
    expectAll(got, true);
}

TEST(TsDemuxer, FindsItsStepAfterNoiseAtTheStartAndInBetween) {
    std::mt19937 random(3);
    const Bytes stream = sample(true);
    Bytes noise(777);
    for (auto& b : noise) {
        b = static_cast<std::uint8_t>(random());
    }
    noise[5] = noise[193] = 0x47;
    Collector got;
    TsDemuxer demuxer(got);
    demuxer.push(noise.data(), noise.size());
    demuxer.push(stream.data(), stream.size());
    demuxer.push(noise.data(), noise.size());
    demuxer.push(stream.data(), stream.size());
    demuxer.push(stream.data(), stream.size());
    EXPECT_GE(std::count(got.pictures.begin(), got.pictures.end(), kPictures[4]), 2);
}

TEST(TsDemuxer, DropsARepeatedPacketOnce) {
    const Bytes stream = sample(true);
    Bytes doubled;
    for (std::size_t at = 0; at < stream.size(); at += 188) {
        for (int copy = 0; copy < 2; ++copy) {
            doubled.insert(doubled.end(), stream.begin() + static_cast<long>(at),
                           stream.begin() + static_cast<long>(at + 188));
        }
    }
    Collector got;
    TsDemuxer demuxer(got);
    demuxer.push(doubled.data(), doubled.size());
    expectAll(got, true);
}

// A packet of the video with that counter; bytes of `head` below the rest stuff it up in its adaptation
// field.
Bytes videoPacket(int counter, const Bytes& payload) {
    Bytes out{0x47, TsWriter::kVideoPid >> 8, TsWriter::kVideoPid & 0xFF,
              static_cast<std::uint8_t>(0x10 | counter)};
    if (payload.size() < 184) {
        out[3] |= 0x20;
        out.push_back(static_cast<std::uint8_t>(183 - payload.size()));
        if (payload.size() < 183) {
            out.push_back(0);
        }
        out.resize(188 - payload.size(), 0xFF);
    }
    out.insert(out.end(), payload.begin(), payload.end());
    return out;
}

// The same packet once more is one that has the counter of the last and all of its payload.
TEST(TsDemuxer, TakesForARepeatedPacketNoneThatDiffers) {
    const Bytes alike(184, 0x55);
    Bytes other = alike;
    other[100] = 0x56;
    const Bytes half(alike.begin(), alike.begin() + 90);
    struct Case {
        Bytes first;
        int counter;
        Bytes second;
        std::size_t bytes;
        int losses;
    };
    const Case cases[] = {{alike, 1, alike, 368, 0},  // as it goes on in a picture of one colour
                          {alike, 0, alike, 184, 0},  // sent twice
                          {alike, 0, other, 368, 1},  // sixteen are missing
                          {half, 0, alike, 274, 1},   // the same, and the longer one begins like the shorter
                          {half, 0, half, 90, 0}};
    for (const Case& c : cases) {
        TsWriter writer;
        writer.tables(0x1B);
        writer.pes(TsWriter::kVideoPid, picture(5000, 1), false);
        Bytes stream = writer.take();
        // Up to the middle of a picture whose end nothing tells; then by hand.
        stream.resize(2 * 188 + 17 * 188);
        const int last = stream[stream.size() - 185] & 0x0F;
        const auto push = [](TsDemuxer& demuxer, const Bytes& bytes) {
            demuxer.push(bytes.data(), bytes.size());
        };
        Collector got;
        TsDemuxer demuxer(got);
        push(demuxer, stream);
        const auto total = [&got] {
            std::size_t bytes = got.open.size();
            for (const Bytes& ended : got.pictures) {
                bytes += ended.size();
            }
            return bytes;
        };
        const std::size_t before = total();
        push(demuxer, videoPacket((last + 1) & 0x0F, c.first));
        push(demuxer, videoPacket((last + 1 + c.counter) & 0x0F, c.second));
        // A packet is passed on once the head of the next one has shown that it was whole.
        push(demuxer, Bytes{0x47});
        EXPECT_EQ(got.losses, c.losses) << c.bytes;
        if (c.losses == 0) {
            EXPECT_EQ(total() - before, c.bytes);
        }
    }
}

TEST(TsDemuxer, CountersAreThoseOfTheVideosPayloadAlone) {
    TsWriter writer;
    writer.tables(0x1B, 0x0F);
    writer.pes(TsWriter::kVideoPid, kPictures[0], true);
    Collector got;
    TsDemuxer demuxer(got);
    demuxer.push(writer.bytes().data(), writer.bytes().size());
    ASSERT_EQ(got.codec, Codec::kH264) << "the tables are known";
    const Bytes payload(184, 0x55);
    Bytes sound = videoPacket(9, payload);
    sound[2] = TsWriter::kAudioPid & 0xFF;
    Bytes no_payload = videoPacket(3, payload);
    no_payload[3] = 0x23;
    Bytes damaged = videoPacket(7, payload);
    damaged[0] = 0x48;
    const auto counters = [&](const std::vector<Bytes>& packets) {
        Bytes bytes;
        for (const Bytes& packet : packets) {
            bytes.insert(bytes.end(), packet.begin(), packet.end());
        }
        const TsDemuxer::Counters found = demuxer.videoCounters(bytes.data(), bytes.size());
        return std::make_pair(found.first, found.last);
    };
    const Bytes five = videoPacket(5, payload), six = videoPacket(6, payload);
    EXPECT_EQ(counters({five, six}), std::make_pair(5, 6));
    for (const Bytes& foreign : {sound, no_payload, damaged}) {
        EXPECT_EQ(counters({foreign, five, foreign, six, foreign}), std::make_pair(5, 6)) << +foreign[3];
        EXPECT_EQ(counters({foreign}), std::make_pair(-1, -1)) << +foreign[3];
    }
    const Bytes cut(five.begin(), five.end() - 1);
    EXPECT_EQ(counters({cut}), std::make_pair(-1, -1));
}

// Counters may jump where the packet says so in its adaptation field, however short that is.
TEST(TsDemuxer, TakesAJumpOfCountersThatIsToldForNoLoss) {
    std::vector<Bytes> pictures;
    for (std::size_t size = 160; size < 176; ++size) {
        pictures.push_back(picture(size, 1));
    }
    TsWriter writer;
    writer.tables(0x1B);
    for (const Bytes& one : pictures) {
        writer.pes(TsWriter::kVideoPid, one, true);
    }
    const Bytes whole = writer.take();
    const auto losses = [&](std::size_t from, bool told) {
        Bytes stream = whole;
        if (told) {
            stream[from + 5] |= 0x80;
        }
        for (std::size_t at = from; at < stream.size(); at += 188) {
            stream[at + 3] =
                static_cast<std::uint8_t>((stream[at + 3] & 0xF0) | ((stream[at + 3] + 5) & 0x0F));
        }
        Collector got;
        TsDemuxer demuxer(got);
        demuxer.push(stream.data(), stream.size());
        EXPECT_EQ(got.pictures.size(), pictures.size()) << from;
        return got.losses;
    };
    int shortest = 0;
    for (std::size_t at = 3 * 188; at < whole.size(); at += 188) {
        const bool field = (whole[at + 3] & 0x20) != 0;
        EXPECT_EQ(losses(at, false), 1) << at;
        if (field && whole[at + 4] > 0) {
            EXPECT_EQ(losses(at, true), 0) << at;
            shortest += whole[at + 4] == 1 ? 1 : 0;
        }
    }
    EXPECT_GT(shortest, 0);
}

TEST(TsDemuxer, TellsTheTimesThatStandInTheHeader) {
    constexpr std::int64_t kWrap = std::int64_t{1} << 33;
    struct Case {
        std::int64_t pts, dts;
        std::size_t stuffing;
        std::pair<std::int64_t, std::int64_t> told;
    };
    const Case cases[] = {{90000, -1, 0, {90000, 90000}},
                          {93600, 90000, 0, {93600, 90000}},
                          {97200, -1, 12, {97200, 97200}},  // room for another time, and none in it
                          {-1, -1, 12, {kNoTime, kNoTime}},
                          {kWrap - 3600, kWrap - 7200, 0, {-3600, -7200}},  // nearer before than behind
                          {100800, 97200, 3, {100800, 97200}}};
    TsWriter writer;
    writer.tables(0x1B);
    std::vector<std::pair<std::int64_t, std::int64_t>> told;
    for (const Case& c : cases) {
        writer.times(c.pts, c.dts);
        writer.pes(TsWriter::kVideoPid, kPictures[0], true, c.stuffing);
        told.push_back(c.told);
    }
    Collector got;
    TsDemuxer demuxer(got);
    demuxer.push(writer.bytes().data(), writer.bytes().size());
    EXPECT_EQ(got.times, told);
    // A clock that runs over goes on.
    TsWriter over;
    over.tables(0x1B);
    told.clear();
    for (std::int64_t time = kWrap - 7200; time <= kWrap + 7200; time += 3600) {
        over.times(time % kWrap);
        over.pes(TsWriter::kVideoPid, kPictures[0], true);
        told.emplace_back(time, time);
    }
    Collector later;
    TsDemuxer another(later);
    another.push(over.bytes().data(), over.bytes().size());
    EXPECT_EQ(later.times, told);
}

// What begins like a picture's packet but has no header of one is left out whole, and nothing else is.
TEST(TsDemuxer, TakesNothingWithoutAPesHeader) {
    const std::vector<Bytes> pictures{picture(500, 1), picture(400, 2), picture(300, 3)};
    for (const auto& [byte, value] :
         {std::pair<std::size_t, int>{0, 1}, {1, 1}, {2, 0}, {2, 2}, {6, 0}, {6, 0xC0}}) {
        TsWriter writer;
        writer.tables(0x1B);
        writer.pes(TsWriter::kVideoPid, pictures[0], true);
        const std::size_t second = writer.bytes().size();
        writer.pes(TsWriter::kVideoPid, pictures[1], true);
        writer.pes(TsWriter::kVideoPid, pictures[2], true);
        Bytes stream = writer.take();
        const std::size_t header =
            second + 4 + ((stream[second + 3] & 0x20) != 0 ? 1u + stream[second + 4] : 0u);
        stream[header + byte] = static_cast<std::uint8_t>(value);
        Collector got;
        TsDemuxer demuxer(got);
        demuxer.push(stream.data(), stream.size());
        EXPECT_EQ(got.pictures, (std::vector<Bytes>{pictures[0], pictures[2]})) << byte << " is " << value;
    }
}

TEST(TsDemuxer, LosesNoMoreThanThePicturesOfACorruptedPacket) {
    const Bytes good = sample(true);
    for (std::size_t packet = 2; packet < good.size() / 188; ++packet) {
        Bytes stream = good;
        for (std::size_t i = 0; i < 188; ++i) {
            stream[packet * 188 + i] ^= 0xA5;
        }
        Collector got;
        TsDemuxer demuxer(got);
        for (const Bytes* part : std::initializer_list<const Bytes*>{&good, &stream, &good}) {
            demuxer.push(part->data(), part->size());
        }
        std::size_t found = 0;
        for (const Bytes& picture : kPictures) {
            found += std::count(got.pictures.begin(), got.pictures.end(), picture) == 3 ? 1u : 0u;
        }
        EXPECT_GE(found, kPictures.size() - 2) << packet;
    }
}

TEST(TsDemuxer, BelievesNoTableWithABadSum) {
    for (const std::size_t at : {188u + 5 + 12, 188u + 5 + 13, 5u + 10}) {
        Bytes stream = sample(true);
        // Both copies of the tables.
        const Bytes head(stream.begin(), stream.begin() + 376);
        for (std::size_t i = 0; i + 188 <= stream.size(); i += 188) {
            if (std::equal(head.begin() + static_cast<long>(at / 188 * 188 + 4),
                           head.begin() + static_cast<long>(at / 188 * 188 + 188),
                           stream.begin() + static_cast<long>(i + 4))) {
                stream[i + at % 188] ^= 0x01;
            }
        }
        Collector got;
        TsDemuxer demuxer(got);
        demuxer.push(stream.data(), stream.size());
        EXPECT_TRUE(got.pictures.empty()) << at;
    }
}

TEST(TsDemuxer, SaysHowLongItHasSeenNoPacket) {
    Collector got;
    TsDemuxer demuxer(got);
    const Bytes noise(100000, 0x11);
    demuxer.push(noise.data(), noise.size());
    EXPECT_GE(demuxer.bytesWithoutPacket(), 90000u);
    const Bytes stream = sample(true);
    demuxer.push(stream.data(), stream.size());
    EXPECT_EQ(demuxer.bytesWithoutPacket(), 0u);
}

TEST(TsDemuxer, SurvivesDamageOfEveryKind) {
    std::mt19937 random(11);
    const Bytes good = sample(true);
    std::size_t pictures = 0;
    for (int round = 0; round < 3000; ++round) {
        Bytes stream = good;
        for (int hits = static_cast<int>(random() % 12); hits > 0; --hits) {
            stream[random() % stream.size()] = static_cast<std::uint8_t>(random());
        }
        if (random() % 4 == 0) {
            stream.resize(random() % stream.size());
        }
        Collector got;
        TsDemuxer demuxer(got);
        for (std::size_t at = 0; at < stream.size();) {
            const std::size_t size = std::min<std::size_t>(stream.size() - at, random() % 400);
            demuxer.push(stream.data() + at, size);
            at += size;
        }
        pictures += got.pictures.size();
    }
    EXPECT_GT(pictures, 3000u);
}

TEST(TsDemuxer, SumIsThatOfTheStandard) {
    const Bytes digits{'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    EXPECT_EQ(crc32Mpeg(digits.data(), digits.size()), 0x0376E6E7u);
}

}  // namespace
}  // namespace tavrik::test
