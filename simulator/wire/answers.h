// What the pod answers to maintenance commands, as frames.
#pragma once

#include <vector>

#include "simulator/pod/snapshot.h"
#include "simulator/wire/wire.h"

namespace podsim {

// To command 56 with these payload bytes. 0: the versions of the modules, a frame each; 1: model, serial
// number and address, a frame each; 3: items and style of the display; what answerTo() knows besides. Empty
// when there is no answer.
std::vector<wire::Bytes> answersTo(const wire::Bytes& asked, const Snapshot& snapshot);
// Of the module that command 19 with this payload was for: an acknowledging 06 and the bytes that it got, cut
// into frames as its slow line brings them. Empty for a module that there is none, or that has no power.
std::vector<wire::Bytes> moduleAnswers(const wire::Bytes& relayed, const Snapshot& snapshot);

}  // namespace podsim
