// Transport streams in packets of each size, in RTP, joined anywhere, in pieces of any size.
#include <gtest/gtest.h>

#include <random>

#include "real_streams.h"
#include "tavrik/byte_stream.h"
#include "ts_writer.h"

namespace tavrik::test {
namespace {

constexpr int kVideo = TsWriter::kVideoPid;
using Form = ByteStream::Form;

struct Watcher {
    std::vector<Bytes> units;
    int sounds = 0;
    ByteStream stream{
        [this](const AccessUnitPtr& unit) { units.emplace_back(unit->data(), unit->data() + unit->size()); },
        [this](int, const Stamp&, const std::uint8_t*, std::size_t) { ++sounds; }};
    void push(const Bytes& piece) { stream.push(piece.data(), piece.size()); }
    void feed(const std::vector<Bytes>& pieces) {
        for (const Bytes& piece : pieces) {
            push(piece);
        }
    }
};

std::vector<Bytes> inPieces(const Bytes& bytes, std::size_t piece) {
    std::vector<Bytes> out;
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
        out.emplace_back(bytes.begin() + static_cast<long>(at),
                         bytes.begin() + static_cast<long>(std::min(bytes.size(), at + piece)));
    }
    return out;
}

std::vector<Bytes> inRandomPieces(const Bytes& bytes, std::mt19937& random, std::size_t most) {
    std::vector<Bytes> out;
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t to = std::min(bytes.size(), at + 1 + random() % most);
        out.emplace_back(bytes.begin() + static_cast<long>(at), bytes.begin() + static_cast<long>(to));
        at = to;
    }
    return out;
}

struct Sample {
    Bytes bytes;
    std::vector<Bytes> pictures;
};

// 40 pictures of 1 to 8 slices with sound between them and packets of nothing.
Sample sample(bool h264, bool with_length) {
    Sample out;
    TsWriter writer;
    std::mt19937 random(9);
    for (std::uint32_t n = 0; n < 40; ++n) {
        if (n % 10 == 0) {
            writer.tables(h264 ? 0x1B : 0x24, 0x0F);
        }
        std::vector<Bytes> nals{h264 ? kAud264 : kAud265};
        if (n % 10 == 0) {
            const std::vector<Bytes> sets = h264 ? std::vector<Bytes>{sequence264(), picture264()}
                                                 : std::vector<Bytes>{kVps265, sequence265(), picture265()};
            nals.insert(nals.end(), sets.begin(), sets.end());
        }
        for (std::uint32_t s = 0; s <= n % 8; ++s) {
            const std::size_t size = 60 + random() % 600;
            nals.push_back(h264 ? realSlice264({s * 40, n, n * 2 % 64, n % 10 == 0}, {}, false, size)
                                : realSlice265({s * 100, n, n % 10 == 0}, size));
        }
        out.pictures.push_back(joined(nals));
        writer.clocks(n % 2 == 0);
        writer.pes(kVideo, out.pictures.back(), with_length);
        writer.pes(TsWriter::kAudioPid, Bytes(100, 7), true);
        for (std::uint32_t i = n % 4; i > 0; --i) {
            writer.null();
        }
    }
    out.bytes = writer.take();
    return out;
}

// Every way in which a sample can travel.
std::vector<std::vector<Bytes>> journeys(const Bytes& s) {
    std::vector<std::vector<Bytes>> out;
    std::mt19937 random(21);
    const Bytes b192 = in192(s), b204 = in204(s);
    for (std::size_t packets = 1; packets <= 7; ++packets) {
        out.push_back(inPieces(s, packets * 188));
        out.push_back(inPieces(b192, packets * 192));
        out.push_back(inPieces(b204, packets * 204));
        out.push_back(inRtp(s, packets * 188));
        out.push_back(inRtp(s, packets * 188, true));
        out.push_back(inRtp(b192, packets * 192));
        out.push_back(inRtp(b204, packets * 204, true));
    }
    for (const std::size_t piece : {100u, 997u, 1400u, 1472u}) {
        out.push_back(inPieces(s, piece));
        out.push_back(inPieces(b192, piece));
        out.push_back(inPieces(b204, piece));
        out.push_back(inRtp(s, piece));
        out.push_back(inRtp(b192, piece, true));
    }
    out.push_back(inRandomPieces(s, random, 700));
    out.push_back(inRandomPieces(b192, random, 700));
    out.push_back(inRandomPieces(b204, random, 3000));
    return out;
}

TEST(TsForms, EachIsReadWholeInEachKindOfPiece) {
    for (const bool h264 : {true, false}) {
        for (const bool with_length : {true, false}) {
            const Sample s = sample(h264, with_length);
            int number = 0;
            for (const auto& pieces : journeys(s.bytes)) {
                Watcher w;
                w.feed(pieces);
                w.stream.finish();
                EXPECT_EQ(w.stream.form(), Form::kTransport) << number;
                ASSERT_TRUE(w.units == s.pictures) << number << ": " << w.units.size();
                EXPECT_EQ(w.sounds, 40) << number;
                ++number;
            }
        }
    }
}

TEST(TsForms, EachIsJoinedInTheMiddleOfAPacket) {
    const Sample s = sample(true, false);
    for (std::size_t from = 0; from < 400; from += 7) {
        const Bytes rest(s.bytes.begin() + static_cast<long>(from), s.bytes.end());
        const Bytes behind192 = in192(s.bytes), behind204 = in204(s.bytes);
        const std::vector<std::vector<Bytes>> all{
            inPieces(rest, 1316),
            inPieces({behind192.begin() + static_cast<long>(from), behind192.end()}, 1316),
            inPieces({behind204.begin() + static_cast<long>(from), behind204.end()}, 997), inRtp(rest, 1316),
            inRtp(rest, 500, true)};
        for (std::size_t i = 0; i < all.size(); ++i) {
            Watcher w;
            w.feed(all[i]);
            w.stream.finish();
            EXPECT_EQ(w.stream.form(), Form::kTransport);
            // The tables come again with the picture 10.
            ASSERT_GE(w.units.size(), 30u) << from << " " << i;
            const std::vector<Bytes> last(w.units.end() - 30, w.units.end());
            ASSERT_TRUE(std::equal(last.begin(), last.end(), s.pictures.end() - 30)) << from << " " << i;
        }
    }
}

std::vector<Bytes> nalsOf(const Bytes& annex_b) {
    std::vector<Bytes> out;
    NalSplitter splitter([&out](const Nal& nal) { out.emplace_back(nal.data, nal.data + nal.size); });
    splitter.push(annex_b.data(), annex_b.size());
    splitter.flush();
    return out;
}

// Each NAL of the unit is one of the pictures' or the beginning of one.
bool madeOfBeginnings(const Bytes& unit, const std::vector<Bytes>& pictures) {
    for (const Bytes& nal : nalsOf(unit)) {
        const bool found = std::any_of(pictures.begin(), pictures.end(), [&nal](const Bytes& picture) {
            return std::search(picture.begin(), picture.end(), nal.begin(), nal.end()) != picture.end();
        });
        if (!found) {
            return false;
        }
    }
    return true;
}

// A datagram that is missing where packets lie across datagrams leaves no packet made of two halves.
TEST(TsForms, ALostDatagramOutOfStepDamagesNoOtherPicture) {
    const Sample s = sample(true, true);
    for (const bool rtp : {false, true}) {
        const std::vector<Bytes> pieces = rtp ? inRtp(s.bytes, 500) : inPieces(s.bytes, 500);
        for (std::size_t lost = 8; lost < pieces.size(); lost += 3) {
            Watcher w;
            for (std::size_t i = 0; i < pieces.size(); ++i) {
                if (i != lost) {
                    w.push(pieces[i]);
                }
            }
            w.stream.finish();
            int whole = 0;
            for (const Bytes& picture : s.pictures) {
                whole += std::find(w.units.begin(), w.units.end(), picture) != w.units.end() ? 1 : 0;
            }
            ASSERT_GE(whole, 38) << lost;
            for (const Bytes& unit : w.units) {
                ASSERT_TRUE(madeOfBeginnings(unit, s.pictures)) << lost;
            }
        }
    }
}

TEST(TsForms, ADatagramThatComesTwiceChangesNothing) {
    for (const bool with_length : {true, false}) {
        const Sample whole = sample(true, with_length);
        std::vector<Bytes> pieces;
        for (const Bytes& piece : inPieces(whole.bytes, 7 * 188)) {
            pieces.push_back(piece);
            pieces.push_back(piece);
        }
        Watcher once;
        once.feed(inPieces(whole.bytes, 7 * 188));
        Watcher twice;
        twice.feed(pieces);
        EXPECT_GT(once.units.size(), 30u);
        EXPECT_TRUE(twice.units == once.units) << twice.units.size() << " and " << once.units.size();
        EXPECT_EQ(twice.sounds, once.sounds);
    }
}

TEST(TsForms, DatagramsThatWereExchangedChangeNothing) {
    for (const bool with_length : {true, false}) {
        const Sample whole = sample(true, with_length);
        const std::vector<Bytes> right = inPieces(whole.bytes, 7 * 188);
        for (std::size_t first = 1; first < 5; ++first) {
            std::vector<Bytes> pieces = right;
            for (std::size_t at = first; at + 1 < pieces.size(); at += 5) {
                std::swap(pieces[at], pieces[at + 1]);
            }
            Watcher straight;
            straight.feed(right);
            Watcher crossed;
            crossed.feed(pieces);
            EXPECT_TRUE(crossed.units == straight.units)
                << crossed.units.size() << " and " << straight.units.size();
        }
    }
}

// Seven packets lost, two that came, seven lost: the counters behind fit before the two.
TEST(TsForms, TwoLossesAroundAShortDatagramAreNoExchange) {
    const Sample whole = sample(false, false);
    std::vector<Bytes> packets = inPieces(whole.bytes, 188);
    // Every packet counts.
    const auto counts = [](const Bytes& p) {
        return (((p[1] & 0x1F) << 8) | p[2]) == TsWriter::kVideoPid && (p[3] & 0x10) != 0;
    };
    packets.erase(
        std::remove_if(packets.begin() + 10, packets.end(), [&](const Bytes& p) { return !counts(p); }),
        packets.end());
    for (std::size_t at = 20; at + 60 < packets.size(); at += 7) {
        std::vector<Bytes> came(packets.begin(), packets.begin() + static_cast<std::ptrdiff_t>(at));
        came.push_back(packets[at + 7]);
        came.back().insert(came.back().end(), packets[at + 8].begin(), packets[at + 8].end());
        for (std::size_t next = at + 16; next + 7 <= packets.size(); next += 7) {
            came.emplace_back();
            for (std::size_t i = next; i < next + 7; ++i) {
                came.back().insert(came.back().end(), packets[i].begin(), packets[i].end());
            }
        }
        Bytes bytes;
        for (const Bytes& piece : came) {
            bytes.insert(bytes.end(), piece.begin(), piece.end());
        }
        Watcher datagrams;
        datagrams.feed(came);
        // Pieces that are no datagrams are taken as they come.
        Watcher in_order;
        in_order.feed(inPieces(bytes, 100));
        ASSERT_TRUE(datagrams.units == in_order.units)
            << "at " << at << ": " << datagrams.units.size() << " and " << in_order.units.size();
    }
}

TEST(TsForms, ASenderThatBeginsOrCeasesToUseRtpIsFollowed) {
    const Sample s = sample(true, true);
    const auto plain = inPieces(s.bytes, 1316), rtp = inRtp(s.bytes, 1316),
               wide = inPieces(in192(s.bytes), 1344);
    for (const auto& before : {plain, rtp, wide}) {
        for (const auto& after : {plain, rtp, wide}) {
            Watcher w;
            w.feed(before);
            w.units.clear();
            w.feed(after);
            w.feed(after);
            int whole = 0;
            for (const Bytes& unit : w.units) {
                whole += std::find(s.pictures.begin(), s.pictures.end(), unit) != s.pictures.end() ? 1 : 0;
            }
            EXPECT_GE(whole, 60);
        }
    }
}

TEST(TsForms, NothingIsLostWhereRtpCeasesInsideTheStream) {
    const Sample s = sample(true, true);
    const auto plain = inPieces(s.bytes, 1316), rtp = inRtp(s.bytes, 1316);
    ASSERT_EQ(plain.size(), rtp.size());
    const auto change = static_cast<long>(plain.size() / 2);
    std::vector<Bytes> pieces(rtp.begin(), rtp.begin() + change);
    pieces.insert(pieces.end(), plain.begin() + change, plain.end());
    Watcher all, w;
    all.feed(plain);
    w.feed(pieces);
    ASSERT_GE(all.units.size(), s.pictures.size() - 1);
    EXPECT_TRUE(w.units == all.units) << w.units.size() << " of " << all.units.size();
}

TEST(TsForms, ARawStreamMayBecomeATransportStreamInAnyDress) {
    const Sample s = sample(true, true);
    Bytes raw;
    for (const Bytes& picture : s.pictures) {
        raw.insert(raw.end(), picture.begin(), picture.end());
    }
    for (const auto& after : journeys(s.bytes)) {
        // Small pieces that lie across packets show nothing, one by one.
        RtpPayload rtp;
        const bool whole =
            wholeTsPackets(after[0].data(), after[0].size()) ||
            (readRtp(after[0].data(), after[0].size(), rtp) && wholeTsPackets(rtp.data, rtp.size));
        if (!whole && after[0].size() < 900) {
            continue;
        }
        Watcher w;
        w.feed(inPieces(raw, 1400));
        ASSERT_EQ(w.stream.form(), Form::kRaw);
        for (int i = 0; i < 4; ++i) {
            w.feed(after);
        }
        EXPECT_EQ(w.stream.form(), Form::kTransport) << after[0].size();
    }
}

TEST(TsForms, PlainPacketsThatLookLikeRtpArePlain) {
    TsWriter writer;
    std::vector<Bytes> pictures;
    for (std::uint32_t n = 0; n < 20; ++n) {
        writer.tables(0x1B);
        Bytes slice = realSlice264({0, n, n * 2 % 64, n == 0});
        slice.resize(9000, 0xA1);
        pictures.push_back(n == 0 ? joined({sequence264(), picture264(), slice}) : joined({slice}));
        writer.pes(kVideo, pictures.back(), false);
    }
    const Bytes bytes = writer.take();
    for (const std::size_t piece : {500u, 1316u, 1400u}) {
        Watcher w;
        // The first piece ends within a packet, so that nearly each one after it begins like an RTP head.
        w.push({bytes.begin(), bytes.begin() + 1000});
        w.feed(inPieces({bytes.begin() + 1000, bytes.end()}, piece));
        EXPECT_TRUE(w.units == pictures) << piece;
        for (long from = 500; from < 500 + 7 * 188; from += 188) {
            Watcher late;
            late.feed(inPieces({bytes.begin() + from, bytes.end()}, piece));
            ASSERT_GE(late.units.size(), 19u) << piece << " " << from;
            EXPECT_TRUE(std::equal(late.units.end() - 19, late.units.end(), pictures.end() - 19)) << piece;
        }
    }
}

TEST(TsForms, ARawStreamIsTakenForNoTransportStream) {
    // Pictures full of sync bytes, at any distance.
    for (const std::uint8_t filling : {0x47, 0x99}) {
        Bytes raw;
        for (std::uint32_t n = 0; n < 40; ++n) {
            std::vector<Bytes> nals;
            if (n == 0) {
                nals = {sequence264(), picture264()};
            }
            Bytes slice = realSlice264({0, n, n * 2 % 64, n == 0});
            slice.resize(2000, filling);
            nals.push_back(slice);
            const Bytes picture = joined(nals);
            raw.insert(raw.end(), picture.begin(), picture.end());
        }
        for (const std::size_t piece : {188u, 192u, 204u, 1316u, 1400u, 65000u}) {
            Watcher w;
            w.feed(inPieces(raw, piece));
            w.stream.finish();
            EXPECT_EQ(w.stream.form(), Form::kRaw) << piece;
            EXPECT_EQ(w.units.size(), 40u) << piece;
        }
    }
}

TEST(TsForms, FormOfNeedsFourPacketHeads) {
    const Bytes s = sample(true, true).bytes;
    for (const Bytes& bytes : {s, in192(s), in204(s)}) {
        const std::size_t stride = bytes.size() / (s.size() / 188);
        const std::size_t first = stride == 192 ? 4 : 0;
        EXPECT_EQ(formOf(bytes.data(), first + 3 * stride), Form::kUnknown);
        EXPECT_EQ(formOf(bytes.data(), first + 3 * stride + 1), Form::kTransport);
        EXPECT_EQ(formOf(bytes.data() + 50, 5 * stride), Form::kTransport);
    }
    EXPECT_EQ(formOf(s.data(), 0), Form::kUnknown);
}

// What is no start code begins no parameter set, however much the bytes behind it look like one.
TEST(TsForms, FormOfNeedsAWholeStartCodeBeforeAParameterSet) {
    const auto form = [](const Bytes& before) {
        Bytes bytes(1000, 0xAA);
        const Bytes set = sequence264();
        std::copy(set.begin(), set.end(), std::copy(before.begin(), before.end(), bytes.begin() + 500));
        return formOf(bytes.data(), bytes.size());
    };
    EXPECT_EQ(form({0, 0, 1}), Form::kRaw);
    for (const Bytes& decoy :
         {Bytes{1, 0, 1}, {5, 0, 1}, {0, 1, 1}, {0, 5, 1}, {0, 0, 0}, {0, 0, 2}, {0, 0, 5}}) {
        EXPECT_EQ(form(decoy), Form::kUnknown) << +decoy[0] << " " << +decoy[1] << " " << +decoy[2];
    }
}

TEST(TsForms, MemoryOfAGiantPictureIsGivenBack) {
    const auto giant = [](std::uint32_t n, std::size_t size) {
        Bytes slice = realSlice264({0, n, n * 2 % 64, n == 0});
        slice.resize(size, 0x99);
        return joined({sequence264(), picture264(), slice});
    };
    for (const bool transport : {false, true}) {
        Watcher w;
        const auto send = [&](const Bytes& picture) {
            TsWriter writer;
            writer.tables(0x1B);
            writer.pes(kVideo, picture, false);
            for (const Bytes& piece : inPieces(transport ? writer.bytes() : picture, 1316)) {
                w.push(piece);
            }
        };
        for (std::uint32_t n = 0; n < 4; ++n) {
            send(giant(n, 7000000));
        }
        for (std::uint32_t n = 4; n < 8; ++n) {
            send(giant(n, 1000));
        }
        EXPECT_GE(w.units.size(), 7u);
        EXPECT_LT(w.stream.bytesHeld(), 2u << 20) << transport;
    }
    Watcher noise;
    for (int i = 0; i < 5000; ++i) {
        noise.push(Bytes(1316, 0x11));
    }
    EXPECT_LT(noise.stream.bytesHeld(), 64u << 10);
}

}  // namespace
}  // namespace tavrik::test
