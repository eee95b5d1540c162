// What a Pod holds. Its operations run with the mutex held; the log is called after it is free.
#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "simulator/pod/pod.h"
#include "simulator/pod/servo.h"
#include "simulator/pod/tracker.h"
#include "simulator/pod/upgrade.h"
#include "simulator/world/flight.h"

namespace podsim {

// The parameters of a command; bytes beyond the payload read as 0.
struct Parameters {
    const std::uint8_t* data;
    std::size_t size;

    int byte(std::size_t i) const { return i < size ? data[i] : 0; }
    int word(std::size_t i) const { return static_cast<std::int16_t>(byte(i) | byte(i + 1) << 8); }
    std::int32_t dword(std::size_t i) const {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(word(i) & 0xFFFF) |
                                         static_cast<std::uint32_t>(word(i + 2)) << 16);
    }
    std::string text(std::size_t from) const {
        return from < size ? std::string(reinterpret_cast<const char*>(data) + from, size - from)
                           : std::string();
    }
};

// One lens: zoom and focus with the movement that the operator holds.
struct Lens {
    double zoom = 1, widest = 1, longest = 1;
    double focus = 1;         // sharpness 0..1
    int zoom_direction = 0;   // +1 longer
    int focus_direction = 0;  // +1 and -1 away from or back through sharp
    double focus_offset = 0;  // distance of the lens from sharp, -1..1
    bool auto_focus = false;
    double speed = 1;  // share of the zoom per second, natural logarithm

    bool moving() const { return zoom_direction != 0 || focus_direction != 0; }
    void halt() { zoom_direction = focus_direction = 0; }
    void step(double dt_s);
};

struct Pod::State {
    explicit State(const PodConfig& config);

    using Handler = void (State::*)(const Parameters&);
    // What ends a command among the periodic frames.
    enum class Kind {
        kOnce,      // acts when it is new
        kLensHold,  // lasts as long as its frames
        kPlace      // acts when it is new; where places are held, lasts as long as its frames
    };
    struct Command {
        std::uint16_t code;
        Kind kind;
        Handler handler;
    };
    static const Command* find(std::uint16_t code);
    bool movesByHand(std::uint16_t code, const Parameters& p) const;

    void apply(std::uint16_t code, const Parameters& p, bool periodic, int rate_code, int rate_az,
               int rate_el);
    void count(std::uint16_t code, const Parameters& p, bool rate);
    // What the frame says about held movements: its code, and the rate beside it.
    void applyHeld(const Command* command, bool rate_code, int rate_az, int rate_el);
    void step(double dt_s);

    // Notes a change of state: for the log and, in capitals, for the picture.
    void note(const std::string& name, const std::string& detail);
    std::vector<std::pair<std::string, std::string>> takeNotes();

    // Servo.
    void servoRate(const Parameters& p);
    void setRate(int az, int el);
    void resumeHeldRate();
    void servoCentre(const Parameters& p);
    void digitalGuide(const Parameters& p);
    void lookDown(const Parameters& p);
    void stow(const Parameters& p);
    void servoOff(const Parameters& p);
    void gyroRate(const Parameters& p);
    void scanAzimuth(const Parameters& p);
    void scanElevation(const Parameters& p);
    void scanRun(const Parameters& p);
    void headingLock(const Parameters& p);
    void headingFollow(const Parameters& p);
    void attitudeGuide(const Parameters& p);
    void geoGuide(const Parameters& p);
    void geoTrack(const Parameters& p);
    void pointAt(const Parameters& p, bool keep);
    void leaveHeldPlace();
    // Tracker and detection.
    void trackPoint(const Parameters& p);
    void trackStop(const Parameters& p);
    void trackTemplate(const Parameters& p);
    void trackStep(const Parameters& p);
    void trackById(const Parameters& p);
    void autoTrack(const Parameters& p);
    void aiBox(const Parameters& p);
    void aiMode(const Parameters& p);
    void aiRoi(const Parameters& p);
    void locateMode(const Parameters& p);
    void releaseTrack();
    // Cameras and picture.
    void visibleLens(const Parameters& p);
    void infraredLens(const Parameters& p);
    void visibleImage(const Parameters& p);
    void focalLength(const Parameters& p);
    void sameFov(const Parameters& p);
    void fog(const Parameters& p);
    void nightMode(const Parameters& p);
    void palette(const Parameters& p);
    void electronicZoom(const Parameters& p);
    void backgroundNuc(const Parameters& p);
    void shutterNuc(const Parameters& p);
    void enhancement(const Parameters& p);
    void infraredDefaults(const Parameters& p);
    void infraredBrightness(const Parameters& p);
    void infraredContrast(const Parameters& p);
    void temperatureAlarm(const Parameters& p);
    void videoMode(const Parameters& p);
    void videoSwitch(const Parameters& p);
    void osd(const Parameters& p);
    void windowDefog(const Parameters& p);
    // Laser, storage, system.
    void snapshotPicture(const Parameters& p);
    void record(const Parameters& p);
    void illuminator(const Parameters& p);
    void rangeSingle(const Parameters& p);
    void rangeContinuous(const Parameters& p);
    void rangeStop(const Parameters& p);
    void timeSync(const Parameters& p);
    void loadEnable(const Parameters& p);
    void loadSleep(const Parameters& p);
    void setLoad(int index, bool on);
    void setIp(const Parameters& p);
    void navBlock(const Parameters& p);
    void folderNaming(const Parameters& p);
    void customText(const Parameters& p);
    void configuration(const Parameters& p);
    void requestInfo(const Parameters& p);
    void maintenanceMode(const Parameters& p);
    void encoder(const Parameters& p);
    void sbusChannels(const Parameters& p);
    void passThrough(const Parameters& p);
    void firmware(const Parameters& p);

    void moveLens(Lens& lens, int zoom, int focus, int speed, const Parameters& p);
    void refreshHand();
    void refresh();  // all of snapshot that follows from the rest
    void refreshTarget();
    void stepTracker(double dt_s);
    void stepLaser(double dt_s);
    void stepStorage(double dt_s);
    void stepHealth(double dt_s);
    void firePulse();
    double noise();  // -1..1

    mutable std::mutex mutex;
    Log log;
    PodConfig config;
    Snapshot s;
    Flight flight;
    Servo servo;
    Tracker tracker;
    Lens visible, infrared;
    ScanAxis scan_az, scan_el;
    Upgrade upgrade;
    double clock_offset_ms = 0;  // of the pod's clock from start_utc_ms + time
    double notice_s = 0, nuc_s = 0, snapshot_s = 0, boot_s = 0;
    double laser_wait_s = 0, laser_flash_s = 0;
    double auto_wait_s = 0;
    double storage_used_percent = 12.4;
    bool geo_keep = false;
    bool place_held = false;  // the servo points at a place for as long as its frames come
    Vec3 geo_point;
    Vec3 velocity;
    std::uint32_t random;
    double other_command_s = 1e9;  // since a command other than the position stream
    bool nav_seen = false;

    // The periodic frame before.
    std::uint16_t last_code = 0;
    std::uint8_t last_parameters[12] = {};
    bool rate_active = false;
    double held_az_dps = 0, held_el_dps = 0;  // of a latched pod: commanded and not yet stopped
    std::vector<std::pair<std::string, std::string>> notes;
};

}  // namespace podsim
