#include "tavrik/byte_stream.h"

#include <gtest/gtest.h>

#include <random>

#include "nal_streams.h"
#include "ts_writer.h"

namespace tavrik::test {
namespace {

struct Listener {
    std::vector<Bytes> units;
    std::vector<Codec> codecs;
    int sounds = 0;
    ByteStream stream{[this](const AccessUnitPtr& unit) {
                          units.emplace_back(unit->data(), unit->data() + unit->size());
                          codecs.push_back(unit->codec);
                      },
                      [this](int, const Stamp&, const std::uint8_t*, std::size_t) { ++sounds; }};

    void feed(const Bytes& bytes, std::size_t piece) {
        for (std::size_t at = 0; at < bytes.size(); at += piece) {
            stream.push(bytes.data() + at, std::min(piece, bytes.size() - at));
        }
    }
};

Bytes rawH264() {
    Bytes out = joined({kSps264, kPps264, slice264(true, true, 1, 900)});
    for (std::uint8_t i = 2; i < 20; ++i) {
        const Bytes picture = joined({slice264(true, false, i, 300)});
        out.insert(out.end(), picture.begin(), picture.end());
    }
    return out;
}

Bytes rawH265() {
    Bytes out = joined({kVps265, kSps265, kPps265, slice265(true, true, 1, 900)});
    for (std::uint8_t i = 2; i < 20; ++i) {
        const Bytes picture = joined({slice265(true, false, i, 300)});
        out.insert(out.end(), picture.begin(), picture.end());
    }
    return out;
}

Bytes transport(int type) {
    TsWriter writer;
    writer.tables(type, 0x0F);
    const bool h264 = type == 0x1B;
    writer.pes(TsWriter::kVideoPid,
               h264 ? joined({kSps264, kPps264, slice264(true, true, 1, 900)})
                    : joined({kVps265, kSps265, kPps265, slice265(true, true, 1, 900)}),
               true);
    writer.pes(TsWriter::kAudioPid, Bytes(50, 7), true);
    for (std::uint8_t i = 2; i < 20; ++i) {
        writer.pes(TsWriter::kVideoPid,
                   joined({h264 ? slice264(true, false, i, 300) : slice265(true, false, i, 300)}), true);
    }
    return writer.take();
}

struct Form {
    Bytes bytes;
    ByteStream::Form form;
    Codec codec;
};

std::vector<Form> forms() {
    return {{rawH264(), ByteStream::Form::kRaw, Codec::kH264},
            {rawH265(), ByteStream::Form::kRaw, Codec::kH265},
            {transport(0x1B), ByteStream::Form::kTransport, Codec::kH264},
            {transport(0x24), ByteStream::Form::kTransport, Codec::kH265}};
}

TEST(ByteStream, TellsFormAndCodecByTheBytesInAnyPieces) {
    for (const Form& form : forms()) {
        for (const std::size_t piece : {1u, 7u, 100u, 188u, 189u, 1316u, 1400u, 100000u}) {
            Listener listener;
            listener.feed(form.bytes, piece);
            listener.stream.finish();
            EXPECT_EQ(listener.stream.form(), form.form) << piece;
            ASSERT_EQ(listener.units.size(), 19u) << piece;
            EXPECT_EQ(listener.codecs.front(), form.codec);
            EXPECT_EQ(listener.sounds, form.form == ByteStream::Form::kTransport ? 1 : 0);
        }
    }
}

TEST(ByteStream, FindsTheStreamAfterNoise) {
    std::mt19937 random(5);
    Bytes noise(300000);
    for (auto& b : noise) {
        b = static_cast<std::uint8_t>(random() | 2);
    }
    for (const Form& form : forms()) {
        Listener listener;
        listener.feed(noise, 1000);
        listener.feed(form.bytes, 1316);
        listener.stream.finish();
        EXPECT_EQ(listener.stream.form(), form.form);
        EXPECT_GE(listener.units.size(), 19u);
    }
}

TEST(ByteStream, FollowsASenderThatChangesItsForm) {
    for (const Form& before : forms()) {
        for (const Form& after : forms()) {
            Listener listener;
            listener.feed(before.bytes, 1316);
            listener.units.clear();
            listener.codecs.clear();
            for (int i = 0; i < 40; ++i) {
                listener.feed(after.bytes, 1316);
            }
            listener.stream.finish();
            EXPECT_EQ(listener.stream.form(), after.form);
            ASSERT_FALSE(listener.codecs.empty());
            EXPECT_EQ(listener.codecs.back(), after.codec);
        }
    }
}

TEST(ByteStream, NeedsNoMoreThanNothing) {
    Listener listener;
    listener.stream.push(nullptr, 0);
    listener.stream.finish();
    EXPECT_FALSE(listener.stream.pending());
    EXPECT_EQ(listener.stream.form(), ByteStream::Form::kUnknown);
}

TEST(ByteStream, SurvivesRandomDamage) {
    std::mt19937 random(17);
    std::size_t units = 0;
    for (int round = 0; round < 600; ++round) {
        for (const Form& form : forms()) {
            Listener listener;
            Bytes bytes = form.bytes;
            for (int hits = static_cast<int>(random() % 30); hits > 0; --hits) {
                bytes[random() % bytes.size()] = static_cast<std::uint8_t>(random());
            }
            listener.feed(bytes, 1 + random() % 1500);
            listener.stream.finish();
            units += listener.units.size();
        }
    }
    EXPECT_GT(units, 20000u);
}

}  // namespace
}  // namespace tavrik::test
