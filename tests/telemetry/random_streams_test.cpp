// The reassemblers against a plain model of their steps, byte by byte and without any shortcut, on a million
// random streams in random pieces.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "base/bytes.h"
#include "base/numbers.h"
#include "telemetry/control_link_reassembler.h"
#include "telemetry/ins_reassembler.h"
#include "telemetry/interface_reassembler.h"
#include "tests/telemetry/frames_by_hand.h"

namespace sorvane {
namespace {

// Small and fast; the sequence is the same on every machine.
class Random {
public:
    explicit Random(std::uint64_t seed) : m_state(seed * 0x9E3779B97F4A7C15U + 1) {}
    std::uint32_t next() {
        m_state ^= m_state << 13;
        m_state ^= m_state >> 7;
        m_state ^= m_state << 17;
        return static_cast<std::uint32_t>(m_state >> 32);
    }
    std::uint32_t below(std::uint32_t limit) { return next() % limit; }
    std::uint8_t byte() { return static_cast<std::uint8_t>(next()); }

private:
    std::uint64_t m_state;
};

// A digest of what came out: order, kinds, sizes and bytes all count. Comparing lists a million times would
// cost more than the streams.
struct Digest {
    std::uint64_t value = 1469598103934665603U;
    std::uint32_t frames = 0;
    void add(int kind, const std::uint8_t* bytes, std::int32_t size) {
        ++frames;
        step(static_cast<std::uint64_t>(kind));
        step(static_cast<std::uint64_t>(size));
        for (std::int32_t i = 0; i < size; ++i) {
            step(bytes[i]);
        }
    }
    void step(std::uint64_t v) { value = (value ^ v) * 1099511628211U; }

    void telemetry(const std::uint8_t* record) { add(1004, record, 60); }
    void linkFrame(const std::uint8_t* payload, std::int32_t size) { add(1007, payload, size); }
};

// --- the plain models: static buffer, signed count, the steps in their order ---

struct PlainControlLink {
    std::uint8_t buffer[1024] = {};
    std::int32_t held = 0;

    void feed(const std::uint8_t* data, std::int32_t n, Digest& out) {
        if (held + n >= 1025) {
            held = 0;
            return;
        }
        for (std::int32_t i = 0; i < n; ++i) {
            buffer[held + i] = data[i];
        }
        held += n;
        std::int32_t p = 0;
        for (;;) {
            const std::int32_t r = held - p;
            if (r < 3) {
                break;
            }
            if (!(buffer[p] == 0xFC && buffer[p + 1] == 0x2C)) {
                p += 1;
                continue;
            }
            std::uint8_t x = 0;
            if (buffer[p + 2] == 0x55) {
                if (r < 4) {
                    break;
                }
                const std::int32_t length = buffer[p + 3];
                if (r < length + 5) {
                    break;
                }
                for (std::int32_t i = 0; i < length + 1; ++i) {
                    x = static_cast<std::uint8_t>(x ^ buffer[p + 3 + i]);
                }
                if (buffer[p + 4 + length] == x) {
                    out.linkFrame(buffer + p + 4, length);
                }
                p += length + 5;
            } else {
                if (r < 64) {
                    break;
                }
                for (std::int32_t i = 0; i < 60; ++i) {
                    x = static_cast<std::uint8_t>(x ^ buffer[p + 2 + i]);
                }
                if (x == buffer[p + 62] && buffer[p + 63] == 0xF0) {
                    std::uint8_t record[60];
                    std::memcpy(record, buffer + p + 2, 60);
                    for (const int offset : {27, 31}) {
                        float degrees;
                        std::memcpy(&degrees, record + offset, 4);
                        const std::int32_t integer = truncateToI32(static_cast<double>(degrees) * 10000000.0);
                        std::memcpy(record + offset, &integer, 4);
                    }
                    out.telemetry(record);
                }
                p += 64;
            }
        }
        held -= p;
        std::memmove(buffer, buffer + p, static_cast<std::size_t>(held));
    }
};

struct PlainIns {
    std::uint8_t buffer[120] = {};
    std::int32_t held = 0;

    // True where the steps would go round for ever.
    bool feed(const std::uint8_t* data, std::int32_t n, Digest& out) {
        if (held + n > 120) {
            held = 0;
            return false;
        }
        for (std::int32_t i = 0; i < n; ++i) {
            buffer[held + i] = data[i];
        }
        held += n;
        std::int32_t p = 0;
        for (;;) {
            if (held - p < 58) {
                held -= p;
                std::memmove(buffer, buffer + p, static_cast<std::size_t>(held));
                return false;
            }
            if (!(buffer[p] == 0xAA && buffer[p + 1] == 0x55)) {
                p += 1;
                continue;
            }
            if (buffer[p + 3] != 58) {
                return true;
            }
            std::uint8_t sum = 0;
            for (std::int32_t i = 0; i < 57; ++i) {
                sum = static_cast<std::uint8_t>(sum + buffer[p + i]);
            }
            if (sum != 0) {
                out.add(1008, buffer + p + 4, 53);
            }
            p += 58;
        }
    }
};

struct PlainInterface {
    std::uint8_t buffer[1026] = {};
    std::int32_t held = 0;

    void feed(const std::uint8_t* data, std::int32_t n, Digest& out) {
        if (held + n >= 1025) {
            held = 0;
            return;
        }
        for (std::int32_t i = 0; i < n; ++i) {
            buffer[held + i] = data[i];
        }
        held += n;
        const std::int32_t body = 44 - 2;
        std::int32_t p = 0;
        for (;;) {
            const std::int32_t r = held - p;
            if (r < 2) {
                break;
            }
            if (!(buffer[p] == 0xFB && buffer[p + 1] == 0x2C)) {
                p += 1;
                continue;
            }
            if (r < body) {
                break;
            }
            if (buffer[p + 43] == 0xF0) {
                out.add(1010, buffer + p + 7, 30);
            }
            p += body;
        }
        held -= p;
        std::memmove(buffer, buffer + p, static_cast<std::size_t>(held));
    }
};

// --- random streams, rich in frames, halves of frames, magic bytes and damage ---

struct Stream {
    std::uint8_t bytes[2048];
    std::uint32_t size = 0;
    void put(std::uint8_t byte) {
        if (size < sizeof bytes) {
            bytes[size++] = byte;
        }
    }
    void put(const Bytes& run) {
        for (const std::uint8_t byte : run) {
            put(byte);
        }
    }
};

void putNoise(Stream& stream, Random& random, const std::uint8_t (&favourites)[6]) {
    const std::uint32_t count = random.below(24);
    for (std::uint32_t i = 0; i < count; ++i) {
        stream.put(random.below(3) == 0 ? random.byte() : favourites[random.below(6)]);
    }
}

// One frame in eight is damaged in one byte, one in eight is cut short.
void damage(Stream& stream, Random& random, std::uint32_t begin) {
    const std::uint32_t size = stream.size - begin;
    if (size == 0) {
        return;
    }
    const std::uint32_t fate = random.below(8);
    if (fate == 0) {
        stream.bytes[begin + random.below(size)] = random.byte();
    }
    if (fate == 1) {
        stream.size = begin + random.below(size);
    }
}

void putFixed(Stream& stream, Random& random) {
    std::uint8_t frame[64] = {0xFC, 0x2C};
    for (int i = 2; i < 62; i += 4) {
        storeU32(frame + i, random.next());
    }
    if (random.below(2) == 0) {
        storeF32(frame + 29, static_cast<float>(random.below(360)) - 180.0F);
    }
    std::uint8_t x = 0;
    for (int i = 2; i < 62; ++i) {
        x = static_cast<std::uint8_t>(x ^ frame[i]);
    }
    frame[62] = x;
    frame[63] = 0xF0;
    for (const std::uint8_t byte : frame) {
        stream.put(byte);
    }
}

void putVariable(Stream& stream, Random& random) {
    const std::uint32_t kind = random.below(16);
    const auto length = static_cast<std::uint8_t>(kind == 0 ? random.byte() : random.below(12));
    stream.put(Bytes{0xFC, 0x2C, 0x55, length});
    std::uint8_t x = length;
    for (int i = 0; i < length; ++i) {
        const std::uint8_t byte = random.byte();
        x = static_cast<std::uint8_t>(x ^ byte);
        stream.put(byte);
    }
    stream.put(x);
}

void makeLinkStream(Stream& stream, Random& random) {
    constexpr std::uint8_t kFavourites[6] = {0xFC, 0x2C, 0xFC, 0x55, 0x00, 0xF0};
    stream.size = 0;
    const std::uint32_t parts = 1 + random.below(4);
    for (std::uint32_t i = 0; i < parts; ++i) {
        if (random.below(3) == 0) {
            putNoise(stream, random, kFavourites);
        }
        const std::uint32_t begin = stream.size;
        random.below(2) == 0 ? putFixed(stream, random) : putVariable(stream, random);
        damage(stream, random, begin);
    }
    // Now and then so much that the buffer runs over.
    if (random.below(64) == 0) {
        for (std::uint32_t i = random.below(1500); i > 0; --i) {
            stream.put(random.byte());
        }
    }
}

void makeInsStream(Stream& stream, Random& random) {
    constexpr std::uint8_t kFavourites[6] = {0xAA, 0x55, 0xAA, 58, 0x00, 0x01};
    stream.size = 0;
    const std::uint32_t parts = 1 + random.below(4);
    for (std::uint32_t i = 0; i < parts; ++i) {
        if (random.below(3) == 0) {
            putNoise(stream, random, kFavourites);
        }
        const std::uint32_t begin = stream.size;
        stream.put(Bytes{0xAA, 0x55, random.byte(), 58});
        for (int k = 0; k < 53; ++k) {
            stream.put(random.byte());
        }
        std::uint8_t sum = 0;
        for (std::uint32_t k = begin; k < stream.size; ++k) {
            sum = static_cast<std::uint8_t>(sum + stream.bytes[k]);
        }
        // One in eight with a sum of zero.
        if (random.below(8) == 0) {
            stream.bytes[begin + 2] = static_cast<std::uint8_t>(stream.bytes[begin + 2] - sum);
        }
        stream.put(random.byte());
        damage(stream, random, begin);
    }
}

void makeInterfaceStream(Stream& stream, Random& random) {
    constexpr std::uint8_t kFavourites[6] = {0xFB, 0x2C, 0xFB, 0xF0, 0x2C, 0xF0};
    stream.size = 0;
    const std::uint32_t parts = 1 + random.below(5);
    for (std::uint32_t i = 0; i < parts; ++i) {
        if (random.below(3) == 0) {
            putNoise(stream, random, kFavourites);
        }
        const std::uint32_t begin = stream.size;
        stream.put(Bytes{0xFB, 0x2C});
        for (int k = 0; k < 41; ++k) {
            stream.put(random.byte());
        }
        stream.put(0xF0);
        damage(stream, random, begin);
    }
    if (random.below(64) == 0) {
        for (std::uint32_t i = random.below(1500); i > 0; --i) {
            stream.put(random.byte());
        }
    }
}

// Cuts the stream into random pieces, one byte to all of it.
template <typename Take>
void inPieces(const Stream& stream, Random& random, Take&& take) {
    const std::uint32_t largest = random.below(4) == 0 ? stream.size + 1 : 1 + random.below(100);
    for (std::uint32_t at = 0; at < stream.size;) {
        const std::uint32_t piece = std::min(1 + random.below(largest), stream.size - at);
        take(stream.bytes + at, static_cast<std::int32_t>(piece));
        at += piece;
    }
}

constexpr std::uint32_t kStreams = 1000000;

// The reassemblers live on over 64 streams, as over reopened ports.
constexpr std::uint32_t kLife = 64;

TEST(RandomStreams, ControlLinkEqualsThePlainModel) {
    Stream stream;
    std::uint64_t frames = 0;
    ControlLinkReassembler ours;
    PlainControlLink plain;
    for (std::uint32_t seed = 0; seed < kStreams; ++seed) {
        Random random(seed);
        if (seed % kLife == 0) {
            ours = ControlLinkReassembler();
            plain = PlainControlLink();
        }
        makeLinkStream(stream, random);
        Digest got;
        Digest expected;
        inPieces(stream, random, [&](const std::uint8_t* data, std::int32_t n) {
            ours.feed(data, n, got);
            plain.feed(data, n, expected);
        });
        ASSERT_EQ(got.value, expected.value) << "seed " << seed;
        ASSERT_EQ(ours.held(), plain.held) << "seed " << seed;
        frames += got.frames;
    }
    EXPECT_GT(frames, kStreams);
}

TEST(RandomStreams, InsEqualsThePlainModel) {
    Stream stream;
    std::uint64_t frames = 0;
    std::uint64_t stuck = 0;
    InsReassembler ours;
    PlainIns plain;
    for (std::uint32_t seed = 0; seed < kStreams; ++seed) {
        Random random(seed);
        if (seed % kLife == 0) {
            ours = InsReassembler();
            plain = PlainIns();
        }
        makeInsStream(stream, random);
        Digest got;
        Digest expected;
        bool ended = false;
        inPieces(stream, random, [&](const std::uint8_t* data, std::int32_t n) {
            if (ended) {
                return;  // the port's thread never comes back; the next stream is the reopened port
            }
            const InsFeed result =
                ours.feed(data, n, [&](const std::uint8_t* payload) { got.add(1008, payload, 53); });
            ended = plain.feed(data, n, expected);
            ASSERT_EQ(result == InsFeed::kStuck, ended) << "seed " << seed;
        });
        stuck += ended ? 1 : 0;
        ASSERT_EQ(got.value, expected.value) << "seed " << seed;
        ASSERT_EQ(ours.held(), plain.held) << "seed " << seed;
        frames += got.frames;
    }
    EXPECT_GT(frames, kStreams / 2);
    EXPECT_GT(stuck, kStreams / 200);
}

TEST(RandomStreams, InterfaceEqualsThePlainModel) {
    Stream stream;
    std::uint64_t frames = 0;
    InterfaceReassembler ours;
    PlainInterface plain;
    for (std::uint32_t seed = 0; seed < kStreams; ++seed) {
        Random random(seed);
        if (seed % kLife == 0) {
            ours = InterfaceReassembler();
            plain = PlainInterface();
        }
        makeInterfaceStream(stream, random);
        Digest got;
        Digest expected;
        inPieces(stream, random, [&](const std::uint8_t* data, std::int32_t n) {
            ours.feed(data, n, [&](const std::uint8_t* block) { got.add(1010, block, 30); });
            plain.feed(data, n, expected);
        });
        ASSERT_EQ(got.value, expected.value) << "seed " << seed;
        ASSERT_EQ(ours.held(), plain.held) << "seed " << seed;
        frames += got.frames;
    }
    EXPECT_GT(frames, kStreams);
}

}  // namespace
}  // namespace sorvane
