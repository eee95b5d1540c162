// GIO connects without proxies.
#pragma once

namespace tavrik {

// Streams come from the pod's own network. GIO would ask the desktop's settings for a proxy at each
// connection: those speak of web pages, and reading them costs threads and a connection to the desktop's
// bus. Process-wide, for whoever uses GIO's default; call before the first connection. Any thread.
void useNoProxies();

}  // namespace tavrik
