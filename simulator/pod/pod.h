// The simulated pod: servo, tracker, cameras, laser, storage and the flight of its carrier.
//
// Every operation may be called from any thread. Nothing reads a clock: time passes by step() alone, so that
// the same calls give the same states.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "simulator/pod/snapshot.h"
#include "simulator/pod/upgrade.h"
#include "simulator/world/flight.h"

namespace podsim {

struct PodConfig {
    std::uint32_t seed = 1;
    int frame_width = 1280, frame_height = 720;           // of the encoded main picture, pixels
    double latitude_deg = 30.45, longitude_deg = 114.42;  // of the landscape's origin
    std::int64_t start_utc_ms = 1780300800000;            // 2026-06-01 08:00
    // Rates and lens movements last until their own stop: rate 0, 0, or the lens's code with zero parameters.
    bool latched = false;
    // Guidance to a place and tracking of one, when they come among the periodic frames, last as long as
    // their frames do: then the axes stand. What comes alone still lasts until something else takes the
    // servo.
    bool places_held = false;
    FlightPlan plan = FlightPlan::kCircle;
    RecordedRoute route;  // in place of the plan, unless it is empty
};

class Pod {
public:
    explicit Pod(const PodConfig& config = PodConfig());
    ~Pod();
    Pod(const Pod&) = delete;
    Pod& operator=(const Pod&) = delete;

    // name: short name of the change, for instance "track-point"; detail: readable values. Called on the
    // thread that called apply() or step(), without the pod's lock. Set it before other threads call.
    using Log = std::function<void(const std::string& name, const std::string& detail)>;
    void setLog(Log log);

    // Size of the encoded main picture, the unit of clicks and of the tracker's deviation.
    void setFrameSize(int width, int height);

    // A command. rate_code -1: it came alone and acts at once, each time. rate_code 0 or above: it is one of
    // the periodic frames of 44 bytes, whose byte 37 is rate_code; there one-shot commands act only when
    // code or parameters differ from the frame before, code 0 is an idle frame that ends held movements, and
    // rate_code 0x70 makes rate_az and rate_el the servo rate. payload: what follows the code. A latched pod
    // keeps held movements through idle frames and through frames without a rate code.
    void apply(std::uint16_t code, const std::uint8_t* payload, std::size_t n, int rate_code,
               std::int16_t rate_az, std::int16_t rate_el);

    void setNav(const NavInput& nav);

    // Lets dt_s seconds pass, 0 to 1.
    void step(double dt_s);

    Snapshot snapshot() const;

    // What the pod says to an upgrade; each answer is given once, soon after apply() or step().
    std::vector<Upgrade::Answer> takeUpgradeAnswers();
    void addUpgradeFault(const UpgradeFault& fault);
    // What the flash of a module holds, see Upgrade::flash().
    std::vector<std::uint8_t> flashImage(int module) const;
    std::string describeUpgrade() const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

}  // namespace podsim
