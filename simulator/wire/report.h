// From the pod's state to what it tells the station: the report and the block inside the video.
#pragma once

#include "simulator/pod/snapshot.h"
#include "simulator/wire/sei.h"
#include "simulator/wire/wire.h"
#include "simulator/world/flight.h"

namespace podsim {

wire::Report reportOf(const Snapshot& snapshot);
// The frame that answers command 56 with these payload bytes: 3 asks what the display shows, 2 for the
// channels of the remote control. Empty for everything else, which stays without an answer.
wire::Bytes answerTo(const wire::Bytes& asked, const Snapshot& snapshot);
SeiFields seiFieldsOf(const Snapshot& snapshot);
// What an inertial unit aboard the same aircraft measures. utc_us: microseconds since 1970.
wire::InsState insStateOf(const Snapshot& snapshot, std::int64_t utc_us);
wire::NavBlock navBlockOf(const Snapshot& snapshot);
NavInput navInputOf(const wire::NavBlock& block);

}  // namespace podsim
