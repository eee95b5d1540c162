// Seeded trouble for a stream of packets: loss, duplication, reordering, corruption, delay, silence.
//
// Knows no clock and no socket: packets go in with the present time and come out when they are due. Equal
// seeds, settings and packets give equal results, whatever the settings were: every packet draws the same
// number of random values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace podsim {

struct FaultSettings {
    double loss = 0;       // probability, 0 to 1, as the next three
    double duplicate = 0;  // the packet comes twice
    double reorder = 0;    // the packet comes after the next one
    double corrupt = 0;    // one bit of the packet is flipped
    int delay_ms = 0;      // 0 to 60000
    bool silence = false;  // nothing goes out; the stream goes on counting
    // Of video: the line rests inside every pause_every-th picture, once pause_after of its bytes have gone
    // out; nothing is lost.
    int pause_ms = 0;      // 0 to 5000; 0: never
    int pause_after = 1;   // bytes, 1 to 10000000
    int pause_every = 10;  // pictures, 1 to 10000

    bool any() const {
        return loss > 0 || duplicate > 0 || reorder > 0 || corrupt > 0 || delay_ms > 0 || silence ||
               pause_ms > 0;
    }
};

// Tells of each piece of a picture whether the line rests behind it.
class PicturePause {
public:
    // Bytes of the piece, and whether it is the picture's last: behind that there is nothing to rest from.
    // Returns how long, in ms; 0: go on.
    int restBehind(std::size_t bytes, bool last, const FaultSettings& settings);

private:
    std::size_t m_bytes = 0;  // of this picture so far
    bool m_rested = false;    // within this picture
    int m_pictures = 0;       // since the one with a rest
};

class FaultInjector {
public:
    using Packet = std::vector<std::uint8_t>;

    explicit FaultInjector(std::uint64_t seed) : m_random(seed) {}

    void set(const FaultSettings& settings) { m_settings = settings; }
    const FaultSettings& settings() const { return m_settings; }

    void push(Packet packet, std::int64_t now_ns);
    // The next packet that is due, in the order of leaving.
    std::optional<Packet> pop(std::int64_t now_ns);
    // When pop() has something next; no value when nothing waits.
    std::optional<std::int64_t> nextDue() const;

private:
    struct Waiting {
        std::int64_t due_ns;
        Packet packet;
    };

    void queue(Packet packet, std::int64_t due_ns);
    double chance();

    FaultSettings m_settings;
    std::mt19937_64 m_random;
    std::deque<Waiting> m_waiting;  // by due time
    std::optional<Waiting> m_held;  // a packet that lets the next one pass
};

// One fault of one stream, as written by the operator: "telemetry.loss=0.1".
struct FaultSwitch {
    enum class Stream { kTelemetry, kVideo };
    Stream stream = Stream::kTelemetry;
    std::string
        name;  // one of loss, duplicate, reorder, corrupt, delay, silence, pause, pause-after, pause-every
    double value = 0;  // probability, milliseconds, bytes, pictures, or 0 and 1
};

// "STREAM.NAME=VALUE"; STREAM is telemetry or video, NAME as above (stall is another name of video's
// silence), VALUE a probability 0 to 1, milliseconds for delay, on or off for silence. Video alone has pause
// with milliseconds, pause-after with bytes, pause-every with pictures. No value and a reason in `error` when
// it cannot be read.
std::optional<FaultSwitch> parseFault(const std::string& text, std::string& error);
void applyFault(const FaultSwitch& fault, FaultSettings& settings);
// "loss=0.1 delay=40": the faults that are on; "none" when there are none.
std::string describeFaults(const FaultSettings& settings);

}  // namespace podsim
