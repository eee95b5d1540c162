// What proves the end of a picture in a transport stream, and what a loss does.
#include <gtest/gtest.h>

#include "real_streams.h"
#include "tavrik/byte_stream.h"
#include "ts_writer.h"

namespace tavrik::test {
namespace {

constexpr int kVideo = TsWriter::kVideoPid;

struct Watcher {
    std::vector<AccessUnitPtr> units;
    std::vector<Stamp> sound_stamps;
    std::vector<int> sound_types;
    ByteStream stream{[this](const AccessUnitPtr& unit) { units.push_back(unit); },
                      [this](int type, const Stamp& stamp, const std::uint8_t*, std::size_t) {
                          sound_types.push_back(type);
                          sound_stamps.push_back(stamp);
                      }};
    void feed(const Bytes& bytes, std::size_t piece = 1316, ByteStream::Clock::time_point now = {}) {
        for (std::size_t at = 0; at < bytes.size(); at += piece) {
            stream.push(bytes.data() + at, std::min(piece, bytes.size() - at), now);
        }
    }
    Bytes bytes(std::size_t i) const { return {units[i]->data(), units[i]->data() + units[i]->size()}; }
    int count(const std::vector<Bytes>& wanted) const {
        int found = 0;
        for (const Bytes& one : wanted) {
            for (std::size_t i = 0; i < units.size(); ++i) {
                found += bytes(i) == one ? 1 : 0;
            }
        }
        return found;
    }
};

// The picture n of so many slices, in all `size` bytes.
Bytes picture(std::uint32_t n, std::size_t size = 600, std::uint32_t slices = 1) {
    std::vector<Bytes> nals{kAud264};
    if (n == 0) {
        nals.push_back(sequence264());
        nals.push_back(picture264());
    }
    for (std::uint32_t s = 0; s < slices; ++s) {
        nals.push_back(realSlice264({s * 40, n % 256, n * 2 % 64, n == 0}, {}, false, 60));
    }
    const std::size_t so_far = joined(nals).size();
    nals.back().insert(nals.back().end(), size > so_far ? size - so_far : 0, 0x99);
    return joined(nals);
}

TEST(TsProof, StuffingInTheLastPacketEndsAPictureOfAnySizeButAnExactFit) {
    for (const bool clocks : {false, true}) {
        for (const bool with_length : {false, true}) {
            Watcher w;
            TsWriter writer;
            writer.clocks(clocks);
            writer.tables(0x1B);
            writer.pes(kVideo, picture(0), with_length);
            writer.null();
            w.feed(writer.take());
            std::size_t sent = 1;
            int exact = 0;
            for (std::size_t size = 200; size < 200 + 3 * 184; ++size, ++sent) {
                writer.pes(kVideo, picture(static_cast<std::uint32_t>(sent), size), with_length);
                const std::size_t fields = writer.bytes()[writer.bytes().size() - 188 + 3] & 0x20u;
                w.feed(writer.take());
                const bool fits = fields == 0 && !with_length;
                exact += fits ? 1 : 0;
                ASSERT_EQ(w.units.size(), sent + (fits ? 0 : 1)) << size;
            }
            EXPECT_EQ(exact, with_length ? 0 : 3);
        }
    }
}

TEST(TsProof, StuffingBehindAClockOrPrivateDataCounts) {
    Watcher w;
    TsWriter writer;
    writer.clocks(true);
    writer.tables(0x1B);
    writer.pes(kVideo, picture(0), true);
    for (std::uint32_t n = 1; n < 20; ++n) {
        writer.pes(kVideo, picture(n, 70 + n), false);
    }
    w.feed(writer.take());
    EXPECT_EQ(w.units.size(), 20u);
    Bytes pes{0, 0, 1, 0xE0, 0, 0, 0x80, 0, 0};
    const Bytes small = picture(20, 100);
    pes.insert(pes.end(), small.begin(), small.end());
    Bytes packet{0x47, 0x40 | (kVideo >> 8), kVideo & 0xFF, 0x30};
    packet[3] = static_cast<std::uint8_t>(packet[3] | ((picture(0).size() + 14 + 8 + 183) / 184 + 19) % 16);
    packet.insert(packet.end(), {static_cast<std::uint8_t>(183 - pes.size()), 0x02, 3, 1, 2, 3});
    packet.resize(188 - pes.size(), 0xFF);
    packet.insert(packet.end(), pes.begin(), pes.end());
    w.feed(packet);
    ASSERT_EQ(w.units.size(), 21u);
    EXPECT_EQ(w.bytes(20), small);
    EXPECT_FALSE(w.units[20]->damaged);
}

TEST(TsProof, AClockOrPrivateDataInTheFieldIsNoStuffing) {
    Watcher w;
    TsWriter writer;
    writer.tables(0x1B);
    writer.pes(kVideo, picture(0), true);
    Bytes stream = writer.take();
    // A PES packet of two packets whose first has private data and the second a clock, both of 0xFF.
    const Bytes second = picture(1, 300);
    const auto packet = [&](bool starts, int counter, const Bytes& field, const Bytes& payload) {
        Bytes p{0x47, static_cast<std::uint8_t>((starts ? 0x40 : 0) | (kVideo >> 8)), kVideo & 0xFF,
                static_cast<std::uint8_t>(0x30 | counter)};
        p.insert(p.end(), field.begin(), field.end());
        p.insert(p.end(), payload.begin(), payload.end());
        ASSERT_EQ(p.size(), 188u);
        stream.insert(stream.end(), p.begin(), p.end());
    };
    Bytes pes{0, 0, 1, 0xE0, 0, 0, 0x80, 0, 0};
    pes.insert(pes.end(), second.begin(), second.end());
    const std::size_t first_size = pes.size() - 176;
    Bytes field{static_cast<std::uint8_t>(183 - first_size), 0x02,
                static_cast<std::uint8_t>(183 - first_size - 2)};
    field.resize(184 - first_size, 0xFF);
    const auto counter = static_cast<int>((picture(0).size() + 14 + 183) / 184);
    packet(true, counter, field, {pes.begin(), pes.begin() + static_cast<long>(first_size)});
    w.feed(stream);
    EXPECT_EQ(w.units.size(), 1u);
    stream.clear();
    packet(false, counter + 1, {7, 0x10, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF},
           {pes.begin() + static_cast<long>(first_size), pes.end()});
    w.feed(stream);
    EXPECT_EQ(w.units.size(), 1u) << "neither proves an end";
    writer.pes(kVideo, picture(2), true);
    w.feed(writer.take());
    // The writer's counters know nothing of the two: what it sends looks as if something were missing before.
    w.stream.finish();
    EXPECT_EQ(w.count({second, picture(2)}), 2);
}

TEST(TsProof, ASenderThatStuffsInsidePicturesIsNotBelievedForLong) {
    Watcher w;
    TsWriter writer;
    writer.tables(0x1B);
    writer.pes(kVideo, picture(0), true);
    const auto stuffed = [&](std::uint32_t n) {
        Bytes pes{0, 0, 1, 0xE0, 0, 0, 0x80, 0, 0};
        const Bytes bytes = picture(n, 500);
        pes.insert(pes.end(), bytes.begin(), bytes.end());
        writer.stuffedPackets(kVideo, pes, true);
        return bytes;
    };
    std::vector<Bytes> sent;
    for (std::uint32_t n = 1; n < 200; ++n) {
        sent.push_back(stuffed(n));
    }
    w.feed(writer.take());
    EXPECT_EQ(w.count(sent), 199 - 2) << "the first one is cut, the last one waits";
    sent.clear();
    for (std::uint32_t n = 200; n < 14000; ++n) {
        writer.pes(kVideo, picture(n, 300), false);
    }
    w.feed(writer.take());
    EXPECT_TRUE(w.stream.pending());
    for (std::uint32_t n = 14000; n < 15500; ++n) {
        writer.pes(kVideo, picture(n, 300), false);
    }
    w.feed(writer.take());
    EXPECT_FALSE(w.stream.pending()) << "believed again after many that did not";
}

TEST(TsProof, ALongPictureInSeveralPesPacketsIsOne) {
    Watcher w;
    TsWriter writer;
    writer.tables(0x1B);
    std::vector<Bytes> sent;
    const std::size_t most = 65535 - 8;
    for (std::uint32_t n = 0; n < 12; ++n) {
        sent.push_back(picture(n, n % 3 == 0 ? 150000 : 600, 3));
        const Bytes& bytes = sent.back();
        for (std::size_t at = 0; at < bytes.size(); at += most) {
            writer.pes(kVideo,
                       {bytes.begin() + static_cast<long>(at),
                        bytes.begin() + static_cast<long>(std::min(bytes.size(), at + most))},
                       true);
        }
        w.feed(writer.take());
        ASSERT_EQ(w.units.size(), n + 1u) << "the last one's length tells";
    }
    EXPECT_EQ(w.count(sent), 12);
}

TEST(TsProof, TimesAndArrivalComeWithThePictureAndTheSound) {
    Watcher w;
    TsWriter writer;
    writer.tables(0x1B, 0x0F);
    const std::int64_t wrap = std::int64_t{1} << 33;
    const ByteStream::Clock::time_point now{std::chrono::seconds(5)};
    writer.times(wrap - 3600, wrap - 7200);
    writer.pes(kVideo, picture(0), false);
    writer.pes(TsWriter::kAudioPid, Bytes(50, 7), true);
    w.feed(writer.take(), 1316, now);
    writer.times(1800);
    writer.pes(kVideo, picture(1), false);
    w.feed(writer.take(), 188, now + std::chrono::seconds(1));
    writer.times(-1);
    Bytes two = picture(2);
    const Bytes more = picture(3);
    two.insert(two.end(), more.begin(), more.end());
    writer.pes(kVideo, two, false);
    w.feed(writer.take(), 188, now + std::chrono::seconds(2));
    ASSERT_EQ(w.units.size(), 4u);
    EXPECT_EQ(w.units[0]->stamp.pts, wrap - 3600);
    EXPECT_EQ(w.units[0]->stamp.dts, wrap - 7200);
    EXPECT_EQ(w.units[0]->stamp.arrival, now);
    EXPECT_EQ(w.units[1]->stamp.pts, wrap + 1800) << "runs on where 33 bits end";
    EXPECT_EQ(w.units[1]->stamp.dts, wrap + 1800);
    EXPECT_EQ(w.units[1]->stamp.arrival, now + std::chrono::seconds(1));
    EXPECT_EQ(w.units[2]->stamp.pts, kNoTime);
    EXPECT_EQ(w.units[3]->stamp.pts, kNoTime);
    ASSERT_EQ(w.sound_stamps.size(), 1u);
    EXPECT_EQ(w.sound_stamps[0].pts, wrap - 3600);
}

// The stream with one packet left out: no picture but its own is touched, and none is glued to another.
TEST(TsProof, ALostPacketDamagesItsPictureAlone) {
    for (const bool with_length : {true, false}) {
        TsWriter writer;
        writer.tables(0x1B);
        std::vector<Bytes> sent;
        for (std::uint32_t n = 0; n < 8; ++n) {
            sent.push_back(picture(n, 900, 1 + n % 3));
            writer.pes(kVideo, sent.back(), with_length);
        }
        const Bytes stream = writer.take();
        for (std::size_t lost = 2; lost < stream.size() / 188; ++lost) {
            for (const std::size_t run : {1u, 2u, 5u}) {
                Bytes rest(stream.begin(), stream.begin() + static_cast<long>(lost * 188));
                const std::size_t from = std::min(stream.size(), (lost + run) * 188);
                rest.insert(rest.end(), stream.begin() + static_cast<long>(from), stream.end());
                Watcher w;
                w.feed(rest);
                w.stream.finish();
                const int whole = w.count(sent);
                ASSERT_GE(whole, 8 - (run == 1 ? 1 : 2)) << lost << " " << run;
                for (const AccessUnitPtr& unit : w.units) {
                    ASSERT_LE(unit->size(), 1000u) << "two in one";
                }
            }
        }
    }
}

TEST(TsProof, ADamagedPictureIsShownAtOnceAsFarAsItGoes) {
    for (const bool with_length : {true, false}) {
        TsWriter writer;
        writer.tables(0x1B);
        writer.pes(kVideo, picture(0, 900), with_length);
        const std::size_t before = writer.bytes().size();
        writer.pes(kVideo, picture(1, 900, 2), with_length);
        Bytes stream = writer.take();
        stream.erase(stream.begin() + static_cast<long>(before + 2 * 188),
                     stream.begin() + static_cast<long>(before + 3 * 188));
        Watcher w;
        w.feed(stream);
        ASSERT_EQ(w.units.size(), 2u);
        EXPECT_FALSE(w.units[0]->damaged);
        EXPECT_TRUE(w.units[1]->damaged);
        const Bytes whole = picture(1, 900, 2), got = w.bytes(1);
        EXPECT_EQ(got.size(), 2 * 184u - 14) << "the bytes before the gap, none of those behind it";
        EXPECT_TRUE(std::equal(got.begin(), got.end(), whole.begin()));
    }
}

TEST(TsProof, AJumpOfTheCounterThatIsToldAndARepeatedPacketAreNoLoss) {
    TsWriter writer;
    writer.clocks(true);
    writer.tables(0x1B);
    writer.pes(kVideo, picture(0), false);
    const std::size_t before = writer.bytes().size();
    writer.pes(kVideo, picture(1), false);
    Bytes stream = writer.take();
    // In the picture's last packet, which has a field for its stuffing.
    const std::size_t last = stream.size() - 188;
    stream[last + 3] = static_cast<std::uint8_t>((stream[last + 3] & 0xF0) | ((stream[last + 3] + 5) & 15));
    stream[last + 5] |= 0x80;
    // The first packet again with another clock.
    Bytes again(stream.begin() + static_cast<long>(before), stream.begin() + static_cast<long>(before + 188));
    again[6] ^= 1;
    stream.insert(stream.begin() + static_cast<long>(before + 188), again.begin(), again.end());
    Watcher w;
    w.feed(stream);
    ASSERT_EQ(w.units.size(), 2u);
    EXPECT_EQ(w.bytes(1), picture(1));
    EXPECT_FALSE(w.units[1]->damaged);
}

TEST(TsProof, TheFirstProgrammeWithVideoIsTaken) {
    TsWriter writer;
    const int other = 0x200, third = 0x300;
    writer.programmes(
        {{{0x03, other, {}}}, {{0x1B, kVideo, {}}, {0x04, TsWriter::kAudioPid, {}}}, {{0x24, third, {}}}});
    writer.pes(kVideo, picture(0), true);
    writer.pes(third, joined({kVps265, kSps265, kPps265, slice265(true, true, 1)}), true);
    writer.pes(other, Bytes(20, 1), true);
    writer.pes(TsWriter::kAudioPid, Bytes(20, 1), true);
    Watcher w;
    w.feed(writer.take());
    ASSERT_EQ(w.units.size(), 1u);
    EXPECT_EQ(w.units[0]->codec, Codec::kH264);
    EXPECT_EQ(w.sound_types, std::vector<int>{0x04});
}

TEST(TsProof, SoundAsPrivateDataIsKnownByItsDescriptors) {
    const struct {
        Bytes descriptors;
        int type;
    } cases[] = {{{0x0A, 4, 'e', 'n', 'g', 0, 0x6A, 1, 0}, kSoundAc3},
                 {{0x05, 4, 'A', 'C', '-', '3'}, kSoundAc3},
                 {{0x7A, 1, 0}, kSoundEac3},
                 {{0x7B, 1, 0}, kSoundDts},
                 {{0x05, 4, 'D', 'T', 'S', '2'}, kSoundDts}};
    for (const auto& c : cases) {
        TsWriter writer;
        writer.programmes(
            {{{0x06, 0x200, {0x56, 1, 0}}, {0x06, TsWriter::kAudioPid, c.descriptors}, {0x1B, kVideo, {}}}});
        writer.pes(TsWriter::kAudioPid, Bytes(20, 1), true);
        writer.pes(kVideo, picture(0), true);
        Watcher w;
        w.feed(writer.take());
        EXPECT_EQ(w.sound_types, std::vector<int>{c.type});
    }
}

TEST(TsProof, MpegVideoIsPassedOnPictureByPicture) {
    for (const int type : {0x01, 0x02}) {
        TsWriter writer;
        writer.tables(type);
        Bytes key{0, 0, 1, 0xB3, 9, 9, 0, 0, 1, 0x00, 1}, other{0, 0, 1, 0x00, 2};
        key.resize(700, 5);
        other.resize(500, 6);
        writer.pes(kVideo, key, false);
        writer.pes(kVideo, other, false);
        writer.pes(kVideo, other, true);
        Watcher w;
        w.feed(writer.take());
        ASSERT_EQ(w.units.size(), 3u);
        EXPECT_EQ(w.units[0]->codec, Codec::kMpegVideo);
        EXPECT_EQ(w.bytes(0), key);
        EXPECT_TRUE(w.units[0]->decoding_can_begin);
        EXPECT_EQ(w.bytes(1), other);
        EXPECT_FALSE(w.units[1]->decoding_can_begin);
        EXPECT_NE(w.units[2]->stamp.pts, kNoTime);
    }
}

TEST(TsProof, NothingDependsOnPauses) {
    TsWriter writer;
    writer.tables(0x1B);
    writer.pes(kVideo, picture(0, 5000), false);
    const Bytes stream = writer.take();
    Watcher w;
    for (std::size_t at = 0; at < stream.size(); at += 188) {
        w.stream.push(stream.data() + at, 188);
        EXPECT_EQ(w.stream.idleMs(), -1);
        w.stream.idle();
        ASSERT_EQ(w.units.size(), at + 188 < stream.size() ? 0u : 1u);
    }
    EXPECT_EQ(w.bytes(0), picture(0, 5000));
}

}  // namespace
}  // namespace tavrik::test
