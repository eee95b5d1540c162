// Commands to laser, storage and system, and the table of all commands.
#include <algorithm>
#include <cmath>
#include <tuple>

#include "simulator/pod/calendar.h"
#include "simulator/pod/pod_state.h"
#include "simulator/pod/text.h"

namespace podsim {

const Pod::State::Command* Pod::State::find(std::uint16_t code) {
    constexpr Kind once = Kind::kOnce, lens = Kind::kLensHold, spot = Kind::kPlace;
    // By ascending code.
    static const Command kTable[] = {
        {17, once, &State::sbusChannels},     {19, once, &State::passThrough},
        {25, once, &State::folderNaming},     {26, once, &State::customText},
        {27, spot, &State::geoGuide},         {28, spot, &State::geoTrack},
        {32, once, &State::timeSync},         {33, once, &State::loadEnable},
        {34, once, &State::loadSleep},        {35, once, &State::trackTemplate},
        {36, once, &State::sameFov},          {37, once, &State::videoMode},
        {40, once, &State::windowDefog},      {41, once, &State::setIp},
        {49, once, &State::videoSwitch},      {50, once, &State::snapshotPicture},
        {51, once, &State::record},           {53, once, &State::illuminator},
        {54, once, &State::configuration},    {55, once, &State::osd},
        {56, once, &State::requestInfo},      {57, once, &State::maintenanceMode},
        {58, once, &State::trackPoint},       {59, once, &State::trackStop},
        {61, once, &State::rangeSingle},      {62, once, &State::rangeContinuous},
        {63, once, &State::rangeStop},        {65, once, &State::visibleImage},
        {69, lens, &State::visibleLens},      {74, once, &State::fog},
        {75, once, &State::nightMode},        {76, once, &State::focalLength},
        {80, lens, &State::infraredLens},     {83, once, &State::palette},
        {84, once, &State::electronicZoom},   {85, once, &State::backgroundNuc},
        {86, once, &State::shutterNuc},       {87, once, &State::enhancement},
        {88, once, &State::infraredDefaults}, {89, once, &State::infraredBrightness},
        {90, once, &State::infraredContrast}, {92, once, &State::temperatureAlarm},
        {98, once, &State::encoder},          {112, once, &State::servoRate},
        {113, once, &State::servoCentre},     {114, once, &State::digitalGuide},
        {115, once, &State::lookDown},        {116, once, &State::stow},
        {117, once, &State::servoOff},        {118, once, &State::gyroRate},
        {119, once, &State::scanAzimuth},     {120, once, &State::scanElevation},
        {121, once, &State::scanRun},         {122, once, &State::headingLock},
        {123, once, &State::headingFollow},   {124, once, &State::attitudeGuide},
        {132, once, &State::locateMode},      {144, once, &State::trackStep},
        {145, once, &State::aiBox},           {147, once, &State::trackById},
        {149, once, &State::autoTrack},       {154, once, &State::aiMode},
        {155, once, &State::aiRoi},           {1026, once, &State::navBlock},
        {12288, once, &State::firmware},
    };
    const auto* end = kTable + std::size(kTable);
    const auto* found = std::lower_bound(
        kTable, end, code, [](const Command& c, std::uint16_t wanted) { return c.code < wanted; });
    return found != end && found->code == code ? found : nullptr;
}

void Pod::State::snapshotPicture(const Parameters&) {
    snapshot_s = 0.6;
    ++s.snapshot_count;
    storage_used_percent += 0.05;
    note("snapshot", formatText("count=%d", s.snapshot_count));
}

void Pod::State::record(const Parameters&) {
    s.recording = !s.recording && storage_used_percent < 100;
    if (s.recording) {
        s.record_s = 0;
    }
    note("record", s.recording ? "on" : "off");
}

void Pod::State::illuminator(const Parameters& p) {
    if (p.byte(0) == 2) {
        s.illuminator_hz = (p.byte(1) | p.byte(2) << 8) / 100.0;
    } else {
        s.illuminator = p.byte(0) != 0;
    }
    s.red_dot = s.illuminator;
    note("laser-illuminator", formatText("%s %.2fHz", s.illuminator ? "on" : "off", s.illuminator_hz));
}

void Pod::State::rangeSingle(const Parameters&) {
    if (s.laser_on) {
        firePulse();
    }
    note("range-single", s.laser_on ? formatText("%.1fm", s.laser_range_m) : "laser=off");
}

void Pod::State::rangeContinuous(const Parameters& p) {
    s.laser_continuous = true;
    s.laser_period_s = std::clamp(p.byte(0), 1, 60);
    laser_wait_s = 0;
    note("range-continuous", formatText("every %ds", s.laser_period_s));
}

void Pod::State::rangeStop(const Parameters&) {
    s.laser_continuous = false;
    s.laser_range_m = 0;
    note("range-stop", "");
}

void Pod::State::timeSync(const Parameters& p) {
    if (p.size < 9) {
        note("time-sync", "too short");
        return;
    }
    const CalendarTime t = {p.byte(0) | p.byte(1) << 8,
                            std::clamp(p.byte(2), 1, 12),
                            std::clamp(p.byte(3), 1, 31),
                            p.byte(4),
                            p.byte(5),
                            p.byte(6),
                            (p.byte(7) | p.byte(8) << 8) * 10};
    clock_offset_ms = static_cast<double>(fromCalendar(t) - config.start_utc_ms) - s.time_s * 1000;
    note("time-sync",
         formatText("%04d-%02d-%02d %02d:%02d:%02d", t.year, t.month, t.day, t.hour, t.minute, t.second));
}

void Pod::State::setLoad(int index, bool on) {
    // The module bits of each load; loads without a bit have a switch of their own.
    constexpr std::uint8_t kBits[] = {0x7F, 0x1C, 0x02, 0x01, 0x00, 0x00, 0x00};
    constexpr const char* kNames[] = {"all", "servo", "visible", "infrared", "laser", "tracker", "cooler"};
    if (index >= static_cast<int>(std::size(kBits))) {
        note("load", formatText("%d refused", index));
        return;
    }
    const std::uint8_t bits = kBits[index];
    s.module_bits = static_cast<std::uint8_t>(on ? s.module_bits | bits : s.module_bits & ~bits);
    if (index == 0 || index == 4) {
        s.laser_on = on;
    }
    if (index == 0 || index == 5) {
        s.tracker_on = on;
    }
    if (index == 0 || index == 6) {
        s.cooler_on = on;
    }
    if (!s.tracker_on) {
        releaseTrack();
    }
    if (!s.laser_on) {
        s.laser_range_m = 0;
    }
    if (!on && (bits & 0x10) != 0) {
        releaseTrack();
        servo.off();
    } else if (on && (bits & 0x10) != 0 && servo.state() == ServoState::kOff) {
        servo.hold();
    }
    note(on ? "load-on" : "load-off", kNames[index]);
}

void Pod::State::loadEnable(const Parameters& p) { setLoad(p.byte(0), true); }

void Pod::State::loadSleep(const Parameters& p) { setLoad(p.byte(0), false); }

void Pod::State::setIp(const Parameters& p) {
    for (std::size_t i = 0; i < 4; ++i) {
        s.ip[i] = static_cast<std::uint8_t>(p.byte(i));
    }
    note("set-ip", formatText("%d.%d.%d.%d", p.byte(0), p.byte(1), p.byte(2), p.byte(3)));
}

void Pod::State::navBlock(const Parameters&) {
    // The values come in by setNav; here only the beginning of the stream is told.
    if (!nav_seen) {
        note("nav-stream", "begins");
    }
    nav_seen = true;
}

void Pod::State::folderNaming(const Parameters& p) {
    s.file_naming_ok = true;
    note("folder-naming", p.byte(0) == 1 ? "time" : formatText("text %.60s", p.text(1).c_str()));
}

void Pod::State::customText(const Parameters& p) {
    s.custom_text_x = p.word(0);
    s.custom_text_y = p.word(2);
    s.custom_text_on = p.byte(4) == 0;
    s.custom_text = p.text(5);
    note("custom-text",
         formatText("x=%d y=%d %s", s.custom_text_x, s.custom_text_y, s.custom_text_on ? "shown" : "hidden"));
}

void Pod::State::configuration(const Parameters& p) {
    if (p.byte(0) == 0) {
        s.config_saved = true;
        note("configuration", "saved");
        return;
    }
    infraredDefaults(p);
    s.sbus = kFactorySbus;
    s.vl_brightness = s.vl_contrast = s.vl_gain = s.fog_level = 0;
    s.vl_auto_gain = true;
    s.osd_word = 0;
    s.osd_style = 1;
    s.osd_level = 2;
    s.config_saved = false;
    note("configuration", "factory");
}

void Pod::State::requestInfo(const Parameters& p) { note("request-info", formatText("%d", p.byte(0))); }

void Pod::State::maintenanceMode(const Parameters& p) {
    constexpr int kReboot = 9, kUpgradeMode = 5;
    if (p.byte(0) != kReboot) {
        note("maintenance-mode", formatText("%d", p.byte(0)));
        upgrade.enter(p.byte(0) - kUpgradeMode);
        return;
    }
    ++s.reboot_count;
    boot_s = 3;
    releaseTrack();
    servo.hold();
    s.recording = false;
    note("reboot", formatText("count=%d", s.reboot_count));
    if (upgrade.restart()) {
        for (int module = 0; module < Upgrade::kModules; ++module) {
            const Upgrade::Firmware& firmware = upgrade.running(module);
            s.firmware_version[static_cast<std::size_t>(module)] = {firmware.major, firmware.minor};
        }
        std::tie(s.load_version_major, s.load_version_minor) = s.firmware_version[0];
        note("firmware-runs",
             formatText("main=%d.%d servo=%d.%d", s.firmware_version[0].first, s.firmware_version[0].second,
                        s.firmware_version[1].first, s.firmware_version[1].second));
    }
}

void Pod::State::encoder(const Parameters& p) {
    if (p.byte(0) == 0) {
        s.encoder_codec = p.byte(1);
    } else {
        s.encoder_bitrate_kbps = p.byte(1) | p.byte(2) << 8;
    }
    note("encoder", p.byte(0) == 0 ? formatText("codec=%d", s.encoder_codec)
                                   : formatText("bitrate=%d", s.encoder_bitrate_kbps));
}

void Pod::State::sbusChannels(const Parameters& p) {
    constexpr int kOfChannels = 2;
    if (p.byte(0) != kOfChannels || p.size < 1 + s.sbus.size()) {
        note("sbus-channels", formatText("%d bytes refused", static_cast<int>(p.size)));
        return;
    }
    std::string detail;
    for (std::size_t i = 0; i < s.sbus.size(); ++i) {
        s.sbus[i] = static_cast<std::uint8_t>(p.byte(1 + i));
        detail += formatText("%s%d%s", i == 0 ? "" : " ", s.sbus[i] & 15, (s.sbus[i] & 16) != 0 ? "r" : "");
    }
    note("sbus-channels", detail);
}

void Pod::State::passThrough(const Parameters& p) {
    note("pass-through", formatText("module=%d %d bytes", p.byte(0), static_cast<int>(p.size)));
}

void Pod::State::firmware(const Parameters& p) {
    constexpr int kProgram = 3;
    upgrade.take(p.data, p.size);
    // One of thousands is no change of state.
    if (p.byte(1) != kProgram) {
        note("firmware", formatText("module=%d step=%d", p.byte(0), p.byte(1)));
    }
}

}  // namespace podsim
