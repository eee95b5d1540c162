#include "tavrik/nal.h"

#include <gtest/gtest.h>

#include <random>

#include "nal_streams.h"
#include "tavrik/nal_splitter.h"

namespace tavrik::test {
namespace {

std::vector<Bytes> split(const Bytes& stream, const std::vector<std::size_t>& cuts) {
    std::vector<Bytes> out;
    NalSplitter splitter([&](const Nal& nal) { out.emplace_back(nal.data, nal.data + nal.size); });
    std::size_t at = 0;
    for (const std::size_t cut : cuts) {
        splitter.push(stream.data() + at, cut - at);
        at = cut;
    }
    splitter.push(stream.data() + at, stream.size() - at);
    splitter.flush();
    return out;
}

const std::vector<Bytes> kUnits{kSps264, kPps264, {0x06, 0, 0, 3, 1, 0x80}, slice264(true, true, 1), {0x41}};

TEST(NalSplitter, FindsTheSameUnitsForEachPairOfCutsAndBothStartCodes) {
    for (const std::size_t start_code : {3u, 4u, 6u}) {
        const Bytes stream = joined(kUnits, start_code);
        for (std::size_t a = 0; a <= stream.size(); ++a) {
            for (std::size_t b = a; b <= stream.size(); b += 7) {
                ASSERT_EQ(split(stream, {a, b}), kUnits) << start_code << " " << a << " " << b;
            }
        }
    }
}

TEST(NalSplitter, FindsTheSameUnitsByteByByte) {
    const Bytes stream = joined(kUnits, 3);
    std::vector<std::size_t> cuts;
    for (std::size_t i = 1; i < stream.size(); ++i) {
        cuts.push_back(i);
    }
    EXPECT_EQ(split(stream, cuts), kUnits);
}

TEST(NalSplitter, LeavesOutWhatComesBeforeTheFirstStartCode) {
    Bytes stream{9, 8, 7, 0, 0};
    const Bytes rest = joined({kSps264});
    stream.insert(stream.end(), rest.begin(), rest.end());
    EXPECT_EQ(split(stream, {}), std::vector<Bytes>{kSps264});
}

TEST(NalSplitter, KeepsAStartCodeThatAFlushCutsInTwo) {
    std::vector<Bytes> out;
    NalSplitter splitter([&](const Nal& nal) { out.emplace_back(nal.data, nal.data + nal.size); });
    const Bytes first{0, 0, 1, 0x65, 0x88, 0, 0};
    const Bytes second{1, 0x41, 0x9A};
    splitter.push(first.data(), first.size());
    splitter.flush();
    splitter.push(second.data(), second.size());
    EXPECT_FALSE(splitter.takeStray());
    splitter.flush();
    EXPECT_EQ(out, (std::vector<Bytes>{{0x65, 0x88}, {0x41, 0x9A}}));
}

TEST(NalSplitter, AFlushOfNothingLeavesNothing) {
    std::vector<Bytes> out;
    NalSplitter splitter([&](const Nal& nal) { out.emplace_back(nal.data, nal.data + nal.size); });
    splitter.flush();
    const Bytes first{0, 0, 1, 0x65, 0x88};
    splitter.push(first.data(), first.size());
    splitter.flush();
    splitter.flush();
    EXPECT_EQ(splitter.position(), first.size());
    // Without zeros of its own before it this begins nothing.
    const Bytes second{1, 0x41, 0x9A};
    splitter.push(second.data(), second.size());
    splitter.flush();
    EXPECT_EQ(out, (std::vector<Bytes>{{0x65, 0x88}}));
}

TEST(NalSplitter, TellsThatAFlushCutAUnit) {
    NalSplitter splitter([](const Nal&) {});
    const Bytes first{0, 0, 1, 0x65, 0x88};
    splitter.push(first.data(), first.size());
    splitter.flush();
    splitter.push(first.data() + 3, 2);
    EXPECT_TRUE(splitter.takeStray());
}

TEST(NalSplitter, StaysBoundedAndRecoversAfterAUnitWithoutEnd) {
    std::size_t largest = 0;
    std::vector<Bytes> out;
    NalSplitter splitter([&](const Nal& nal) {
        largest = std::max(largest, nal.size);
        if (nal.size < 100) {
            out.emplace_back(nal.data, nal.data + nal.size);
        }
    });
    const Bytes start{0, 0, 1, 0x65};
    splitter.push(start.data(), start.size());
    const Bytes block(1 << 20, 0xFF);
    for (int i = 0; i < 40; ++i) {
        splitter.push(block.data(), block.size());
    }
    const Bytes good = joined({kSps264});
    splitter.push(good.data(), good.size());
    splitter.flush();
    EXPECT_LE(largest, NalSplitter::kMaxNalBytes + block.size());
    EXPECT_EQ(out, std::vector<Bytes>{kSps264});
}

TEST(NalSplitter, AgreesWithAPlainScanOnRandomBytesRichInStartCodes) {
    std::mt19937 random(7);
    for (int round = 0; round < 2000; ++round) {
        Bytes stream(random() % 60);
        for (auto& b : stream) {
            b = static_cast<std::uint8_t>(random() % 4 == 0 ? random() % 3 + 1 : 0);
        }
        // Plain model: after each 00 00 01 a unit up to the next one or the end, without its trailing zeros.
        std::vector<Bytes> expected;
        Bytes* open = nullptr;
        for (std::size_t i = 0; i < stream.size(); ++i) {
            const bool code =
                i + 2 < stream.size() && stream[i] == 0 && stream[i + 1] == 0 && stream[i + 2] == 1;
            if (code) {
                expected.emplace_back();
                open = &expected.back();
                i += 2;
            } else if (open != nullptr) {
                open->push_back(stream[i]);
            }
        }
        for (Bytes& nal : expected) {
            while (!nal.empty() && nal.back() == 0) {
                nal.pop_back();
            }
        }
        expected.erase(std::remove(expected.begin(), expected.end(), Bytes{}), expected.end());
        const std::size_t cut = stream.empty() ? 0 : random() % stream.size();
        ASSERT_EQ(split(stream, {cut}), expected) << round;
    }
}

TEST(NalInfo, OfH264) {
    const auto info = [](const Bytes& nal) { return describeNal(Codec::kH264, nal.data(), nal.size()); };
    EXPECT_EQ(info(slice264(true, true, 1)).role, NalRole::kPicture);
    EXPECT_TRUE(info(slice264(true, true, 1)).random_access);
    EXPECT_TRUE(info(slice264(true, false, 1)).first_slice);
    EXPECT_FALSE(info(slice264(false, false, 1)).first_slice);
    EXPECT_FALSE(info(slice264(true, false, 1)).random_access);
    for (const Bytes& nal : {kSps264, kPps264, kSei264}) {
        EXPECT_EQ(info(nal).role, NalRole::kLeading);
    }
    EXPECT_EQ(info(kAud264).role, NalRole::kDelimiter);
    EXPECT_EQ(info(kSps264).parameter_set, kSequenceSet);
    EXPECT_EQ(info(kPps264).parameter_set, kPictureSet);
    EXPECT_TRUE(info(kSei264).sei);
    EXPECT_FALSE(info(kSei264).recovery_point);
    EXPECT_TRUE(info(kRecovery264).recovery_point);
    EXPECT_EQ(info({0x0C, 0xFF, 0x80}).role, NalRole::kTrailing);
    EXPECT_EQ(info({}).role, NalRole::kTrailing);
}

// A message is told by its type and skipped by its size, whatever they are.
TEST(NalInfo, ARecoveryPointIsFoundBehindMessagesOfEveryTypeAndSize) {
    const auto recovery = [](const Bytes& messages) {
        Bytes nal{0x06};
        nal.insert(nal.end(), messages.begin(), messages.end());
        return describeNal(Codec::kH264, nal.data(), nal.size()).recovery_point;
    };
    EXPECT_TRUE(recovery({0x00, 0x01, 0xAA, 0x06, 0x01, 0xC4, 0x80})) << "type 0";
    EXPECT_TRUE(recovery({0x05, 0x00, 0x06, 0x01, 0xC4, 0x80})) << "size 0";
    EXPECT_TRUE(recovery({0xFF, 0x06, 0x01, 0xAA, 0x06, 0x01, 0xC4, 0x80})) << "type 261";
    Bytes large{0x05, 0xFF, 0x01};
    large.resize(3 + 256, 0x11);
    EXPECT_FALSE(recovery(large));
    large.insert(large.end(), {0x06, 0x01, 0xC4, 0x80});
    EXPECT_TRUE(recovery(large)) << "size 256";
    EXPECT_FALSE(recovery({0xFF, 0x06, 0x01, 0xC4, 0x80})) << "type 261 is not 6";
    EXPECT_FALSE(recovery({0x05, 0x04, 0x06, 0x01, 0xC4, 0x80})) << "within a message";
}

TEST(NalInfo, OfH265) {
    const auto info = [](const Bytes& nal) { return describeNal(Codec::kH265, nal.data(), nal.size()); };
    EXPECT_TRUE(info(slice265(true, true, 1)).random_access);
    EXPECT_TRUE(info(slice265(true, true, 1)).first_slice);
    EXPECT_FALSE(info(slice265(false, false, 1)).first_slice);
    EXPECT_FALSE(info(slice265(true, false, 1)).random_access);
    for (const Bytes& nal : {kVps265, kSps265, kPps265, kSei265}) {
        EXPECT_EQ(info(nal).role, NalRole::kLeading);
    }
    EXPECT_EQ(info(kAud265).role, NalRole::kDelimiter);
    EXPECT_EQ(info(kVps265).parameter_set, kVideoSet);
    EXPECT_EQ(info(kSps265).parameter_set, kSequenceSet);
    EXPECT_EQ(info(kPps265).parameter_set, kPictureSet);
    EXPECT_TRUE(info(kSei265).sei);
    EXPECT_TRUE(info(kSuffix265).sei);
    EXPECT_EQ(info(kSuffix265).role, NalRole::kTrailing);
    EXPECT_EQ(info({0x40}).role, NalRole::kTrailing);
}

TEST(NalInfo, CodecIsToldByTheFirstParameterSetsAlone) {
    const auto codec = [](const Bytes& nal) { return codecOfParameterSet(nal.data(), nal.size()); };
    EXPECT_EQ(codec(kSps264), Codec::kH264);
    EXPECT_EQ(codec(kVps265), Codec::kH265);
    EXPECT_EQ(codec(kSps265), Codec::kH265);
    for (const Bytes& nal : {kPps264, kAud264, kSei264, kPps265, kAud265, kSei265, slice264(true, true, 1),
                             slice265(true, true, 1), Bytes{0x67, 0x01, 0, 0}, Bytes{0x67, 0x42}}) {
        EXPECT_EQ(codec(nal), Codec::kUnknown);
    }
    // A set of a sequence is of type 7, is referred to, and begins with a profile that exists.
    for (int head = 0; head < 256; ++head) {
        const bool set = head == 0x27 || head == 0x47 || head == 0x67;
        EXPECT_EQ(codec({static_cast<std::uint8_t>(head), 77, 0, 30}), set ? Codec::kH264 : Codec::kUnknown);
    }
    int profiles = 0;
    for (int profile = 0; profile < 256; ++profile) {
        profiles += codec({0x67, static_cast<std::uint8_t>(profile), 0, 30}) == Codec::kH264 ? 1 : 0;
    }
    EXPECT_EQ(profiles, 16);
}

}  // namespace
}  // namespace tavrik::test
