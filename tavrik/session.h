// What a handle stands for.
#pragma once

#include <string>

namespace tavrik {

// Held by shared pointers: its own threads keep it alive too.
class Session {
public:
    virtual ~Session() = default;
    // See feedClose. Called once.
    virtual void close() = 0;
    virtual void hold() {}
    virtual void resume() {}
    // See tavrik.h; paths are UTF-8. A replay takes neither.
    virtual void captureBegin(const std::string& /*path*/, bool /*mp4*/) {}
    virtual void captureEnd() {}
    virtual void stillBegin(const std::string& /*path*/) {}
    virtual void stillEnd() {}
};

}  // namespace tavrik
