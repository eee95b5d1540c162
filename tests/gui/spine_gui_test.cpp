// The main window's spine: events, filter, timers, view modes, status bar, title.
#include <QAction>
#include <QLabel>
#include <QLayout>
#include <QMenu>
#include <QMetaMethod>
#include <QProcess>
#include <QSignalSpy>
#include <QToolBar>
#include <QToolButton>

#include "app/events/stream_callbacks.h"
#include "app/process_services.h"
#include "korvath_fixture.h"
#include "widgets/my_trans_dlg.h"

namespace {

class Spine : public KorvathTest {
protected:
    void SetUp() override { start(); }
    void xdotool(const QStringList& arguments) { ASSERT_EQ(QProcess::execute("xdotool", arguments), 0); }
    // Left edge of the window as the X server has it; -1 when it does not say.
    int xOnServer() const {
        QProcess query;
        query.start("xdotool", {"getwindowgeometry", "--shell", QString::number(window->winId())});
        query.waitForFinished();
        for (const QByteArray& line : query.readAllStandardOutput().split('\n')) {
            if (line.startsWith("X=")) {
                return line.mid(2).toInt();
            }
        }
        return -1;
    }
};

// Remembers the numbers of the custom events that reach an object.
class EventRecorder : public QObject {
public:
    bool eventFilter(QObject* obj, QEvent* e) override {
        if (e->type() >= 1000 && e->type() <= 1010) {
            types.push_back(static_cast<int>(e->type()));
            accepted.push_back(e->isAccepted());
        }
        return QObject::eventFilter(obj, e);
    }
    QVector<int> types;
    QVector<bool> accepted;
};

TEST(Process, PlainEventsPostedBeforeTheLoopAreDeliveredInOrder) {
    Korvath window;
    setInstance(&window);
    EventRecorder recorder;
    window.installEventFilter(&recorder);
    Replay_Start_Callback();
    Replay_End_Callback();
    Play_Fail_CallBack();
    EXPECT_TRUE(recorder.types.isEmpty());
    QTimer::singleShot(0, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
    EXPECT_EQ(recorder.types, (QVector<int>{1002, 1003, 1006}));
    setInstance(nullptr);
}

TEST(Process, WithoutAWindowTheCallbacksPostNothing) {
    setInstance(nullptr);
    Play_Fail_CallBack();
    Replay_Start_Callback();
    Replay_End_Callback();
    EXPECT_EQ(instance(), nullptr);
}

TEST(Process, AutoStartRegistersOnceAndFollowsThePath) {
    const QString home = QCoreApplication::applicationDirPath() + "/autostart-home";
    qputenv("XDG_CONFIG_HOME", home.toLocal8Bit());
    QDir(home).removeRecursively();
    const QString file = home + "/autostart/sorvane.desktop";
    const auto content = [&file] {
        QFile entry(file);
        return entry.open(QIODevice::ReadOnly) ? entry.readAll() : QByteArray();
    };
    setAutoStart("/opt/one two/sorvane");
    EXPECT_EQ(content(), "[Desktop Entry]\nType=Application\nName=sorvane\nExec=\"/opt/one two/sorvane\"\n");
    // The same path again writes nothing: the file may not even be writable then.
    QFile::setPermissions(file, QFile::ReadOwner);
    const QDateTime written = QFileInfo(file).lastModified();
    setAutoStart("/opt/one two/sorvane");
    EXPECT_EQ(QFileInfo(file).lastModified(), written);
    QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner);
    setAutoStart("/opt/50%$/sorvane");
    EXPECT_TRUE(content().contains("\nExec=\"/opt/50%%\\\\$/sorvane\"\n")) << content().constData();
    QDir(home).removeRecursively();
    qunsetenv("XDG_CONFIG_HOME");
}

TEST_F(Spine, AnEventWithoutAHandlerGoesOnUnchanged) {
    EventRecorder recorder;
    window->installEventFilter(&recorder);
    for (const int type : {1006, 1999}) {
        QMyPlainEvent event(type);
        event.ignore();
        QMyPlainEvent same(type);
        same.ignore();
        QMainWindow plain;
        EXPECT_EQ(QCoreApplication::sendEvent(window.get(), &event),
                  QCoreApplication::sendEvent(&plain, &same))
            << type;
        EXPECT_EQ(event.isAccepted(), same.isAccepted()) << type;
    }
    EXPECT_EQ(recorder.types, QVector<int>{1006});
}

TEST_F(Spine, APressOnTheTitleMovesTheWindowThroughTheSystem) {
    window->showNormal();
    window->resize(900, 600);
    ASSERT_TRUE(waitFor([&] { return !window->isMaximized() && window->width() < 1000; }));
    window->move(200, 150);
    ASSERT_TRUE(waitFor([&] { return window->pos() == QPoint(200, 150); }));
    class MoveCounter : public QObject {
    public:
        bool eventFilter(QObject*, QEvent* e) override {
            moves += e->type() == QEvent::MouseMove ? 1 : 0;
            return false;
        }
        int moves = 0;
    } counter;
    window->installEventFilter(&counter);
    const QPoint grip = ui().label_102->mapToGlobal(ui().label_102->rect().center());
    xdotool({"mousemove", QString::number(grip.x()), QString::number(grip.y())});
    ASSERT_TRUE(waitFor([&] { return QCursor::pos() == grip; }));
    xdotool({"mousedown", "1"});
    ASSERT_TRUE(waitFor([] { return QGuiApplication::mouseButtons() == Qt::LeftButton; }));
    // The window manager takes the pointer some time after the request, and tells the window at the end only.
    ASSERT_TRUE(waitFor([&] {
        xdotool({"mousemove_relative", "2", "1"});
        return xOnServer() > 200;
    }));
    counter.moves = 0;
    for (int step = 1; step <= 10; ++step) {
        xdotool({"mousemove_relative", "8", "6"});
        QCoreApplication::processEvents(QEventLoop::AllEvents, 30);
    }
    xdotool({"mouseup", "1"});
    EXPECT_TRUE(waitFor([&] { return window->x() > 230 && window->y() > 170; }))
        << window->x() << "," << window->y();
    EXPECT_EQ(window->size(), QSize(900, 600));
    EXPECT_EQ(counter.moves, 0);
}

TEST_F(Spine, WithoutTheInterfaceTheStackHasTwoPagesAndPreviousDoesNothingOnTheFirst) {
    EXPECT_EQ(ui().stackedWidget->count(), 2);
    EXPECT_EQ(ui().stackedWidget->widget(0), ui().page);
    QTest::mouseClick(ui().m_btnPagePrev, Qt::LeftButton);
    EXPECT_EQ(ui().stackedWidget->currentIndex(), 0);
    QTest::mouseClick(ui().m_btnPageNext, Qt::LeftButton);
    EXPECT_EQ(ui().stackedWidget->currentIndex(), 1);
    QTest::mouseClick(ui().m_btnPageNext, Qt::LeftButton);
    EXPECT_EQ(ui().stackedWidget->currentIndex(), 1);
    QTest::mouseClick(ui().m_btnPagePrev, Qt::LeftButton);
    EXPECT_EQ(ui().stackedWidget->currentIndex(), 0);
}

TEST_F(Spine, WithTheInterfaceTheAircraftPageComesFirst) {
    stop();
    start({{"interface/recv_telemetry", true}, {"interface/recv_port", 0}});
    EXPECT_EQ(ui().stackedWidget->count(), 3);
    EXPECT_EQ(ui().stackedWidget->widget(0), ui().page_3);
}

TEST_F(Spine, ViewModesSplitThePictures) {
    const auto wide = [this](QWidget* w) { return w->width() > 50 && w->height() > 50; };
    struct Row {
        QAction* action;
        bool first, second;
        int handle;
    };
    const Row rows[] = {{ui().action_videoWin2, false, true, 0},
                        {ui().action_videoWinLR, true, true, 5},
                        {ui().action_videoWinTB, true, true, 5},
                        {ui().action_videoWin1, true, false, 0}};
    for (const Row& row : rows) {
        row.action->trigger();
        EXPECT_TRUE(waitFor([&] {
            return wide(ui().videoWin1) == row.first && wide(ui().videoWin2) == row.second;
        })) << row.action->objectName().toStdString();
        EXPECT_EQ(ui().splitter->handleWidth(), row.handle);
        EXPECT_TRUE(row.action->isChecked());
        int checked = 0;
        for (const Row& other : rows) {
            checked += other.action->isChecked() ? 1 : 0;
        }
        EXPECT_EQ(checked, 1);
    }
    ui().action_videoWinLR->trigger();
    EXPECT_EQ(ui().splitter->orientation(), Qt::Horizontal);
    EXPECT_NEAR(ui().videoWin1->width(), ui().videoWin2->width(), 8);
    ui().action_videoWinTB->trigger();
    EXPECT_EQ(ui().splitter->orientation(), Qt::Vertical);
}

TEST_F(Spine, TheStoredViewModeIsAppliedAndOthersFallBackToTheFirst) {
    for (const auto& [stored, expected] : {std::pair{0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 0}, {-1, 0}}) {
        stop();
        start({{"common/video_display_mode", stored}});
        const QAction* actions[] = {ui().action_videoWin1, ui().action_videoWin2, ui().action_videoWinLR,
                                    ui().action_videoWinTB};
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(actions[i]->isChecked(), i == expected) << stored;
        }
    }
}

TEST_F(Spine, TheStatusBarComposesItsTexts) {
    const auto video = [this] { return in().m_statusVideo()->text(); };
    window->refreshStatus();
    EXPECT_EQ(video(), QString::fromUtf8("视频未连接"));
    in().playing1() = true;
    in().m_replayState() = 1;
    in().recording1() = true;
    in().playing2() = true;
    in().recording2() = true;
    window->refreshStatus();
    EXPECT_EQ(video(), QString::fromUtf8("视频1已连接  录像重放中  视频1录制中  视频2已连接  视频2录制中"));
    in().playing1() = in().recording1() = in().recording2() = in().playing2() = false;
    in().m_replayState() = 2;
    window->refreshStatus();
    EXPECT_EQ(video(), QString::fromUtf8("录像重放暂停  "));
    in().m_replayState() = 0;
    for (const auto& [state, text] :
         {std::pair{0, "控制连接关闭"}, {1, "串口已连接"}, {2, "UDP已连接"}, {3, ""}}) {
        in().m_linkState() = state;
        window->refreshStatus();
        EXPECT_EQ(in().m_statusLink()->text(), QString::fromUtf8(text));
    }
    in().m_linkState() = 0;
}

TEST_F(Spine, TheStatusTextsHaveTheColourOfTheirState) {
    const auto colour = [](const QLabel* label) { return label->palette().color(QPalette::WindowText); };
    window->refreshStatus();
    const QColor nothing = colour(in().m_statusVideo());
    EXPECT_EQ(colour(in().m_statusLink()), nothing) << "amber, both";
    in().playing2() = true;
    in().m_linkState() = kLinkTcp;
    window->refreshStatus();
    const QColor running = colour(in().m_statusVideo());
    EXPECT_NE(running, nothing);
    EXPECT_EQ(colour(in().m_statusLink()), running);
    in().recording1() = true;
    window->refreshStatus();
    EXPECT_NE(colour(in().m_statusVideo()), running);
    EXPECT_NE(colour(in().m_statusVideo()), nothing);
    in().playing2() = in().recording1() = false;
    in().m_replayState() = 2;
    window->refreshStatus();
    EXPECT_EQ(colour(in().m_statusVideo()), running) << "a paused replay has not gone";
    in().m_replayState() = 0;
    in().m_linkState() = kLinkNone;
}

TEST_F(Spine, TheSliderJumpsToTheClick) {
    QSlider* slider = ui().horizontalSlider;
    in().m_btnCtrlPane()->click();
    ASSERT_TRUE(waitFor([&] { return slider->isVisible() && slider->width() > 40; }));
    slider->setRange(0, 100);
    slider->setValue(0);
    QTest::mouseClick(slider, Qt::LeftButton, {}, QPoint(slider->width() * 3 / 4, slider->height() / 2));
    EXPECT_NEAR(slider->value(), 75, 3);
}

TEST_F(Spine, TheViewMenuHoldsTheFourModes) {
    QToolButton* button = nullptr;
    for (QToolButton* candidate : ui().toolBar_2->findChildren<QToolButton*>()) {
        button = candidate->menu() != nullptr ? candidate : button;
    }
    ASSERT_NE(button, nullptr);
    EXPECT_EQ(button->popupMode(), QToolButton::InstantPopup);
    EXPECT_EQ(button->menu()->actions(), (QList<QAction*>{ui().action_videoWin1, ui().action_videoWin2,
                                                          ui().action_videoWinLR, ui().action_videoWinTB}));
}

QStringList* g_lines = nullptr;
void keepLines(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& text) {
    *g_lines << text;
}

// By the toolkit's own list of them, so that a new one is not forgotten.
TEST_F(Spine, EverySlotLogsItsOwnName) {
    QStringList lines;
    g_lines = &lines;
    const QMetaObject& meta = *window->metaObject();
    int slots_seen = 0;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod method = meta.method(i);
        // With a network link open it shows a box that waits for its answer.
        if (method.methodType() != QMetaMethod::Slot || method.name() == "OpenSerialPort") {
            continue;
        }
        lines.clear();
        const auto previous = qInstallMessageHandler(keepLines);
        const int type = method.parameterType(0);
        const QVariant value = type == QMetaType::Bool ? QVariant(true) : QVariant(type, nullptr);
        const bool invoked =
            method.parameterCount() == 0
                ? method.invoke(window.get(), Qt::DirectConnection)
                : method.invoke(window.get(), Qt::DirectConnection,
                                QGenericArgument(QMetaType::typeName(type), value.constData()));
        qInstallMessageHandler(previous);
        EXPECT_TRUE(invoked) << method.name().toStdString();
        EXPECT_TRUE(lines.contains(QString::fromLatin1(method.name()))) << method.name().toStdString();
        ++slots_seen;
    }
    EXPECT_GT(slots_seen, 30);
}

TEST_F(Spine, TheToolBarsAndTheirTipsAreAsTold) {
    for (const int theme : {0, 1}) {
        window->applyTheme(theme);
        EXPECT_EQ(ui().mainToolBar->layout()->spacing(), 5) << theme;
        EXPECT_EQ(ui().toolBar_2->layout()->spacing(), 5) << theme;
    }
    for (const QToolBar* bar : {ui().mainToolBar, ui().toolBar_2}) {
        for (QAction* action : bar->actions()) {
            const auto* button = qobject_cast<QToolButton*>(bar->widgetForAction(action));
            ASSERT_NE(button, nullptr);
            EXPECT_FALSE(button->toolTip().isEmpty());
            EXPECT_EQ(button->toolTip().contains("此版本尚未提供"), !button->isEnabled())
                << qPrintable(button->toolTip());
            EXPECT_TRUE((button->focusPolicy() & Qt::TabFocus) != 0) << qPrintable(button->toolTip());
        }
    }
    EXPECT_EQ(ui().toolButton_2->toolTip(), "还原");
    in().m_settings()->ui->cbb_selLang->setCurrentIndex(1);
    EXPECT_TRUE(waitFor([this] { return ui().toolButton_2->toolTip() == "Restore"; }));
}

TEST_F(Spine, KeysOpenThePanesAndTurnTheStatusPages) {
    const bool shown = in().m_statPane()->isVisible();
    QTest::keyClick(window.get(), Qt::Key_F6);
    EXPECT_EQ(in().m_statPane()->isVisible(), !shown);
    QTest::keyClick(window.get(), Qt::Key_F6);
    QTest::keyClick(window.get(), Qt::Key_F7);
    EXPECT_TRUE(ui().tabWidget->isVisible());
    ui().stackedWidget->setCurrentIndex(0);
    QTest::keyClick(window.get(), Qt::Key_PageDown, Qt::ControlModifier);
    EXPECT_EQ(ui().stackedWidget->currentIndex(), 1);
    QTest::keyClick(window.get(), Qt::Key_PageUp, Qt::ControlModifier);
    EXPECT_EQ(ui().stackedWidget->currentIndex(), 0);
}

TEST_F(Spine, ShortcutsOfRecordingStandAndTheActionsAreOn) {
    EXPECT_EQ(ui().action_ctrlRec->shortcut(), QKeySequence(Qt::Key_F9));
    EXPECT_EQ(ui().action_ctrlSingleSnap->shortcut(), QKeySequence(Qt::Key_F10));
    for (const QAction* action : {ui().action_ctrlRec, ui().action_ctrlSingleSnap, ui().action_fileOpenAvi}) {
        EXPECT_TRUE(action->isEnabled()) << qPrintable(action->objectName());
    }
}

TEST_F(Spine, MinimiseMaximiseAndClose) {
    EXPECT_TRUE(window->isMaximized());
    ui().toolButton_2->click();
    EXPECT_TRUE(waitFor([&] { return !window->isMaximized(); }));
    ui().toolButton_2->click();
    EXPECT_TRUE(waitFor([&] { return window->isMaximized(); }));
    ui().toolButton_3->click();
    EXPECT_TRUE(waitFor([&] { return window->isMinimized(); }));
    window->showMaximized();
    ui().toolButton->click();
    EXPECT_FALSE(window->isVisible());
}

TEST_F(Spine, FullScreenByF8AndBackByEscape) {
    QTest::keyClick(window.get(), Qt::Key_Escape);
    EXPECT_FALSE(window->isFullScreen());
    QTest::keyClick(window.get(), Qt::Key_F8);
    ASSERT_TRUE(waitFor([&] { return window->isFullScreen(); }));
    EXPECT_FALSE(ui().title->isVisible());
    EXPECT_FALSE(ui().statusBar->isVisible());
    QTest::keyClick(window.get(), Qt::Key_F8);
    EXPECT_TRUE(window->isFullScreen());
    QTest::keyClick(window.get(), Qt::Key_Escape);
    EXPECT_TRUE(waitFor([&] { return !window->isFullScreen(); }));
    EXPECT_TRUE(ui().title->isVisible());
    EXPECT_TRUE(ui().mainToolBar->isVisible());
}

TEST_F(Spine, HoverShowsTheEdgeCursors) {
    window->showNormal();
    window->setGeometry(200, 150, 900, 600);
    ASSERT_TRUE(waitFor([&] { return window->geometry() == QRect(200, 150, 900, 600); }));
    const QRect g = window->geometry();
    EXPECT_EQ(window->hitEdge(g.center()), 0);
    EXPECT_EQ(window->hitEdge(QPoint(g.center().x(), g.top() + 4)), 1);
    EXPECT_EQ(window->hitEdge(QPoint(g.center().x(), g.top() + 5)), 0);
    EXPECT_EQ(window->hitEdge(QPoint(g.left(), g.center().y())), 2);
    EXPECT_EQ(window->hitEdge(QPoint(g.right(), g.center().y())), 4);
    EXPECT_EQ(window->hitEdge(QPoint(g.center().x(), g.bottom())), 8);
    EXPECT_EQ(window->hitEdge(g.topLeft()), 3);
    EXPECT_EQ(window->hitEdge(g.bottomRight()), 12);
    EXPECT_EQ(window->hitEdge(g.topRight()), 5);
    EXPECT_EQ(window->hitEdge(g.bottomLeft()), 10);
    const auto hover = [this](const QPoint& global) {
        const QPointF local = window->mapFromGlobal(global);
        QHoverEvent event(QEvent::HoverMove, local, local);
        QCoreApplication::sendEvent(window.get(), &event);
        return window->cursor().shape();
    };
    EXPECT_EQ(hover(QPoint(g.left(), g.center().y())), Qt::SizeHorCursor);
    EXPECT_EQ(hover(QPoint(g.center().x(), g.top())), Qt::SizeVerCursor);
    EXPECT_EQ(hover(g.topLeft()), Qt::SizeFDiagCursor);
    EXPECT_EQ(hover(g.topRight()), Qt::SizeBDiagCursor);
    EXPECT_EQ(hover(g.center()), Qt::ArrowCursor);
}

}  // namespace
