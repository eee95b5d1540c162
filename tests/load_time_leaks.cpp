// Part of every program and test under the address sanitizer. GLib leaves the first table of its quarks (16
// KiB, made while the library is loaded) behind on purpose when the table grows, which GStreamer's element
// types make it do. Its stack is "g_malloc" alone, as that of every other block of GLib: a suppression would
// hide what a stream loses. So what the libraries' constructors allocate is not judged, and everything after
// them is.
//
// And a library that stays loaded is seen to hold what it keeps, and keeps its name in a report of its leaks.
#include <sanitizer/lsan_interface.h>

extern "C" int dlclose(void* /*handle*/) { return 0; }

namespace {

void beforeTheLibraries(int, char**, char**) { __lsan_disable(); }

__attribute__((section(".preinit_array"),
               used)) void (*const kBeforeTheLibraries)(int, char**, char**) = beforeTheLibraries;

__attribute__((constructor(101))) void behindTheLibraries() { __lsan_enable(); }

}  // namespace
