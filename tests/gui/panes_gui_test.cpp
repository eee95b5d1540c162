// The panes that float over the picture, the edges of the frameless window, full screen.
#include <QDebug>
#include <QLabel>
#include <QMouseEvent>
#include <QScreen>
#include <QSplitter>
#include <QTabWidget>

#include "korvath_fixture.h"
#include "tests/widgets/x11_pointer.h"
#include "video/my_tip_dialog.h"
#include "video/replay_panel.h"
#include "widgets/my_trans_dlg.h"

namespace {

class Panes : public KorvathTest {
protected:
    void SetUp() override {
        start();
        ASSERT_TRUE(waitFor([this] { return in().m_stateTab()->isVisible(); }));
    }

    // Moves and sizes the window and waits until the system has done it.
    void put(const QRect& geometry) {
        window->showNormal();
        ASSERT_TRUE(waitFor([&] {
            if (!window->isMaximized() && window->geometry() != geometry) {
                window->setGeometry(geometry);
            }
            return !window->isMaximized() && window->geometry() == geometry;
        }));
        settle();
    }
    // Until every pane stands where the rules put it.
    void settle() {
        EXPECT_TRUE(waitFor([this] { return misplaced().isEmpty(); })) << qPrintable(misplaced().join('\n'));
    }

    // The rules, written down from the window's own measures.
    QStringList misplaced() const {
        QStringList wrong;
        const auto expect = [&wrong](const char* what, const QRect& is, const QRect& shall) {
            if (is != shall) {
                const auto text = [](const QRect& r) {
                    return QStringLiteral("(%1, %2 %3x%4)")
                        .arg(r.x())
                        .arg(r.y())
                        .arg(r.width())
                        .arg(r.height());
                };
                wrong
                    << QStringLiteral("%1 is at %2, not %3").arg(QLatin1String(what), text(is), text(shall));
            }
        };
        const int top = window->y() + ui().mainToolBar->height();
        const int height = ui().centralWidget->height();
        const int stat_width = ui().widget_stat->width();
        const bool stat_shown = ui().widget_stat->isVisible();
        expect("m_statPane", in().m_statPane()->geometry(),
               QRect(window->x() + 2, top, stat_width, height - 52));
        expect("widget_stat", ui().widget_stat->geometry(), QRect(0, 0, stat_width, height - 52));
        const QRect tab(window->x() + 2 + (stat_shown ? stat_width : 0), top + height / 2 - 20, 20, 40);
        expect("m_stateTab", in().m_stateTab()->geometry(), tab);
        const int right = ui().widget_video->mapToGlobal(QPoint(ui().widget_video->width(), 0)).x();
        expect("m_ctrlPane", in().m_ctrlPane()->geometry(), QRect(right - 20, tab.y(), 20, 40));
        if (ui().tabWidget->isVisible()) {
            expect("m_ctrlSelect", in().m_ctrlSelect()->geometry(),
                   QRect(right - 20, window->y() + 60, 20, 200));
        }
        if (in().m_ctrlSelect()->isVisible() != ui().tabWidget->isVisible()) {
            wrong << "m_ctrlSelect's visibility";
        }
        expect("m_dragOverlay", in().m_dragOverlay()->geometry(),
               QRect(ui().widget_6->mapToGlobal(QPoint(0, 0)), ui().widget_6->size()));
        return wrong;
    }

    void drag(Qt::MouseButton button, const QPoint& from, const QPoint& to) {
        QMouseEvent press(QEvent::MouseButtonPress, window->mapFromGlobal(from), from, button, button, {});
        QCoreApplication::sendEvent(window.get(), &press);
        move(to, button);
    }
    void move(const QPoint& to, Qt::MouseButtons buttons) {
        QMouseEvent event(QEvent::MouseMove, window->mapFromGlobal(to), to, Qt::NoButton, buttons, {});
        QCoreApplication::sendEvent(window.get(), &event);
    }
    void release(const QPoint& at) {
        QMouseEvent event(QEvent::MouseButtonRelease, window->mapFromGlobal(at), at, Qt::LeftButton, {}, {});
        QCoreApplication::sendEvent(window.get(), &event);
    }

    // The toolkit says full screen as soon as it is asked for, then what the window manager's steps to it
    // leave, and full screen again when all is done; a key that comes in between finds no full screen.
    bool fullScreenStands() const {
        return window->isFullScreen() && window->geometry() == window->screen()->geometry();
    }

    QList<QPushButton*> selectors() const {
        return in().m_ctrlSelect()->findChildren<QPushButton*>(QString(), Qt::FindDirectChildrenOnly);
    }
    void language(int index) { in().m_settings()->ui->cbb_selLang->setCurrentIndex(index); }
};

TEST_F(Panes, StandByTheRulesWhenTheWindowAppears) {
    settle();
    EXPECT_EQ(in().m_stateTab()->size(), QSize(20, 40));
    EXPECT_EQ(in().m_ctrlPane()->size(), QSize(20, 40));
    EXPECT_EQ(in().m_dragRing()->size(), QSize(40, 40));
    EXPECT_EQ(in().m_dragDot()->size(), QSize(24, 24));
    EXPECT_EQ(in().m_panePlayCtrl()->size(), QSize(240, 40));
    EXPECT_FALSE(ui().tabWidget->isVisible());
    EXPECT_FALSE(in().m_ctrlSelect()->isVisible());
}

// While the window manager takes a new window over, the server has it elsewhere for a moment, and the toolkit
// may look just then.
TEST_F(Panes, StandWhereTheToolkitBelievesAfterTheStart) {
    X11Pointer server;
    ASSERT_TRUE(server.available());
    QStringList wrong;
    const auto agree = [&] {
        wrong.clear();
        for (MyTransDlg* pane : {in().m_statPane(), in().m_stateTab(), in().m_ctrlPane()}) {
            const auto [x, y] = server.position(pane->winId());
            const auto [width, height] = server.size(pane->winId());
            const QRect there(x, y, width, height);
            if (there != pane->geometry()) {
                QString text;
                QDebug(&text) << pane->geometry() << "but on the screen" << there;
                wrong << text;
            }
        }
        return wrong.isEmpty();
    };
    EXPECT_TRUE(waitFor([&] { return agree() && misplaced().isEmpty(); }))
        << qPrintable((wrong + misplaced()).join('\n'));
}

TEST_F(Panes, HaveTheirParentsAndFloatWithoutTakingActivation) {
    EXPECT_EQ(in().m_statPane()->parentWidget(), ui().centralWidget);
    EXPECT_EQ(in().m_stateTab()->parentWidget(), ui().widget_video);
    EXPECT_EQ(in().m_ctrlPane()->parentWidget(), ui().widget_video);
    EXPECT_EQ(in().m_ctrlSelect()->parentWidget(), ui().widget_video);
    EXPECT_EQ(in().m_dragOverlay()->parentWidget(), nullptr);
    EXPECT_EQ(in().m_panePlayCtrl()->parentWidget(), window.get());
    EXPECT_EQ(ui().widget_stat->parentWidget(), in().m_statPane());
    for (const MyTransDlg* pane : {in().m_statPane(), in().m_stateTab(), in().m_ctrlPane(),
                                   in().m_ctrlSelect(), in().m_dragOverlay()}) {
        EXPECT_TRUE(pane->isWindow());
        EXPECT_TRUE(pane->windowFlags().testFlag(Qt::FramelessWindowHint));
        EXPECT_TRUE(pane->windowFlags().testFlag(Qt::WindowDoesNotAcceptFocus));
        EXPECT_TRUE(pane->testAttribute(Qt::WA_TranslucentBackground));
    }
    EXPECT_TRUE(window->isActiveWindow());
}

TEST_F(Panes, FollowAMove) {
    put(QRect(120, 90, 1200, 760));
    put(QRect(340, 210, 1200, 760));
    EXPECT_EQ(in().m_statPane()->x(), 342);
}

TEST_F(Panes, FollowAResize) {
    put(QRect(120, 90, 1200, 760));
    put(QRect(120, 90, 1500, 840));
    put(QRect(120, 90, 1000, 700));
}

TEST_F(Panes, FollowAMoveWithBothPanesOpen) {
    in().m_btnCtrlPane()->click();
    if (!ui().widget_stat->isVisible()) {
        in().m_btnStatPane()->click();
    }
    put(QRect(60, 40, 1366, 768));
    put(QRect(200, 100, 1600, 900));
}

TEST_F(Panes, FollowMaximiseAndRestore) {
    put(QRect(120, 90, 1200, 760));
    window->showMaximized();
    ASSERT_TRUE(waitFor([&] { return window->isMaximized() && window->width() > 1200; }));
    settle();
    window->showNormal();
    ASSERT_TRUE(waitFor([&] { return !window->isMaximized() && window->width() <= 1200; }));
    settle();
}

TEST_F(Panes, FollowFullScreenAndBack) {
    QTest::keyClick(window.get(), Qt::Key_F8);
    ASSERT_TRUE(waitFor([&] { return fullScreenStands(); }));
    for (const QWidget* hidden :
         {static_cast<QWidget*>(ui().mainToolBar), static_cast<QWidget*>(ui().toolBar_2),
          static_cast<QWidget*>(ui().statusBar), static_cast<QWidget*>(ui().title)}) {
        EXPECT_FALSE(hidden->isVisible()) << qPrintable(hidden->objectName());
    }
    settle();
    QTest::keyClick(window.get(), Qt::Key_Escape);
    ASSERT_TRUE(waitFor([&] { return !window->isFullScreen() && window->isMaximized(); }));
    for (const QWidget* shown :
         {static_cast<QWidget*>(ui().mainToolBar), static_cast<QWidget*>(ui().toolBar_2),
          static_cast<QWidget*>(ui().statusBar), static_cast<QWidget*>(ui().title)}) {
        EXPECT_TRUE(shown->isVisible()) << qPrintable(shown->objectName());
    }
    settle();
}

TEST_F(Panes, EscapeOutsideFullScreenDoesNothing) {
    window->showNormal();
    window->setGeometry(200, 150, 900, 600);
    ASSERT_TRUE(waitFor([&] { return window->geometry() == QRect(200, 150, 900, 600); }));
    ui().title->hide();
    QTest::keyClick(window.get(), Qt::Key_Escape);
    EXPECT_FALSE(ui().title->isVisible());
    EXPECT_FALSE(window->isMaximized());
    settle();
    EXPECT_EQ(window->geometry(), QRect(200, 150, 900, 600));
}

// What came back in the meantime stays.
TEST_F(Panes, F8InFullScreenDoesNothing) {
    QTest::keyClick(window.get(), Qt::Key_F8);
    ASSERT_TRUE(waitFor([&] { return fullScreenStands(); }));
    ui().statusBar->show();
    settle();
    const QRect full = window->geometry();
    QTest::keyClick(window.get(), Qt::Key_F8);
    EXPECT_TRUE(window->isFullScreen());
    EXPECT_EQ(window->geometry(), full);
    EXPECT_TRUE(ui().statusBar->isVisible());
    EXPECT_FALSE(ui().title->isVisible());
    QTest::keyClick(window.get(), Qt::Key_Escape);
    ASSERT_TRUE(waitFor([&] { return !window->isFullScreen(); }));
}

TEST_F(Panes, TheControlToggleOpensAndClosesThePages) {
    EXPECT_EQ(in().m_btnCtrlPane()->text(), "<");
    in().m_btnCtrlPane()->click();
    EXPECT_TRUE(ui().tabWidget->isVisible());
    EXPECT_EQ(in().m_btnCtrlPane()->text(), ">");
    settle();
    EXPECT_TRUE(in().m_ctrlSelect()->isVisible());
    in().m_btnCtrlPane()->click();
    EXPECT_FALSE(ui().tabWidget->isVisible());
    EXPECT_EQ(in().m_btnCtrlPane()->text(), "<");
    settle();
    EXPECT_FALSE(in().m_ctrlSelect()->isVisible());
}

TEST_F(Panes, TheStatusToggleShowsAndHidesThePane) {
    const bool shown = ui().widget_stat->isVisible();
    for (const bool expected : {!shown, shown, !shown}) {
        in().m_btnStatPane()->click();
        ASSERT_TRUE(waitFor([&] { return ui().widget_stat->isVisible() == expected; }));
        EXPECT_EQ(in().m_statPane()->isVisible(), expected);
        EXPECT_EQ(in().m_btnStatPane()->text(), expected ? "<" : ">");
        settle();
    }
}

// The picture is the heart: at the smallest screen, with everything open, three quarters of it are free.
TEST_F(Panes, CoverLessThanAQuarterOfThePicture) {
    in().m_btnCtrlPane()->click();
    for (const int chosen : {0, 1}) {
        language(chosen);
        put(QRect(0, 0, 1366, 768));
        ASSERT_TRUE(in().m_statPane()->isVisible());
        QSize size(1280, 720);
        size.scale(ui().videoWin1->size(), Qt::KeepAspectRatio);
        QRect picture(QPoint(), size);
        picture.moveCenter(ui().videoWin1->rect().center());
        picture.translate(ui().videoWin1->mapToGlobal(QPoint()));
        QRegion covered;
        for (const MyTransDlg* pane :
             {in().m_statPane(), in().m_stateTab(), in().m_ctrlPane(), in().m_ctrlSelect()}) {
            covered += pane->geometry() & picture;
        }
        double area = 0;
        for (const QRect& part : covered) {
            area += double(part.width()) * part.height();
        }
        const double share = area / (double(picture.width()) * picture.height());
        RecordProperty(chosen == 0 ? "covered_chinese" : "covered_english", std::to_string(share));
        EXPECT_LT(share, 0.25) << "language " << chosen << ", pane " << ui().widget_stat->width()
                               << ", picture " << picture.width() << "x" << picture.height();
        EXPECT_GT(share, 0.05) << "the pane lies over the picture";
    }
}

TEST_F(Panes, TheTogglesUseTheirTypeface) {
    for (const QPushButton* button : {in().m_btnStatPane(), in().m_btnCtrlPane()}) {
        EXPECT_EQ(button->font().family(), "OCR A Std");
        EXPECT_EQ(button->font().pointSize(), 12);
        EXPECT_TRUE(button->font().bold());
        EXPECT_EQ(button->size(), QSize(20, 40));
    }
}

TEST_F(Panes, TheReplayPanelMovesOnlyWhileAReplayRuns) {
    put(QRect(100, 80, 1200, 760));
    const QPoint before = in().m_panePlayCtrl()->pos();
    put(QRect(180, 140, 1200, 760));
    EXPECT_EQ(in().m_panePlayCtrl()->pos(), before);
    in().m_replayState() = 1;
    put(QRect(220, 160, 1300, 800));
    const QPoint central = ui().centralWidget->pos();
    EXPECT_EQ(in().m_panePlayCtrl()->x(), window->x() + central.x() + (ui().videoWin1->width() - 240) / 2);
    EXPECT_EQ(in().m_panePlayCtrl()->y(), window->y() + central.y() + ui().videoWin1->height() - 40 - 2);
    in().m_replayState() = 0;
}

TEST_F(Panes, InChineseThePageSelectorsAreTwoButtons) {
    EXPECT_EQ(in().m_ctrlSelect()->size(), QSize(20, 200));
    const auto buttons = selectors();
    ASSERT_EQ(buttons.size(), 2);
    EXPECT_EQ(buttons[0]->text(), QStringLiteral("控\n制"));
    EXPECT_EQ(buttons[1]->text(), QStringLiteral("扩\n展\n控\n制"));
    EXPECT_EQ(buttons[0]->geometry(), QRect(0, 0, 20, 100));
    EXPECT_EQ(buttons[1]->geometry(), QRect(0, 100, 20, 100));
    for (const QPushButton* button : buttons) {
        EXPECT_TRUE(button->styleSheet().contains("font: 700 10pt \"Microsoft YaHei UI\""));
    }
    in().m_btnCtrlPane()->click();
    buttons[1]->click();
    EXPECT_EQ(ui().tabWidget->currentIndex(), 1);
    buttons[0]->click();
    EXPECT_EQ(ui().tabWidget->currentIndex(), 0);
}

TEST_F(Panes, InEnglishThePageSelectorsAreTabsAtTheEastSide) {
    in().m_btnCtrlPane()->click();
    ui().tabWidget->setCurrentIndex(1);
    language(1);
    EXPECT_TRUE(selectors().isEmpty());
    const auto children = in().m_ctrlSelect()->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly);
    ASSERT_EQ(children.size(), 1);
    auto* tabs = qobject_cast<QTabWidget*>(children[0]);
    ASSERT_NE(tabs, nullptr);
    EXPECT_EQ(tabs->tabPosition(), QTabWidget::East);
    EXPECT_EQ(tabs->geometry(), QRect(0, 0, 20, 200));
    ASSERT_EQ(tabs->count(), 2);
    EXPECT_EQ(tabs->tabText(0), "Control");
    EXPECT_EQ(tabs->tabText(1), "Extended Control");
    EXPECT_EQ(tabs->currentIndex(), 1);
    tabs->setCurrentIndex(0);
    EXPECT_EQ(ui().tabWidget->currentIndex(), 0);
    tabs->setCurrentIndex(1);
    EXPECT_EQ(ui().tabWidget->currentIndex(), 1);
    ui().tabWidget->setCurrentIndex(2);
    EXPECT_EQ(ui().tabWidget->currentIndex(), 2);
    EXPECT_EQ(tabs->currentIndex(), 1);
    ui().tabWidget->setCurrentIndex(0);
    EXPECT_EQ(tabs->currentIndex(), 0);
    settle();
    language(0);
    EXPECT_EQ(selectors().size(), 2);
    settle();
}

TEST_F(Panes, TheSettlingTimerEndsOnceThePanesStand) {
    EXPECT_TRUE(waitFor([this] { return KorvathAccess{*window}.m_stateTab()->y() != 0; }));
    settle();
}

TEST_F(Panes, ANarrowerDragThanTheMinimumLeavesTheGeometryWhileATinyHeightGoesThrough) {
    window->setMinimumWidth(600);
    put(QRect(200, 150, 900, 600));
    const QRect start = window->geometry();
    const QPoint right(start.right(), start.center().y());
    drag(Qt::LeftButton, right, right - QPoint(100, 0));
    EXPECT_EQ(window->geometry(), start.adjusted(0, 0, -100, 0));
    move(right - QPoint(300, 0), Qt::LeftButton);  // would be exactly the minimum: not wider than it
    EXPECT_EQ(window->geometry(), start.adjusted(0, 0, -100, 0));
    move(right - QPoint(700, 0), Qt::LeftButton);
    EXPECT_EQ(window->geometry(), start.adjusted(0, 0, -100, 0));
    move(right + QPoint(50, 0), Qt::LeftButton);
    EXPECT_EQ(window->geometry(), start.adjusted(0, 0, 50, 0));
    release(right + QPoint(50, 0));
    put(start);
    // The toolkit itself holds a window to the least height of its contents; the drag asks for less.
    window->setMinimumHeight(1);
    const QPoint bottom(start.center().x(), start.bottom());
    drag(Qt::LeftButton, bottom, bottom - QPoint(0, 580));
    EXPECT_LT(window->height(), start.height());
    EXPECT_EQ(window->height(), qMax(20, window->minimumHeight()));
    release(bottom);
}

TEST_F(Panes, EveryEdgeAndCornerResizes) {
    struct Case {
        int edge;
        int left, top, right, bottom;  // which sides follow the drag
    };
    for (const Case& c :
         {Case{1, 0, 1, 0, 0}, Case{2, 1, 0, 0, 0}, Case{3, 1, 1, 0, 0}, Case{4, 0, 0, 1, 0},
          Case{5, 0, 1, 1, 0}, Case{8, 0, 0, 0, 1}, Case{10, 1, 0, 0, 1}, Case{12, 0, 0, 1, 1}}) {
        put(QRect(300, 200, 1000, 700));
        const QRect start = window->geometry();
        const QPoint from(c.left != 0    ? start.left()
                          : c.right != 0 ? start.right()
                                         : start.center().x(),
                          c.top != 0      ? start.top()
                          : c.bottom != 0 ? start.bottom()
                                          : start.center().y());
        const QPoint offset(30, 20);
        drag(Qt::LeftButton, from, from + offset);
        EXPECT_EQ(in().m_hitEdge(), c.edge);
        EXPECT_TRUE(window->edgeResizing());
        EXPECT_EQ(window->geometry(), start.adjusted(c.left * 30, c.top * 20, c.right * 30, c.bottom * 20))
            << c.edge;
        release(from + offset);
        EXPECT_EQ(in().m_hitEdge(), 0);
        EXPECT_FALSE(window->edgeResizing());
    }
}

TEST_F(Panes, ADragInsideOrWithAnotherButtonDoesNothing) {
    put(QRect(300, 200, 1000, 700));
    const QRect start = window->geometry();
    drag(Qt::LeftButton, start.center(), start.center() + QPoint(50, 50));
    EXPECT_EQ(window->geometry(), start);
    release(start.center());
    const QPoint right(start.right(), start.center().y());
    drag(Qt::RightButton, right, right + QPoint(50, 0));
    EXPECT_EQ(window->geometry(), start);
}

TEST_F(Panes, ARealPointerResizesByTheEdge) {
    X11Pointer pointer;
    ASSERT_TRUE(pointer.available());
    put(QRect(300, 200, 1000, 700));
    const QRect start = window->geometry();
    struct Case {
        QPoint at;
        QRect after;
    };
    for (const Case& c : {Case{QPoint(start.right(), start.center().y() + 150), start.adjusted(0, 0, 60, 0)},
                          Case{QPoint(start.left(), start.center().y() + 150), start.adjusted(60, 0, 0, 0)},
                          Case{QPoint(start.center().x(), start.bottom()), start.adjusted(0, 0, 0, 40)},
                          Case{QPoint(start.right(), start.bottom()), start.adjusted(0, 0, 60, 40)}}) {
        put(start);
        window->activateWindow();
        pointer.moveTo(c.at.x(), c.at.y());
        pointer.press(1);
        ASSERT_TRUE(waitFor([this] { return window->edgeResizing(); })) << c.at.x() << " " << c.at.y();
        pointer.moveTo(c.at.x() + 30, c.at.y() + 20);
        pointer.moveTo(c.at.x() + 60, c.at.y() + 40);
        EXPECT_TRUE(waitFor([&] { return window->geometry() == c.after; }))
            << window->geometry().x() << " " << window->geometry().y() << " " << window->width() << "x"
            << window->height();
        pointer.release(1);
        EXPECT_TRUE(waitFor([this] { return !window->edgeResizing(); }));
        settle();
    }
}

TEST_F(Panes, ARealPointerOverTheEdgeShowsItsCursor) {
    X11Pointer pointer;
    ASSERT_TRUE(pointer.available());
    put(QRect(300, 200, 1000, 700));
    const QRect g = window->geometry();
    // A busy program gets one event for several moves, and the one that enters shows no cursor: a hand never
    // stands quite still.
    const auto shows = [&](Qt::CursorShape shape, int x, int y) {
        int step = 0;
        return waitFor([&] {
            step = 1 - step;
            pointer.moveTo(x - step, y - step);
            return window->cursor().shape() == shape;
        });
    };
    EXPECT_TRUE(shows(Qt::SizeHorCursor, g.right(), g.center().y() + 150));
    EXPECT_TRUE(shows(Qt::SizeFDiagCursor, g.right(), g.bottom()));
    EXPECT_TRUE(shows(Qt::SizeVerCursor, g.center().x(), g.bottom()));
    EXPECT_TRUE(shows(Qt::ArrowCursor, g.center().x(), g.center().y()));
}

}  // namespace
