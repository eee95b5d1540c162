// What the game controller sends: each function and both roles in both protocol modes.
#include "stick_sends.h"

namespace {

struct Function {
    int row;
    QByteArray frame;  // in single mode, display mode 1
    int code;
    const char* parameters;
};

// By the row of the page's list; the zoom follows the shown picture, so it stands twice.
const Function kFunctions[] = {
    {1, fourBytes(113, "00000000"), 113, "00000000"}, {2, fourBytes(116, "00000000"), 116, "00000000"},
    {3, fourBytes(50, "00000000"), 50, "00000000"},   {4, fourBytes(51, "00000000"), 51, "00000000"},
    {5, fourBytes(49, "00000000"), 49, "00000000"},   {6, fourBytes(115, "00000000"), 115, "00000000"},
    {7, fourBytes(58, "00000000"), 58, "00000000"},   {8, fourBytes(61, "00000000"), 61, "00000000"},
    {9, fourBytes(69, "01000000"), 69, "01000000"},   {10, fourBytes(69, "02000000"), 69, "02000000"},
};

TEST_F(StickSends, EachFunctionInSingleMode) {
    begin();
    for (const Function& f : kFunctions) {
        give(0, f.row);
        hold(1);
        EXPECT_EQ(sent(), QStringList(text(f.frame))) << f.row;
        hold(0);
        // Of these only a lens has a stop.
        EXPECT_EQ(sent(), f.code == 69 ? QStringList(kStop69) : QStringList()) << f.row;
    }
}

TEST_F(StickSends, EachFunctionInPeriodicMode) {
    begin(false);
    for (const Function& f : kFunctions) {
        give(0, f.row);
        hold(1);
        EXPECT_EQ(sent(), QStringList());
        const QString held = QStringLiteral("%1%2 0000000000")
                                 .arg(f.code, 2, 16, QLatin1Char('0'))
                                 .arg(QLatin1String(f.parameters));
        EXPECT_EQ(fixedParts(tick()), QStringList(held)) << f.row;
        hold(0);
        const QStringList after = fixedParts(tick());
        ASSERT_FALSE(after.isEmpty()) << f.row;
        // Tracking goes out once; everything else once more before its end.
        EXPECT_EQ(after.front(), f.code == 58 ? QStringLiteral("0000000000 0000000000") : held) << f.row;
        EXPECT_EQ(after.mid(1), f.code == 69 ? QStringList("4500000000 0000000000") : QStringList()) << f.row;
        EXPECT_EQ(fixedParts(tick()), QStringList("0000000000 0000000000")) << f.row;
    }
}

TEST_F(StickSends, ZoomMovesTheLensOfTheShownPicture) {
    begin();
    for (const int infrared : {0, 3}) {
        in().m_telemetry().display_mode = static_cast<std::uint8_t>(infrared);
        give(0, 9);
        hold(1);
        hold(0);
        EXPECT_EQ(sent(), (QStringList{text(fourBytes(80, "0f000000")), text(fourBytes(80, "00000000"))}));
        give(0, 10);
        hold(1);
        hold(0);
        EXPECT_EQ(sent(), (QStringList{text(fourBytes(80, "10000000")), text(fourBytes(80, "00000000"))}));
    }
    for (const int visible : {1, 2, 4, 5, 6}) {
        in().m_telemetry().display_mode = static_cast<std::uint8_t>(visible);
        hold(1);
        EXPECT_EQ(sent(), QStringList(text(fourBytes(69, "02000000")))) << visible;
        hold(0);
        sent();
    }
}

TEST_F(StickSends, TrackStartsAtTheCentreAndTheSameButtonStopsIt) {
    begin();
    give(3, 7);
    hold(8);
    EXPECT_EQ(sent(), QStringList(text(fourBytes(58, "00000000"))));
    hold(0);
    EXPECT_EQ(sent(), QStringList());
    reportTracking(true);
    hold(8);
    EXPECT_EQ(sent(), QStringList(text(fourBytes(59, "00000000"))));
    EXPECT_GT(in().m_stopTimer(), 0);
    hold(0);
    reportTracking(false);
    hold(8);
    EXPECT_EQ(sent(), QStringList(text(fourBytes(58, "00000000"))));
}

TEST_F(StickSends, TheOsdCounterIsNotResetByTheComboBox) {
    begin();
    give(0, 11);
    // The counter belongs to the process: where it stands is seen at the first press.
    hold(1);
    const std::vector<QByteArray> first = take();
    ASSERT_EQ(first.size(), 1U);
    const int at = static_cast<unsigned char>(first[0][6]);
    ASSERT_EQ(first[0], variableFrame(55, QByteArray(1, static_cast<char>(at)) + hex("000000")));
    hold(0);
    take();
    // The operator chooses by hand what comes next anyway, then something else.
    for (int press = 1; press <= 4; ++press) {
        ui().comboBox_11->setCurrentIndex(press % 3);
        emit ui().comboBox_11->activated(press % 3);
        take();
        hold(1);
        EXPECT_EQ(sent(), QStringList(text(variableFrame(
                              55, QByteArray(1, static_cast<char>((at + press) % 3)) + hex("000000")))));
        EXPECT_EQ(ui().comboBox_11->currentIndex(), press % 3) << "the box is not touched";
        hold(0);
        take();
    }
}

TEST_F(StickSends, BothRolesInSingleMode) {
    begin();
    steer(1, 2);
    moveX(1.0);
    EXPECT_EQ(sent(), QStringList(text(rateFrame(25, 0))));
    poll();
    EXPECT_EQ(sent(), QStringList(text(rateFrame(25, 0)))) << "at every poll";
    moveX(-1.0);
    EXPECT_EQ(sent(), QStringList(text(rateFrame(-25, 0))));
    // A diagonal alternates within a poll.
    moveY(0.5);
    EXPECT_EQ(sent(), (QStringList{text(rateFrame(-25, 0)), text(rateFrame(0, 12))}));
    moveX(0.0);
    EXPECT_EQ(sent(), (QStringList{kStop112, text(rateFrame(0, 12))}));
    moveY(0.0);
    EXPECT_EQ(sent(), QStringList(kStop112));
    poll();
    EXPECT_EQ(sent(), QStringList());
}

TEST_F(StickSends, BothRolesInPeriodicMode) {
    begin(false);
    steer(1, 2);
    moveX(1.0);
    EXPECT_EQ(sent(), QStringList());
    EXPECT_EQ(fixedParts(tick()), QStringList("0000000000 7019000000"));
    moveX(0.0);
    moveY(-1.0);
    EXPECT_EQ(fixedParts(tick()), QStringList("0000000000 700000e7ff"));
    EXPECT_EQ(fixedParts(tick()), QStringList("0000000000 700000e7ff"));
    moveY(0.0);
    EXPECT_EQ(fixedParts(tick()), QStringList("0000000000 700000e7ff"));
    EXPECT_EQ(fixedParts(tick()), QStringList("0000000000 7000000000")) << "the next tick stands";
}

TEST_F(StickSends, ReversalsAreReadAtEveryPoll) {
    begin();
    steer(1, 2);
    form().checkBox_13->setChecked(true);
    moveX(1.0);
    EXPECT_EQ(sent(), QStringList(text(rateFrame(-25, 0))));
    form().checkBox_13->setChecked(false);
    form().checkBox_14->setChecked(true);
    poll();
    EXPECT_EQ(sent(), QStringList(text(rateFrame(25, 0))));
    moveX(0.0);
    moveY(1.0);
    EXPECT_EQ(sent(), (QStringList{kStop112, text(rateFrame(0, -25))}));
}

TEST_F(StickSends, SensitivityFromNoughtToTwenty) {
    begin();
    steer(1, 0);
    form().horizontalSlider->setValue(0);
    moveX(1.0);
    poll();
    EXPECT_EQ(sent(), (QStringList{kStop112, kStop112})) << "rates of nought still go out at each poll";
    form().horizontalSlider->setValue(20);
    poll();
    EXPECT_EQ(sent(), QStringList(text(rateFrame(50, 0))));
    moveX(-1.0);
    EXPECT_EQ(sent(), QStringList(text(rateFrame(-50, 0))));
}

TEST_F(StickSends, AnAxisAtRestSendsNothing) {
    begin();
    steer(1, 2);
    for (const double part : {0.0, 0.12, -0.12, 0.05}) {
        moveX(part);
        moveY(-part);
    }
    EXPECT_EQ(sent(), QStringList());
}

TEST_F(StickSends, AnUnassignedAxisSendsNothingButItsStop) {
    begin();
    window->sendCommand4(69, 1, 0, 0, 0);
    sent();
    moveZ(1.0);
    EXPECT_EQ(sent(), QStringList());
    moveZ(0.0);
    EXPECT_EQ(sent(), QStringList(kStop69));
}

TEST_F(StickSends, AMovedStickLeavesTrackingAndItsReturnSendsNoStop) {
    begin();
    steer(1, 0);
    reportTracking(true);
    const QString stop_tracking = text(fourBytes(59, "00000000"));
    moveX(1.0);
    poll();
    EXPECT_EQ(sent(), (QStringList{stop_tracking, stop_tracking}));
    // An axis without a role leaves the pod tracking.
    moveX(0.0);
    moveZ(1.0);
    moveZ(0.0);
    EXPECT_EQ(sent(), QStringList());
}

}  // namespace
