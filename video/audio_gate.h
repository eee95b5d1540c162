// Whether the sound of channel 1 may wait for its device. Any thread.
#pragma once

namespace audio_gate {

void open();
// Ends a wait under way within 10 ms and turns sound away until the next open.
void close();

}  // namespace audio_gate
