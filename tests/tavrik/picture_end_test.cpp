// What ends a picture, and what does not.
#include <gtest/gtest.h>

#include <random>

#include "real_streams.h"
#include "tavrik/picture_stream.h"

namespace tavrik::test {
namespace {

using std::chrono::milliseconds;
using Ends = PictureStream::Ends;

struct Listener {
    std::vector<AccessUnitPtr> units;
    PictureStream stream;
    explicit Listener(Codec codec, Ends ends = Ends::kProven)
        : stream(
              codec, [this](const AccessUnitPtr& unit) { units.push_back(unit); }, ends) {}
    void push(const Bytes& bytes) { stream.push(bytes.data(), bytes.size()); }
    void pushNals(const std::vector<Bytes>& nals) { push(joined(nals)); }
    Bytes bytes(std::size_t i) const { return {units[i]->data(), units[i]->data() + units[i]->size()}; }
    std::vector<Bytes> all() const {
        std::vector<Bytes> out;
        for (std::size_t i = 0; i < units.size(); ++i) {
            out.push_back(bytes(i));
        }
        return out;
    }
};

Bytes part(const Bytes& bytes, std::size_t from, std::size_t to) {
    return {bytes.begin() + static_cast<long>(from), bytes.begin() + static_cast<long>(to)};
}

using Picture = std::vector<Bytes>;

// Pictures of 1 to 8 slices whose heads can be read, with what senders put between.
std::vector<Picture> realPictures(Codec codec, bool sets_everywhere) {
    std::vector<Picture> out;
    const bool h264 = codec == Codec::kH264;
    const Picture sets =
        h264 ? Picture{sequence264(), picture264()} : Picture{kVps265, sequence265(), picture265()};
    for (std::uint32_t n = 0; n < 16; ++n) {
        Picture picture = n == 0 ? sets : Picture{};
        for (std::uint32_t slice = 0; slice <= n % 8; ++slice) {
            if (sets_everywhere && slice > 0) {
                picture.insert(picture.end(), sets.begin(), sets.end());
                picture.push_back(h264 ? kSei264 : kSei265);
            }
            picture.push_back(h264 ? realSlice264({slice * 40, n, n * 2 % 64, n == 0})
                                   : realSlice265({slice * 100, n, n == 0, slice % 2 == 1}));
        }
        picture.push_back(h264 ? Bytes{0x0C, 0xFF, 0x80} : kSuffix265);
        out.push_back(picture);
    }
    return out;
}

std::vector<Bytes> wholeOf(const std::vector<Picture>& pictures) {
    std::vector<Bytes> out;
    for (const Picture& picture : pictures) {
        out.push_back(joined(picture));
    }
    return out;
}

TEST(PictureEnd, ComesNotBetweenTheSlicesOfAPictureWhateverStandsThere) {
    std::mt19937 random(3);
    for (const Codec codec : {Codec::kH264, Codec::kH265}) {
        for (const bool sets : {false, true}) {
            const std::vector<Bytes> expected = wholeOf(realPictures(codec, sets));
            Bytes bytes;
            for (const Bytes& picture : expected) {
                bytes.insert(bytes.end(), picture.begin(), picture.end());
            }
            for (int round = 0; round < 300; ++round) {
                Listener l(codec);
                for (std::size_t at = 0; at < bytes.size();) {
                    const std::size_t to = std::min(bytes.size(), at + 1 + random() % 200);
                    l.push(part(bytes, at, to));
                    at = to;
                }
                l.stream.finish();
                ASSERT_TRUE(l.all() == expected) << round;
            }
        }
    }
}

TEST(PictureEnd, ComesWithoutReadableHeadsToo) {
    for (const bool h264 : {true, false}) {
        Listener l(h264 ? Codec::kH264 : Codec::kH265);
        const auto slice = [&](bool first, std::uint8_t mark) {
            return h264 ? slice264(first, false, mark) : slice265(first, false, mark);
        };
        const Bytes set = h264 ? kPps264 : kPps265;
        const std::vector<Picture> pictures{{slice(true, 1), set, slice(false, 1)},
                                            {set, slice(true, 2), set, set, slice(false, 2), slice(false, 2)},
                                            {slice(true, 3)}};
        for (const Picture& picture : pictures) {
            l.pushNals(picture);
        }
        l.stream.finish();
        EXPECT_TRUE(l.all() == wholeOf(pictures));
    }
}

TEST(PictureEnd, IsSeenInTheFirstBytesOfTheNextPicture) {
    for (const bool h264 : {true, false}) {
        const Codec codec = h264 ? Codec::kH264 : Codec::kH265;
        const Picture first = realPictures(codec, false)[0];
        const Bytes next = h264 ? realSlice264({0, 1, 2}) : realSlice265({0, 1});
        Listener by_slice(codec);
        by_slice.pushNals(first);
        by_slice.push(part(joined({next}), 0, 7));
        ASSERT_EQ(by_slice.units.size(), 1u) << "the first slice's head";
        EXPECT_EQ(by_slice.bytes(0), joined(first));
        Listener by_delimiter(codec);
        by_delimiter.pushNals(first);
        by_delimiter.push(part(joined({h264 ? kAud264 : kAud265}), 0, h264 ? 5 : 6));
        EXPECT_EQ(by_delimiter.units.size(), 1u) << "the delimiter's type";
        Listener by_set(codec);
        by_set.pushNals(first);
        by_set.pushNals({h264 ? kPps264 : kPps265, h264 ? kSei264 : kSei265});
        EXPECT_TRUE(by_set.units.empty()) << "sets and messages may stand inside";
        by_set.pushNals({next});
        ASSERT_EQ(by_set.units.size(), 1u);
        by_set.stream.finish();
        EXPECT_EQ(by_set.bytes(1), joined({h264 ? kPps264 : kPps265, h264 ? kSei264 : kSei265, next}))
            << "and belong to the picture that follows";
    }
}

TEST(PictureEnd, IsFoundWhereTheNextPictureHasLostItsFirstSlice) {
    Listener h264(Codec::kH264);
    h264.pushNals({sequence264(), picture264(), realSlice264({0, 1, 2}), realSlice264({40, 1, 2})});
    h264.pushNals({realSlice264({40, 2, 4}), realSlice264({80, 2, 4})});
    h264.stream.finish();
    ASSERT_EQ(h264.units.size(), 2u);
    EXPECT_EQ(h264.bytes(1), joined({realSlice264({40, 2, 4}), realSlice264({80, 2, 4})}));
    Listener h265(Codec::kH265);
    h265.pushNals({kVps265, sequence265(), picture265(), realSlice265({0, 1}), realSlice265({400, 1})});
    h265.pushNals({realSlice265({200, 2}), realSlice265({400, 2, false, true})});
    h265.stream.finish();
    ASSERT_EQ(h265.units.size(), 2u);
    EXPECT_EQ(h265.bytes(1), joined({realSlice265({200, 2}), realSlice265({400, 2, false, true})}));
}

// A slice that repeats nothing of its picture's mark says what the picture is only together with its
// neighbours.
TEST(PictureEnd, IsFoundAroundSlicesThatTellNoMark) {
    const Slice265 first{0, 1}, last{800, 1}, dependent{200, 2, false, true}, behind{400, 2}, next{600, 3};
    const auto split = [](const std::vector<std::vector<Slice265>>& pictures) {
        Listener l(Codec::kH265);
        l.pushNals({kVps265, sequence265(), picture265()});
        std::vector<Bytes> expected;
        for (const auto& picture : pictures) {
            Picture nals;
            for (const Slice265& slice : picture) {
                nals.push_back(realSlice265(slice));
            }
            l.pushNals(nals);
            expected.push_back(joined(nals));
        }
        l.stream.finish();
        std::vector<Bytes> found = l.all();
        const Bytes sets = joined({kVps265, sequence265(), picture265()});
        if (!found.empty()) {
            found[0].erase(found[0].begin(), found[0].begin() + static_cast<long>(sets.size()));
        }
        return found == expected;
    };
    EXPECT_TRUE(split({{first, last}, {dependent, behind}})) << "it begins what was lost before it";
    EXPECT_TRUE(split({{first, last}, {dependent, behind}, {next}})) << "the one behind it has the mark";
    EXPECT_TRUE(split({{first, {200, 1, false, true}}, {behind}})) << "it keeps the mark before it";
}

TEST(PictureEnd, AllowsSlicesInAnyOrderWhereTheProfileDoes) {
    const Sequence264 baseline{66};
    const auto slice = [&](std::uint32_t address, std::uint32_t frame) {
        return realSlice264({address, frame, frame * 2}, baseline);
    };
    Listener l(Codec::kH264);
    const std::vector<Picture> pictures{
        {sequence264(baseline), picture264(), slice(80, 1), slice(40, 1), slice(0, 1), slice(20, 1)},
        {slice(40, 2), slice(0, 2)},
        {slice(0, 3)},
        {slice(0, 4)}};
    for (const Picture& picture : pictures) {
        l.pushNals(picture);
    }
    l.stream.finish();
    EXPECT_TRUE(l.all() == wholeOf(pictures));
}

TEST(PictureEnd, ByTheContainerComesAtOnceAndCutsWhatItsSlicesWouldNot) {
    Listener l(Codec::kH264);
    l.pushNals({sequence264(), picture264(), realSlice264({0, 1, 2})});
    l.stream.endOfPicture();
    EXPECT_EQ(l.units.size(), 1u);
    EXPECT_FALSE(l.stream.pending());
    l.stream.endOfPicture();
    EXPECT_EQ(l.units.size(), 1u);
    // A picture of which the container has lost the first slice.
    l.pushNals({realSlice264({40, 2, 4})});
    l.stream.endOfPicture();
    EXPECT_EQ(l.units.size(), 2u);
}

// `container`: how many slices of four it takes for a picture. Returns what was shown whole.
int wholeAfter(Listener& l, int pictures, std::size_t slices_a_packet, std::uint32_t from = 0) {
    const std::size_t before = l.units.size();
    std::vector<Bytes> expected;
    l.pushNals({sequence264(), picture264()});
    for (std::uint32_t n = from; n < from + static_cast<std::uint32_t>(pictures); ++n) {
        Picture picture;
        for (std::uint32_t slice = 0; slice < 4; ++slice) {
            picture.push_back(realSlice264({slice * 40, n % 256, n * 2 % 64}));
            l.pushNals({picture.back()});
            if (picture.size() % slices_a_packet == 0) {
                l.stream.endOfPicture();
            }
        }
        expected.push_back(joined(picture));
    }
    int whole = 0;
    for (std::size_t i = before; i < l.units.size(); ++i) {
        const Bytes got = l.bytes(i);
        whole += std::find(expected.begin(), expected.end(), got) != expected.end() ? 1 : 0;
    }
    return whole;
}

TEST(PictureEnd, OfAContainerThatIsOftenWrongIsNotBelieved) {
    Listener l(Codec::kH264);
    EXPECT_EQ(wholeAfter(l, 100, 1), 98) << "one picture to find out, and the last one waits for its end";
    EXPECT_TRUE(l.stream.pending());
    EXPECT_EQ(wholeAfter(l, 2000, 1, 100), 2000 - 1) << "it stays so as long as it is wrong";
}

TEST(PictureEnd, OfAContainerIsBelievedAgainAfterManyGoodPictures) {
    Listener l(Codec::kH264);
    wholeAfter(l, 100, 2);
    wholeAfter(l, 400, 4, 100);
    EXPECT_TRUE(l.stream.pending()) << "not yet";
    wholeAfter(l, 400, 4, 500);
    EXPECT_FALSE(l.stream.pending());
}

TEST(PictureEnd, InsideASliceIsFoundOutToo) {
    Listener l(Codec::kH264);
    l.pushNals({sequence264(), picture264()});
    for (std::uint32_t n = 0; n < 1300; ++n) {
        const Bytes picture = joined({realSlice264({0, n % 256, n * 2 % 64}, {}, false, 300)});
        l.push(part(picture, 0, 150));
        l.stream.endOfPicture();
        l.push(part(picture, 150, picture.size()));
        l.stream.endOfPicture();
    }
    std::size_t whole = 0;
    for (const Bytes& unit : l.all()) {
        whole += unit.size() == 304 ? 1 : 0;
    }
    EXPECT_EQ(whole, 1300u - 3 - 1) << "three to find out, the last one waits";
}

TEST(PictureEnd, IsNotGuessedFromSilenceWhereItCanBeProven) {
    Listener l(Codec::kH264);
    EXPECT_EQ(l.stream.idleMs(), -1);
    l.pushNals(realPictures(Codec::kH264, false)[0]);
    l.stream.idle();
    EXPECT_TRUE(l.units.empty());
    EXPECT_TRUE(l.stream.pending());
}

// Raw bytes with arrivals: pictures of two slices in three pushes, the line's pause inside them.
struct RawLine {
    Listener l{Codec::kH264, Ends::kGuessed};
    SilenceGuess::Time now{};
    std::uint32_t n = 0;
    milliseconds pause{1};

    void at(SilenceGuess::Duration after, const Bytes& bytes) {
        now += after;
        l.stream.stamp({kNoTime, kNoTime, now});
        l.push(bytes);
    }
    Bytes picture() {
        ++n;
        Picture nals = n % 50 == 1 ? Picture{sequence264(), picture264()} : Picture{};
        nals.push_back(realSlice264({0, n % 256, n * 2 % 64}));
        nals.push_back(realSlice264({40, n % 256, n * 2 % 64}));
        return joined(nals);
    }
    void send(const Bytes& bytes) {
        at(milliseconds(40) - 2 * pause, part(bytes, 0, 30));
        at(pause, part(bytes, 30, 70));
        at(pause, part(bytes, 70, bytes.size()));
    }
};

TEST(PictureEnd, OfRawBytesIsGuessedOnceThePausesAreKnown) {
    RawLine line;
    for (int i = 0; i < SilenceGuess::kPictures + 1; ++i) {
        EXPECT_EQ(line.l.stream.idleMs(), -1);
        line.send(line.picture());
        EXPECT_EQ(line.l.units.size(), static_cast<std::size_t>(i)) << "with the next one";
        line.l.stream.idle();
    }
    line.send(line.picture());
    EXPECT_EQ(line.l.stream.idleMs(), 3);
    const std::size_t before = line.l.units.size();
    line.l.stream.idle();
    EXPECT_EQ(line.l.units.size(), before + 1);
    for (int i = 0; i < 300; ++i) {
        line.send(line.picture());
        line.l.stream.idle();
        EXPECT_FALSE(line.l.stream.pending());
    }
    EXPECT_EQ(line.l.units.size(), before + 301);
    EXPECT_EQ(line.l.stream.idleMs(), 3) << "no cut was wrong";
}

// A picture that a silence has cut at `cut`, after many good ones; the silence between `cut` and the rest.
void cutOnce(std::size_t cut) {
    RawLine line;
    for (int i = 0; i < SilenceGuess::kPictures + 2; ++i) {
        line.send(line.picture());
        line.l.stream.idle();
    }
    ASSERT_EQ(line.l.stream.idleMs(), 3);
    const Bytes picture = line.picture();
    line.at(milliseconds(40), part(picture, 0, cut));
    line.l.stream.idle();
    testing::internal::CaptureStderr();
    line.at(milliseconds(4), part(picture, cut, picture.size()));
    line.send(line.picture());
    EXPECT_NE(testing::internal::GetCapturedStderr(), "") << cut;
    EXPECT_EQ(line.l.stream.idleMs(), -1) << cut;
    const SilenceGuess::Time begun = line.now;
    while (line.now - begun < SilenceGuess::kRest - milliseconds(200)) {
        line.send(line.picture());
        ASSERT_EQ(line.l.stream.idleMs(), -1);
    }
    for (int i = 0; i < 20; ++i) {
        line.send(line.picture());
    }
    EXPECT_EQ(line.l.stream.idleMs(), 3) << "the pause is long forgotten";
}

TEST(PictureEnd, GuessedWronglyOnceIsNotGuessedForMinutes) {
    cutOnce(30);      // the first slice goes on
    cutOnce(60 + 4);  // the second slice follows
    cutOnce(100);     // the second slice goes on
}

TEST(PictureEnd, GuessedInFrontOfAHalfMessageHarmsNothing) {
    RawLine line;
    for (int i = 0; i < SilenceGuess::kPictures + 2; ++i) {
        line.send(line.picture());
    }
    const std::size_t before = line.l.units.size();
    Bytes bytes = line.picture();
    const Bytes message = joined({kSei264, realSlice264({0, (line.n + 1) % 256, (line.n + 1) * 2 % 64})});
    bytes.insert(bytes.end(), message.begin(), message.begin() + 7);
    line.send(bytes);
    line.l.stream.idle();
    EXPECT_EQ(line.l.units.size(), before + 2);
    line.at(milliseconds(4), part(message, 7, message.size()));
    line.l.stream.finish();
    ASSERT_EQ(line.l.units.size(), before + 3);
    EXPECT_EQ(line.l.bytes(before + 2), message);
    EXPECT_EQ(line.l.stream.idleMs(), 12) << "the pause was inside the next picture";
}

}  // namespace
}  // namespace tavrik::test
