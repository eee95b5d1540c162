// Which arrivals belong to which source, and what the tips say.
#include "board_fixture.h"

namespace {

using sorvane::PulseState;

TEST_F(BoardTest, NothingInUseNothingToTell) {
    board.look();
    for (const PulseSource source : kPulseSources) {
        EXPECT_EQ(state(source), PulseState::kAbsent);
    }
    EXPECT_FALSE(board.trouble());
}

TEST_F(BoardTest, EachArrivalBelongsToItsSourceAlone) {
    playing1 = playing2 = true;
    link_state = 2;
    ins_handle = 7;
    const std::function<void()> arrivals[] = {
        [this] { board.pictureCame(1); }, [this] { board.pictureCame(2); }, [this] { board.reportCame(); },
        [this] { board.sent(true); }, [this] { board.inertialCame(); }};
    board.look();
    for (const PulseSource source : kPulseSources) {
        pass(5000);
        arrivals[static_cast<std::size_t>(source)]();
        for (const PulseSource each : kPulseSources) {
            EXPECT_EQ(board.reading(each).age_ms == 0, each == source);
            EXPECT_EQ(state(each), each == source ? PulseState::kOk : PulseState::kDanger);
        }
    }
}

TEST_F(BoardTest, EachFieldBringsItsSources) {
    const auto inUse = [this] {
        board.look();
        QList<PulseSource> present;
        for (const PulseSource source : kPulseSources) {
            if (state(source) != PulseState::kAbsent) {
                present << source;
            }
        }
        return present;
    };
    playing1 = true;
    EXPECT_EQ(inUse(), QList<PulseSource>{PulseSource::kPicture1});
    playing1 = false;
    playing2 = true;
    EXPECT_EQ(inUse(), QList<PulseSource>{PulseSource::kPicture2});
    playing2 = false;
    link_state = 3;
    EXPECT_EQ(inUse(), (QList<PulseSource>{PulseSource::kReport, PulseSource::kSending}));
    link_state = 0;
    ins_handle = 0;
    EXPECT_EQ(inUse(), QList<PulseSource>{PulseSource::kInertial});
}

TEST_F(BoardTest, AnArrivalBeforeTheFirstLookCounts) {
    link_state = 2;
    board.reportCame();
    now += 300;
    EXPECT_EQ(board.reading(PulseSource::kReport).age_ms, 300);
}

TEST_F(BoardTest, OnlyInUseIsThereTrouble) {
    playing1 = true;
    arrive(20, 40, [this] { board.pictureCame(1); });
    EXPECT_FALSE(board.trouble());
    pass(300);
    EXPECT_TRUE(board.trouble());
    playing1 = false;
    pass(0);
    EXPECT_FALSE(board.trouble());
}

TEST_F(BoardTest, APictureIsFrozenFromOneSecondOn) {
    playing1 = playing2 = true;
    pass(5000);
    EXPECT_FALSE(board.frozen(1)) << "there is none yet";
    arrive(20, 40, [this] { board.pictureCame(1); });
    EXPECT_FALSE(board.frozen(1));
    pass(999);
    EXPECT_FALSE(board.frozen(1));
    pass(1);
    EXPECT_TRUE(board.frozen(1));
    EXPECT_FALSE(board.frozen(2));
    board.pictureCame(1);
    EXPECT_FALSE(board.frozen(1));
    pass(1500);
    EXPECT_TRUE(board.frozen(1));
    playing1 = false;
    pass(0);
    EXPECT_FALSE(board.frozen(1)) << "closed";
}

TEST_F(BoardTest, SendingOnDemandIsJudgedByItsFateAndNotByItsAge) {
    link_state = 2;
    by_itself = false;
    pass(60'000);
    EXPECT_EQ(state(PulseSource::kSending), PulseState::kOk);
    board.sent(false);
    EXPECT_EQ(state(PulseSource::kSending), PulseState::kDanger);
    EXPECT_TRUE(board.tip(PulseSource::kSending).contains(QString::fromUtf8("未被系统接收：1")));
    EXPECT_TRUE(board.tip(PulseSource::kSending)
                    .contains(QString::fromUtf8("最近错误：14:03:22 系统未接收待发数据")));
    board.sent(true);
    pass(60'000);
    EXPECT_EQ(state(PulseSource::kSending), PulseState::kOk);
    EXPECT_TRUE(board.tip(PulseSource::kSending).contains(QString::fromUtf8("频率：按需发送")));
}

TEST_F(BoardTest, ALineThatCannotSendIsDangerAndTheTipSaysWhy) {
    link_state = 2;
    arrive(20, 40, [this] { board.sent(true); });
    EXPECT_EQ(state(PulseSource::kSending), PulseState::kOk);
    send_trouble = "no route";
    arrive(1, 40, [this] { board.sent(true); });
    EXPECT_EQ(state(PulseSource::kSending), PulseState::kDanger);
    send_trouble.clear();
    arrive(1, 40, [this] { board.sent(true); });
    EXPECT_EQ(state(PulseSource::kSending), PulseState::kOk);
    EXPECT_TRUE(board.tip(PulseSource::kSending).contains("14:03:22 no route"))
        << "the last one stays to be read";
    EXPECT_EQ(state(PulseSource::kReport), PulseState::kWarn) << "reports are another matter";
}

TEST_F(BoardTest, TheTipTellsRateLossesAndTheLastError) {
    playing1 = true;
    pass(0);
    arrive(60, 40, [this] { board.pictureCame(1); });
    EXPECT_EQ(board.tip(PulseSource::kPicture1),
              QString::fromUtf8(
                  "视频1：最后一帧画面的时间\n频率：每秒 25.0\n中断：无\n最近错误：无\n点击打开其连接设置"));
    pass(1240);
    EXPECT_TRUE(board.tip(PulseSource::kPicture1).contains(QString::fromUtf8("频率：每秒 9.5")))
        << board.tip(PulseSource::kPicture1).toStdString();
    board.pictureCame(1);
    const QString tip = board.tip(PulseSource::kPicture1);
    EXPECT_TRUE(tip.contains(QString::fromUtf8("中断：1 次，约缺 30，最长 1.2 s"))) << tip.toStdString();
    EXPECT_TRUE(tip.contains(QString::fromUtf8("最近错误：14:03:22 中断 1.2 s"))) << tip.toStdString();
}

TEST_F(BoardTest, ANewUseForgetsTheErrorsOfTheOneBefore) {
    playing2 = true;
    arrive(20, 40, [this] { board.pictureCame(2); });
    arrive(1, 900, [this] { board.pictureCame(2); });
    ASSERT_FALSE(board.tip(PulseSource::kPicture2).contains(QString::fromUtf8("最近错误：无")));
    playing2 = false;
    pass(40);
    playing2 = true;
    pass(40);
    EXPECT_TRUE(board.tip(PulseSource::kPicture2).contains(QString::fromUtf8("最近错误：无")));
}

}  // namespace
