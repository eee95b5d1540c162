// The files that a stream is recorded to, as its writing thread sees them.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "tavrik/capture_item.h"
#include "tavrik/capture_writer.h"

namespace tavrik {

struct CaptureTarget {
    std::string path;  // UTF-8
    bool mp4 = true;
};

// One thread; calls wait for the disk. Why a file ended is a line on the standard error output.
class CaptureFiles {
public:
    // Called when the file of that number takes no more although nobody has ended it.
    using Broken = std::function<void(std::uint64_t serial)>;
    explicit CaptureFiles(Broken broken) : m_broken(std::move(broken)) {}

    // The present file ends; the next picture, a key picture, is the first of the new one.
    void begin(const CaptureTarget& target, CaptureFormat format, std::uint64_t serial);
    void put(const CaptureItem& item);
    void end(const char* reason);

private:
    struct File {
        std::unique_ptr<CaptureWriter> writer;
        std::string path;
        std::uint64_t serial = 0;
        std::uint64_t pictures = 0;
    };

    bool putPicture(File& file, const AccessUnitPtr& unit);
    bool goesBefore(const AccessUnitPtr& unit);
    void close(File& file, const char* reason);
    void breakOff(File& file);

    Broken m_broken;
    File m_file;
    // The file before, while pictures may come that are shown before the new file's first and cannot be
    // decoded there: it gets them, and with them that first picture, since they need it.
    File m_before;
    AccessUnitPtr m_first;  // of the new file, while it is its only picture
    bool m_firstGiven = false;
};

}  // namespace tavrik
