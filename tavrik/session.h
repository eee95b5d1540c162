// What a handle stands for.
#pragma once

namespace tavrik {

// Held by shared pointers: its own threads keep it alive too.
class Session {
public:
    virtual ~Session() = default;
    // See feedClose. Called once.
    virtual void close() = 0;
    virtual void hold() {}
    virtual void resume() {}
};

}  // namespace tavrik
