// What LeakSanitizer is not to judge in the tests of maps alone.
#ifdef SORVANE_SANITIZED

// The software driver of OpenGL leaves behind what was bound (two textures of a kilobyte, a buffer of bytes)
// when a context goes in the middle of its first frames. Seen with maps that close before they have come to
// rest, with none that has.
extern "C" const char* __lsan_default_suppressions() { return "leak:swrast_dri.so\n"; }

#endif
