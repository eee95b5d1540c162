// The elementary stream of the block source between the port that brings it and the decoder that takes it.
#pragma once

#include <functional>
#include <mutex>

namespace sorvane {

// The buffer's fields; all three are guarded by the mutex. They outlive the buffer.
struct BlockBufferFields {
    unsigned char*& data;  // from new[]; null while closed
    int& capacity;         // allocated bytes
    int& size;             // filled bytes
    std::mutex& mutex;
};

// First in, first out; its capacity grows by as little as it can, up to kMaxSize. Append on the port's
// receive thread, read on the stream's thread, open and close on the owner's.
class BlockBuffer {
public:
    static constexpr int kFirstCapacity = 40960;
    static constexpr int kMaxSize = 32 << 20;  // bytes that wait for a reader

    // fatal(what) is called when memory is gone and must not return; `what` names the block.
    BlockBuffer(const BlockBufferFields& fields, std::function<void(const char* what)> fatal);

    // Empties the buffer and allocates its first bytes anew.
    void open();
    // Frees it; what is appended or read then does nothing.
    void close();
    // False when the bytes are dropped, all of them, since more than kMaxSize would wait. Closed, it drops
    // them and says true: nobody waits for them.
    bool append(const unsigned char* data, int size);
    // Takes at most `capacity` bytes; returns their number, 0 when none waits. Never blocks for data.
    int read(unsigned char* dest, int capacity);

private:
    unsigned char* allocated(int size, const char* what);
    void grow(int size);

    BlockBufferFields m_fields;
    int m_room = 0;  // bytes behind `data`, at least its capacity
    std::function<void(const char*)> m_fatal;
};

}  // namespace sorvane
