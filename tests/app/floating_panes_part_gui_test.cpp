// The floating panes on a bare window with the form.
#include "app/panes/floating_panes.h"

#include <gtest/gtest.h>

#include <QAbstractEventDispatcher>
#include <QMainWindow>
#include <QTabWidget>
#include <QTest>

#include "forms/main_form.h"
#include "tests/fakes/built_form.h"
#include "tests/widgets/wait.h"
#include "widgets/my_trans_dlg.h"

namespace {

class FloatingPanesPart : public ::testing::Test {
protected:
    FloatingPanesPart() {
        window.setWindowFlag(Qt::FramelessWindowHint);
        form.control_pages->hide();
    }
    ~FloatingPanesPart() override { delete stat_pane; }

    // The window on the screen, where the test wants it, with everything that the panes make.
    void build() {
        panes.createStatPane();
        panes.createPageSelectors();
        window.setGeometry(60, 80, 1500, 850);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
        ASSERT_TRUE(waitFor([this] { return window.pos() == QPoint(60, 80); }));
        panes.createToggles();
    }
    QList<QPushButton*> selectors() const {
        return ctrl_select->findChildren<QPushButton*>(QString(), Qt::FindDirectChildrenOnly);
    }
    QTabWidget* tabs() const { return ctrl_select->findChild<QTabWidget*>(); }
    int timers() { return QAbstractEventDispatcher::instance()->registeredTimers(&window).size(); }

    QMainWindow window;
    Ui::KorvathClass ui = builtForm<Ui::KorvathClass>(window);
    MainForm form{ui};
    MyTransDlg* stat_pane = nullptr;
    MyTransDlg* state_tab = nullptr;
    MyTransDlg* ctrl_pane = nullptr;
    MyTransDlg* ctrl_select = nullptr;
    QPushButton* btn_stat_pane = nullptr;
    QPushButton* btn_ctrl_pane = nullptr;
    MyTransDlg* pane_play_ctrl = nullptr;
    int pane_timer = 0;
    int replay_state = 0;
    int language = 0;
    FloatingPanes panes{window, form,
                        PaneFields{stat_pane, state_tab, ctrl_pane, ctrl_select, btn_stat_pane, btn_ctrl_pane,
                                   pane_play_ctrl, pane_timer, replay_state},
                        [this] { return language; }};
};

TEST_F(FloatingPanesPart, BeforeTheyExistNothingHappens) {
    panes.rebuildPageSelectors();
    panes.placeStatPane();
    panes.placeToggles();
    panes.placeReplayPanel();
    EXPECT_FALSE(panes.showOnce());
    EXPECT_EQ(ctrl_select, nullptr);
}

TEST_F(FloatingPanesPart, TheStatusPageMovesToAPaneOfItsOwn) {
    const QSize size = ui.widget_stat->size();
    panes.createStatPane();
    EXPECT_EQ(ui.widget_stat->parentWidget(), stat_pane);
    EXPECT_EQ(ui.widget_stat->pos(), QPoint(0, 0));
    EXPECT_EQ(stat_pane->size(), size);
    EXPECT_FALSE(ui.widget_stat->isHidden());
    EXPECT_TRUE(stat_pane->isHidden());
    EXPECT_TRUE(stat_pane->isWindow());
}

TEST_F(FloatingPanesPart, ThePanesComeUpOnceWithTheWindow) {
    panes.createStatPane();
    panes.createPageSelectors();
    EXPECT_FALSE(panes.showOnce()) << "the toggles are not there yet";
    build();
    EXPECT_FALSE(state_tab->isVisible());
    EXPECT_TRUE(panes.showOnce());
    for (const MyTransDlg* pane : {stat_pane, state_tab, ctrl_pane}) {
        EXPECT_TRUE(pane->isVisible());
    }
    EXPECT_EQ(stat_pane->pos(), QPoint(62, 80 + ui.mainToolBar->height()));
    stat_pane->hide();
    EXPECT_FALSE(panes.showOnce());
    EXPECT_FALSE(stat_pane->isVisible());
}

TEST_F(FloatingPanesPart, TheStatusPaneFollowsTheWindow) {
    build();
    panes.placeStatPane();
    const int height = ui.centralWidget->height() - 52;
    EXPECT_EQ(stat_pane->geometry(),
              QRect(62, 80 + ui.mainToolBar->height(), ui.widget_stat->width(), height));
    EXPECT_EQ(ui.widget_stat->height(), height);
    window.move(100, 90);
    ASSERT_TRUE(waitFor([this] { return window.pos() == QPoint(100, 90); }));
    panes.placeStatPane();
    EXPECT_EQ(stat_pane->pos(), QPoint(102, 90 + ui.mainToolBar->height()));
}

// After a change of language too.
TEST_F(FloatingPanesPart, TheTogglesHaveNames) {
    build();
    EXPECT_EQ(btn_stat_pane->toolTip(), "状态页");
    EXPECT_EQ(btn_ctrl_pane->accessibleName(), "控制页");
    btn_stat_pane->setToolTip("other");
    panes.rebuildPageSelectors();
    EXPECT_EQ(btn_stat_pane->toolTip(), "状态页");
}

TEST_F(FloatingPanesPart, TheTogglesStandByTheRules) {
    build();
    const int middle = 80 + ui.mainToolBar->height() + ui.centralWidget->height() / 2 - 20;
    panes.placeToggles();
    EXPECT_EQ(state_tab->geometry(), QRect(62, middle, 20, 40));
    EXPECT_EQ(btn_stat_pane->text(), ">");
    panes.showOnce();
    panes.placeToggles();
    EXPECT_EQ(state_tab->pos(), QPoint(62 + ui.widget_stat->width(), middle));
    EXPECT_EQ(btn_stat_pane->text(), "<");
    const int right = ui.widget_video->mapToGlobal(QPoint(ui.widget_video->width(), 0)).x();
    EXPECT_EQ(ctrl_pane->geometry(), QRect(right - 20, middle, 20, 40));
    EXPECT_EQ(ctrl_select->geometry(), QRect(right - 20, 80 + 60, 20, 200));
    for (const QPushButton* toggle : {btn_stat_pane, btn_ctrl_pane}) {
        EXPECT_EQ(toggle->geometry(), QRect(0, 0, 20, 40));
        EXPECT_EQ(toggle->focusPolicy(), Qt::NoFocus);
        EXPECT_EQ(toggle->property("role").toString(), "paneToggle");
    }
}

TEST_F(FloatingPanesPart, TheSelectorsAreSeenWithTheControlPages) {
    build();
    panes.placeToggles();
    EXPECT_FALSE(ctrl_select->isVisible());
    EXPECT_EQ(btn_ctrl_pane->text(), "<");
    panes.toggleControlPages();
    EXPECT_TRUE(form.control_pages->isVisible());
    EXPECT_EQ(btn_ctrl_pane->text(), ">");
    panes.placeToggles();
    EXPECT_TRUE(ctrl_select->isVisible());
    panes.toggleControlPages();
    EXPECT_FALSE(form.control_pages->isVisible());
    EXPECT_EQ(btn_ctrl_pane->text(), "<");
}

TEST_F(FloatingPanesPart, TheStatusToggleHidesAndShowsThePane) {
    build();
    panes.showOnce();
    panes.toggleStatPane();
    EXPECT_FALSE(stat_pane->isVisible());
    EXPECT_EQ(btn_stat_pane->text(), ">");
    EXPECT_EQ(state_tab->x(), 62);
    panes.toggleStatPane();
    EXPECT_TRUE(stat_pane->isVisible());
    EXPECT_EQ(btn_stat_pane->text(), "<");
    EXPECT_EQ(state_tab->x(), 62 + ui.widget_stat->width());
}

TEST_F(FloatingPanesPart, InChineseTheSelectorsAreUprightButtons) {
    panes.createPageSelectors();
    ASSERT_EQ(selectors().size(), 2);
    EXPECT_EQ(ctrl_select->size(), QSize(20, 200));
    EXPECT_EQ(selectors()[0]->geometry(), QRect(0, 0, 20, 100));
    EXPECT_EQ(selectors()[1]->geometry(), QRect(0, 100, 20, 100));
    EXPECT_EQ(selectors()[0]->text(), "控\n制");
    EXPECT_EQ(selectors()[1]->text(), "扩\n展\n控\n制");
    EXPECT_EQ(selectors()[0]->objectName(), "page_selector");
    selectors()[1]->click();
    EXPECT_EQ(form.control_pages->currentIndex(), 1);
    selectors()[0]->click();
    EXPECT_EQ(form.control_pages->currentIndex(), 0);
}

// Whoever turns the page; the map's page has no selector.
TEST_F(FloatingPanesPart, TheSelectorOfTheOpenPageIsMarked) {
    form.control_pages->setCurrentIndex(0);
    panes.createPageSelectors();
    const auto marked = [this] {
        return QList<bool>{selectors()[0]->property("open").toBool(),
                           selectors()[1]->property("open").toBool()};
    };
    EXPECT_EQ(marked(), QList<bool>({true, false}));
    selectors()[1]->click();
    EXPECT_EQ(marked(), QList<bool>({false, true}));
    selectors()[1]->click();
    EXPECT_EQ(marked(), QList<bool>({false, true}));
    form.control_pages->setCurrentIndex(0);
    EXPECT_EQ(marked(), QList<bool>({true, false}));
    form.control_pages->setCurrentIndex(2);
    EXPECT_EQ(marked(), QList<bool>({false, false}));
    panes.rebuildPageSelectors();
    EXPECT_EQ(marked(), QList<bool>({false, false}));
}

TEST_F(FloatingPanesPart, InEnglishTheyAreTabsThatFollowThePages) {
    form.control_pages->setCurrentIndex(1);
    panes.createPageSelectors();
    language = 1;
    panes.rebuildPageSelectors();
    EXPECT_TRUE(selectors().isEmpty());
    ASSERT_NE(tabs(), nullptr);
    EXPECT_EQ(tabs()->tabPosition(), QTabWidget::East);
    EXPECT_EQ(tabs()->count(), 2);
    EXPECT_EQ(tabs()->tabText(0), "Control");
    EXPECT_EQ(tabs()->tabText(1), "Extended Control");
    EXPECT_EQ(tabs()->geometry(), QRect(0, 0, 20, 200));
    EXPECT_EQ(tabs()->currentIndex(), 1) << "the page that stood there";
    tabs()->setCurrentIndex(0);
    EXPECT_EQ(form.control_pages->currentIndex(), 0);
    form.control_pages->setCurrentIndex(1);
    EXPECT_EQ(tabs()->currentIndex(), 1);
    // A page without a tab leaves the choice.
    form.control_pages->addWidget(new QWidget);
    form.control_pages->setCurrentIndex(form.control_pages->count() - 1);
    EXPECT_EQ(tabs()->currentIndex(), 1);
    language = 0;
    panes.rebuildPageSelectors();
    EXPECT_EQ(tabs(), nullptr);
    EXPECT_EQ(selectors().size(), 2);
}

TEST_F(FloatingPanesPart, TheReplayBarMovesOnlyWhileAReplayRuns) {
    build();
    pane_play_ctrl = new MyTransDlg(&window);
    pane_play_ctrl->setGeometry(1, 2, 240, 40);
    panes.placeReplayPanel();
    EXPECT_EQ(pane_play_ctrl->pos(), QPoint(1, 2));
    replay_state = 2;
    panes.placeReplayPanel();
    const QPoint central = ui.centralWidget->pos();
    EXPECT_EQ(pane_play_ctrl->pos(), QPoint(60 + central.x() + (ui.videoWin1->width() - 240) / 2,
                                            80 + central.y() + ui.videoWin1->height() - 40 - 2));
}

TEST_F(FloatingPanesPart, TheTimerRunsUntilTheSystemHasPlacedTheToggles) {
    build();
    const int before = timers();
    state_tab->move(0, 7);
    panes.startPaneTimer();
    EXPECT_EQ(pane_timer, 0) << "they stand already";
    state_tab->move(0, 0);
    panes.startPaneTimer();
    EXPECT_NE(pane_timer, 0);
    EXPECT_EQ(timers(), before + 1);
    panes.startPaneTimer();
    EXPECT_EQ(timers(), before + 1) << "one at a time";
    panes.onPaneTimer();
    EXPECT_NE(state_tab->y(), 0);
    EXPECT_EQ(pane_timer, 0);
    EXPECT_EQ(timers(), before);
}

}  // namespace
