// Object names of the controls that commands read, under names of meaning. The form gives the names; the
// station finds its controls by them.
#pragma once

namespace sorvane::control {

// Servo.
constexpr const char* kRate = "horizontalSlider";
constexpr const char* kGyroSpeed = "comboBox";
constexpr const char* kGuideAzimuth = "lineEdit";  // degrees
constexpr const char* kGuidePitch = "lineEdit_2";

// Lens and laser.
constexpr const char* kVisibleSpeed = "comboBox_2";
constexpr const char* kRangePeriod = "comboBox_6";  // seconds
constexpr const char* kFocalLength = "lineEdit_21";
constexpr const char* kIlluminatorRate = "lineEdit_211";
constexpr const char* kAlarmOn = "widget_82";
constexpr const char* kAlarmThreshold = "lineEdit_212";
constexpr const char* kEnhancement = "comboBox_5";

// The pod's address, its four bytes.
constexpr const char* kAddress1 = "lineEdit_4";
constexpr const char* kAddress2 = "lineEdit_5";
constexpr const char* kAddress3 = "lineEdit_16";
constexpr const char* kAddress4 = "lineEdit_19";

// Tracking and detection.
constexpr const char* kTemplateSize = "comboBox_3";
constexpr const char* kTemplateWidth = "lineEdit_6";  // pixels
constexpr const char* kTemplateHeight = "lineEdit_7";
constexpr const char* kTrackId = "lineEdit_24";
constexpr const char* kDetectionSources[] = {"radioButton_15", "radioButton_16"};
constexpr const char* kDetectionMethods[] = {"radioButton_17", "radioButton_18", "radioButton_19"};
constexpr const char* kRegionX = "lineEdit_9";  // pixels
constexpr const char* kRegionY = "lineEdit_8";

// Scan: centre, range and speed of each axis, its mode (0 scan, 1 lock); angle and speed of a frame with two
// axes.
constexpr const char* kAzimuthCentre = "lineEdit_12";
constexpr const char* kAzimuthRange = "lineEdit_13";
constexpr const char* kAzimuthSpeed = "lineEdit_14";
constexpr const char* kAzimuthMode = "comboBox_14";
constexpr const char* kPitchCentre = "lineEdit_11";
constexpr const char* kPitchRange = "lineEdit_10";
constexpr const char* kPitchSpeed = "lineEdit_15";
constexpr const char* kPitchMode = "comboBox_15";
constexpr const char* kTwoAxisAngle = "lineEdit_22";
constexpr const char* kTwoAxisSpeed = "lineEdit_23";

// Position of a geographic command.
constexpr const char* kLongitude = "lineEdit_18";  // degrees
constexpr const char* kLatitude = "lineEdit_20";
constexpr const char* kAltitude = "lineEdit_17";  // metres

// The pod's on-screen display, on the settings page.
constexpr const char* kOsdColour = "comboBox_12";
constexpr const char* kOsdLanguage = "comboBox_13";

// Controls whose command is sent by the window itself.
constexpr const char* kPalette = "comboBox_4";
constexpr const char* kFogLevel = "comboBox_7";
constexpr const char* kLoadEnable = "comboBox_8";
constexpr const char* kLoadSleep = "comboBox_9";
constexpr const char* kDisplayMode = "comboBox_10";
constexpr const char* kOsdMode = "comboBox_11";
constexpr const char* kLocateMode = "comboBox_13";
constexpr const char* kDetectionBoxes = "widget_3";
constexpr const char* kIlluminator = "widget_81";
constexpr const char* kNightMode = "widget";
constexpr const char* kStabilisation = "widget_2";
constexpr const char* kAutoTrack = "widget_4";
constexpr const char* kWindowDemist = "widget_8";

}  // namespace sorvane::control
