// What the controls of the two command pages hold: items, start values, texts of both languages, which of
// them can be used.
#pragma once

#include <QCoreApplication>

class MarkedRow;
class MyAppConfig;
class QObject;
struct MainForm;

// The form outlives this object. GUI thread.
class CommandFields {
    Q_DECLARE_TR_FUNCTIONS(Korvath)

public:
    // Groups the radio buttons, each choice of its own (frame mode first), and wires the controls that only
    // change other controls. `owner` owns the groups.
    CommandFields(const MainForm& form, QObject& owner);

    // Items of the combo boxes with fixed items, and the start index of those that the configuration names.
    void fillCombos(const MyAppConfig& config);
    // Start values of the edits from the configuration.
    void fillEdits(const MyAppConfig& config);
    // Item texts, and the start values of the edits that a language change resets.
    void retranslate();
    // What the edits and boxes hold, into the configuration.
    void store(MyAppConfig& config) const;

    // The picture that the pod reports (0 to 6) is marked in the open list of the display mode; what is
    // chosen there stays the operator's.
    void showReportedMode(int mode);

    // Three axes hide the two-axis set-up of angle and speed; two axes have it instead of the scan set-ups.
    void showServoFrame(bool two_axes);
    // The text and the box that follow the servo mode.
    void showServoMode(bool frame_mode);
    // A locked axis (index 1) has no speed.
    void onAzimuthMode(int index);
    void onPitchMode(int index);
    // The illuminator's rate can be set while it is on.
    void onIlluminator(bool on);

private:
    void groupRadioButtons(QObject& owner);
    void connectRate(QObject& owner);

    const MainForm& m_form;
    MarkedRow* m_reportedMode;
};
