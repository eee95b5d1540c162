// Every hold-to-send button of the window: one 1001 for each 1000, whatever ends the hold.
#include <QDialog>
#include <QScrollArea>
#include <QTouchEvent>
#include <functional>
#include <memory>
#include <set>
#include <string>

#include "input/qmycmdbtn.h"
#include "link/command_catalogue.h"
#include "link_peer.h"
#include "tests/input/hold_recorder.h"
#include "video/my_tip_dialog.h"
#include "widgets/my_trans_dlg.h"
#include "x11_focus.h"

namespace {

// Every button of the window against every way in which a hold can end.
class HoldFaultsTest : public LinkTest {
protected:
    void SetUp() override {
        start();
        window->installEventFilter(&recorder);
        ui().tabWidget->show();
    }
    void TearDown() override {
        window->removeEventFilter(&recorder);
        LinkTest::TearDown();
    }

    std::vector<QMyCmdBtn*> buttons() const {
        std::vector<QMyCmdBtn*> all;
        for (QWidget* page : {ui().tab_test, ui().tab_ctl_ex}) {
            for (auto* b : page->findChildren<QMyCmdBtn*>()) {
                all.push_back(b);
            }
        }
        return all;
    }
    void bringUp(QMyCmdBtn* b) {
        window->show();
        ui().tabWidget->show();
        for (int page = 0; page < 2; ++page) {
            if (ui().tabWidget->widget(page)->isAncestorOf(b)) {
                ui().tabWidget->setCurrentIndex(page);
            }
        }
        for (int servo_frame = 0; servo_frame < 2 && !b->isVisible(); ++servo_frame) {
            window->setServoFrame(servo_frame);
        }
        b->setEnabled(true);
        for (QWidget* w = b->parentWidget(); w != nullptr; w = w->parentWidget()) {
            if (auto* scrolled = qobject_cast<QScrollArea*>(w)) {
                scrolled->ensureWidgetVisible(b);
            }
        }
        ASSERT_TRUE(b->isVisible());
    }
    // Presses each button, lets `fault` end the hold, and expects one release then and none when the operator
    // lets go.
    void forEach(const std::function<void(QMyCmdBtn*)>& fault, bool survives = true) {
        const auto all = buttons();
        std::set<std::string> listed;
        for (const auto& row : sorvane::commandCatalogue()) {
            if (row.kind == sorvane::ControlKind::kButton) {
                listed.insert(row.object);
            }
        }
        EXPECT_EQ(all.size(), listed.size());
        for (QMyCmdBtn* b : all) {
            SCOPED_TRACE(b->objectName().toStdString());
            bringUp(b);
            QTest::mousePress(b, Qt::LeftButton);
            EXPECT_EQ(recorder.take(), kDown);
            fault(b);
            EXPECT_EQ(recorder.take(), kUp);
            if (!survives) {
                continue;
            }
            EXPECT_FALSE(b->isHeld());
            EXPECT_FALSE(b->isDown());
            b->setEnabled(true);
            QTest::mouseRelease(b, Qt::LeftButton);
            EXPECT_EQ(recorder.take(), Types());
        }
    }

    HoldRecorder recorder;
};

TEST_F(HoldFaultsTest, Release) {
    forEach([](QMyCmdBtn* b) { QTest::mouseRelease(b, Qt::LeftButton); });
}

TEST_F(HoldFaultsTest, ActivationLost) {
    forEach([](QMyCmdBtn*) {
        emit qApp->applicationStateChanged(Qt::ApplicationInactive);
        emit qApp->applicationStateChanged(Qt::ApplicationActive);
    });
}

TEST_F(HoldFaultsTest, ActivationLostToTheDesktop) {
    bringUp(ui().pushButton_119);
    QTest::mousePress(ui().pushButton_119, Qt::LeftButton);
    ASSERT_TRUE(giveFocusAway());
    EXPECT_TRUE(waitFor([this] { return recorder.types.size() == 2; }));
    EXPECT_EQ(recorder.take(), (Types{1000, 1001}));
    QTest::mouseRelease(ui().pushButton_119, Qt::LeftButton);
    EXPECT_EQ(recorder.take(), Types());
}

TEST_F(HoldFaultsTest, OwnWindowsDoNotEndTheHold) {
    bringUp(ui().pushButton_119);
    QTest::mousePress(ui().pushButton_119, Qt::LeftButton);
    window->showDragRing(QPoint(300, 300));
    window->showDragDot(QPoint(320, 300));
    in().m_stateTab()->hide();
    in().m_stateTab()->show();
    in().m_tip1()->show();
    in().m_tip2()->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(in().m_tip2()));
    EXPECT_TRUE(window->isActiveWindow());
    window->OnFileSettings();
    ASSERT_TRUE(waitFor([this] { return in().m_settings()->isActiveWindow(); }));
    window->hideDragMarks();
    EXPECT_EQ(recorder.take(), kDown);
    QTest::mouseRelease(ui().pushButton_119, Qt::LeftButton);
    EXPECT_EQ(recorder.take(), kUp);
}

TEST_F(HoldFaultsTest, ButtonHidden) {
    forEach([](QMyCmdBtn* b) {
        b->hide();
        b->show();
    });
}

TEST_F(HoldFaultsTest, ButtonDisabled) {
    forEach([](QMyCmdBtn* b) { b->setEnabled(false); });
}

TEST_F(HoldFaultsTest, ButtonDestroyed) {
    forEach([](QMyCmdBtn* b) { delete b; }, false);
}

TEST_F(HoldFaultsTest, TabChanged) {
    forEach([this](QMyCmdBtn*) { ui().tabWidget->setCurrentIndex(1 - ui().tabWidget->currentIndex()); });
}

TEST_F(HoldFaultsTest, PaneClosed) {
    forEach([this](QMyCmdBtn*) { ui().tabWidget->hide(); });
}

TEST_F(HoldFaultsTest, ModalBox) {
    forEach([this](QMyCmdBtn*) {
        QDialog box(window.get());
        box.setModal(true);
        box.show();
        waitFor([this] { return recorder.types.size() >= 1; }, 2000);
    });
}

TEST_F(HoldFaultsTest, TouchCancelled) {
    for (QMyCmdBtn* b : buttons()) {
        SCOPED_TRACE(b->objectName().toStdString());
        bringUp(b);
        touchPress(b);
        EXPECT_EQ(recorder.take(), kDown);
        QTouchEvent cancel(QEvent::TouchCancel, touchScreen());
        QCoreApplication::sendEvent(b, &cancel);
        EXPECT_EQ(recorder.take(), kUp);
        touchRelease(b, b->rect().center());
        QTest::mouseRelease(b, Qt::LeftButton);
        EXPECT_EQ(recorder.take(), Types());
    }
}

TEST_F(HoldFaultsTest, ProgramClosing) {
    forEach([this](QMyCmdBtn*) { window->close(); });
}

TEST_F(HoldFaultsTest, ClosingSendsTheStopFrameInSingleMode) {
    openUdp();
    bringUp(ui().pushButton_118);
    QTest::mousePress(ui().pushButton_118, Qt::LeftButton);
    window->close();
    ASSERT_TRUE(waitFor([this] { return peer.count() >= 2; }));
    EXPECT_EQ(peer.take().back(), hex("FB2CAA0645000000000043"));
}

TEST_F(HoldFaultsTest, ClosingSendsTheReleaseFramesInPeriodicMode) {
    openUdp();
    choosePeriodic();
    const auto lastParts = [this] {
        std::vector<QByteArray> parts;
        for (const QByteArray& f : peer.frames()) {
            if (f.size() == 44) {
                parts.push_back(f.mid(2, 5) + f.mid(37, 5));
            }
        }
        return parts;
    };
    bringUp(ui().pushButton_112);
    QTest::mousePress(ui().pushButton_112, Qt::LeftButton);
    peer.take();
    window->close();
    const QByteArray moving =
        hex("00000000"
            "00"
            "700A000000");
    const QByteArray zero_rate =
        hex("00000000"
            "00"
            "7000000000");
    ASSERT_TRUE(waitFor([&] { return lastParts().size() >= 2; }));
    const auto parts = lastParts();
    EXPECT_EQ(parts[parts.size() - 2], moving);
    EXPECT_EQ(parts.back(), zero_rate);
}

// No tick has seen the release yet when the window goes.
TEST_F(HoldFaultsTest, ClosingRightAfterTheReleaseStillEndsTheMovementInPeriodicMode) {
    window->config().send_period_ms = 1000;
    openUdp();
    choosePeriodic();
    bringUp(ui().pushButton_118);
    letTheStartEnd();
    peer.take();
    QTest::mousePress(ui().pushButton_118, Qt::LeftButton);
    QTest::mouseRelease(ui().pushButton_118, Qt::LeftButton);
    window->close();
    std::vector<QByteArray> codes;
    ASSERT_TRUE(waitFor([&] {
        for (const QByteArray& f : peer.take()) {
            codes.push_back(f.mid(2, 3));
        }
        return codes.size() >= 3;
    }));
    ASSERT_GE(codes.size(), 3U);
    EXPECT_EQ(std::vector<QByteArray>(codes.end() - 3, codes.end()),
              (std::vector<QByteArray>{hex("450104"), hex("450000"), hex("000000")}));
}

TEST_F(HoldFaultsTest, ButtonWithoutTargetReportsToTheMainWindow) {
    QMyCmdBtn loose;
    loose.setObjectName("pushButton_107");
    loose.show();
    QTest::mousePress(&loose, Qt::LeftButton);
    QTest::mouseRelease(&loose, Qt::LeftButton);
    EXPECT_EQ(recorder.take(), (Types{1000, 1001}));
    EXPECT_EQ(in().m_lastCode(), 115);
}

TEST_F(HoldFaultsTest, UnknownSenderDoesNothing) {
    const int last = in().m_lastCode();
    QMyCmdBtn loose;
    loose.setObjectName("pushButton_9999");
    loose.show();
    QTest::mousePress(&loose, Qt::LeftButton);
    QTest::mouseRelease(&loose, Qt::LeftButton);
    EXPECT_EQ(in().m_lastCode(), last);
    QMyEvent orphan(EVT_CMD_BTN_DOWN, nullptr, nullptr, 0);
    QCoreApplication::sendEvent(window.get(), &orphan);
    EXPECT_EQ(in().m_lastCode(), last);
}

}  // namespace
