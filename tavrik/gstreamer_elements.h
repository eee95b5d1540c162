// GStreamer's receiving elements, made ready.
#pragma once

namespace tavrik {

// Initialises GStreamer and loads the few plugins that RTSP needs, at the first call; false if one is not
// there. Nothing else of GStreamer is touched: no registry is read, written or scanned (which would start a
// helper process or load some hundred plugins), no signal handler is set, nothing is printed. If the process
// has initialised GStreamer itself, that stays as it is. Any thread; the first call takes some 50 ms.
bool gstreamerReady();

}  // namespace tavrik
