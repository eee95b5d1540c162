// The window's own buttons and the tool bars on a bare strip.
#include "widgets/title_strip.h"

#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QHBoxLayout>
#include <QHelpEvent>
#include <QLabel>
#include <QMainWindow>
#include <QMenu>
#include <QScreen>
#include <QSignalSpy>
#include <QStyle>
#include <QTest>
#include <QToolBar>
#include <QToolButton>
#include <QToolTip>

#include "tests/widgets/wait.h"
#include "widgets/button_keys.h"

namespace {

// What the tip says that a rest of the pointer brings up.
QString tipOf(QWidget& widget) {
    QToolTip::hideText();
    QHelpEvent help(QEvent::ToolTip, widget.rect().center(), widget.mapToGlobal(widget.rect().center()));
    QApplication::sendEvent(&widget, &help);
    return QToolTip::text();
}

class TitleStripTest : public ::testing::Test {
protected:
    static constexpr int kIcons = 7;

    TitleStripTest() {
        auto* row = new QHBoxLayout(central);
        row->addWidget(title);
        row->addWidget(stretch, 1);
        row->addWidget(host);
        for (QToolButton* button : {minimise, maximise, close}) {
            row->addWidget(button);
        }
        host->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Preferred);
        window.setCentralWidget(central);
        // Whatever the style's own size: too many for the narrow windows below.
        icons->setIconSize(QSize(40, 40));
        kept->setIconSize(QSize(40, 40));
        for (int i = 0; i < kIcons; ++i) {
            actions << icons->addAction(window.style()->standardIcon(QStyle::SP_FileIcon),
                                        QString::number(i));
        }
        kept->addAction(window.style()->standardIcon(QStyle::SP_DirIcon), "kept");
        strip = new TitleStrip(window, {*central, *host, *icons, *kept, *minimise, *maximise, *close});
        menu_button = strip->addMenuButton({&choice}, QIcon());
    }
    void show(int width) {
        window.resize(width, 100);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }
    QToolButton* more() const {
        for (QToolButton* button : host->findChildren<QToolButton*>(QString(), Qt::FindDirectChildrenOnly)) {
            return button;
        }
        return nullptr;
    }
    // Texts of the icons that are seen whole in the strip.
    int seenIcons() const {
        int seen = 0;
        for (QAction* action : icons->actions()) {
            const QWidget* button = icons->widgetForAction(action);
            seen += button->isVisible() && button->visibleRegion().boundingRect() == button->rect() ? 1 : 0;
        }
        return seen;
    }

    QMainWindow window;
    QWidget* central = new QWidget;
    QLabel* title = new QLabel("A title");
    QWidget* stretch = new QWidget;
    QWidget* host = new QWidget;
    QToolBar* icons = new QToolBar(host);
    QToolBar* kept = new QToolBar(host);
    QToolButton* minimise = new QToolButton;
    QToolButton* maximise = new QToolButton;
    QToolButton* close = new QToolButton;
    QAction choice{"choice"};
    QList<QAction*> actions;
    TitleStrip* strip = nullptr;
    QToolButton* menu_button = nullptr;
};

TEST_F(TitleStripTest, AWideWindowShowsEveryIcon) {
    show(900);
    EXPECT_TRUE(waitFor([this] { return seenIcons() == kIcons; }));
    EXPECT_FALSE(more()->isVisible());
}

TEST_F(TitleStripTest, WhatANarrowOneHasNoRoomForStandsInTheMenu) {
    show(900);
    ASSERT_TRUE(waitFor([this] { return seenIcons() == kIcons; }));
    int least = kIcons;
    for (int width = 880; width >= 360; width -= 40) {
        // A window manager that is still placing the window answers with the size before.
        ASSERT_TRUE(waitFor([&] {
            window.resize(width, 100);
            return waitFor([&] { return window.width() == width; }, 500);
        }));
        ASSERT_TRUE(waitFor([&] { return seenIcons() == icons->actions().size(); })) << width;
        EXPECT_EQ(icons->actions() + more()->menu()->actions(), actions) << "each once, in order; " << width;
        EXPECT_EQ(more()->isVisible(), seenIcons() < kIcons) << width;
        EXPECT_TRUE(kept->actions().first()->isVisible());
        EXPECT_EQ(menu_button->visibleRegion().boundingRect(), menu_button->rect()) << width;
        least = qMin(least, seenIcons());
    }
    EXPECT_LT(least, kIcons - 2) << "the window has not been narrow";
    // A late answer of the window manager to the sizes before may undo it.
    const auto wide_again = [this] {
        if (window.width() != 900) {
            window.resize(900, 100);
        }
        return seenIcons() == kIcons;
    };
    EXPECT_TRUE(waitFor(wide_again)) << seenIcons() << " seen at " << window.width() << ", strip "
                                     << central->width();
    EXPECT_FALSE(more()->isVisible());
}

TEST_F(TitleStripTest, AnIconInTheMenuKeepsItsShortcut) {
    actions.last()->setShortcut(Qt::Key_F9);
    show(360);
    ASSERT_TRUE(waitFor([this] { return more()->menu()->actions().contains(actions.last()); }));
    window.activateWindow();
    ASSERT_TRUE(waitFor([this] { return window.isActiveWindow(); }));
    QSignalSpy triggered(actions.last(), &QAction::triggered);
    QTest::keyClick(&window, Qt::Key_F9);
    EXPECT_EQ(triggered.count(), 1);
    more()->menu()->actions().last()->trigger();
    EXPECT_EQ(triggered.count(), 2);
}

TEST_F(TitleStripTest, TheMaximiseTipFollowsTheStateWhoeverChangesIt) {
    show(600);
    EXPECT_EQ(maximise->toolTip(), "最大化");
    maximise->click();
    EXPECT_TRUE(waitFor([this] { return window.isMaximized() && maximise->toolTip() == "还原"; }));
    EXPECT_EQ(maximise->accessibleName(), "还原");
    window.showNormal();
    EXPECT_TRUE(waitFor([this] { return !window.isMaximized() && maximise->toolTip() == "最大化"; }));
}

TEST_F(TitleStripTest, EveryToolButtonTakesTheKeyboardAndHasATip) {
    show(360);
    for (const QToolButton* button : host->findChildren<QToolButton*>()) {
        if (button->objectName() != "qt_toolbar_ext_button") {
            EXPECT_TRUE((button->focusPolicy() & Qt::TabFocus) != 0) << qPrintable(button->text());
            EXPECT_FALSE(button->toolTip().isEmpty()) << qPrintable(button->text());
        }
    }
}

TEST_F(TitleStripTest, TheTipOfAnIconNamesTheKeyThatWorks) {
    actions[1]->setShortcut(Qt::Key_F9);
    show(900);
    ASSERT_TRUE(waitFor([this] { return seenIcons() == kIcons; }));
    QWidget& button = *icons->widgetForAction(actions[1]);
    EXPECT_EQ(tipOf(*icons->widgetForAction(actions[0])), "0");
    EXPECT_EQ(tipOf(button), "1 (F9)");
    actions[1]->setText("stop");
    EXPECT_EQ(tipOf(button), "stop (F9)");
    actions[1]->setEnabled(false);
    EXPECT_EQ(tipOf(button), "stop");
}

TEST_F(TitleStripTest, RestoringGivesASmallerWindowThanMaximising) {
    placeForRestore(window);
    window.showMaximized();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    const QRect screen = window.screen()->availableGeometry();
    ASSERT_TRUE(waitFor([&] { return window.isMaximized() && window.width() > screen.width() * 9 / 10; }));
    window.showNormal();
    EXPECT_TRUE(waitFor([&] {
        return window.width() < screen.width() * 9 / 10 && window.height() < screen.height() * 9 / 10;
    })) << window.width()
        << "x" << window.height();
    EXPECT_TRUE(screen.contains(window.geometry()));
}

TEST(ButtonKeys, AKeyOfTheWindowClicksAButtonOfAnother) {
    QWidget window;
    QWidget pane(nullptr, Qt::Tool | Qt::WindowDoesNotAcceptFocus);
    QToolButton button(&pane);
    clickByKey(window, Qt::Key_F6, button);
    window.show();
    pane.show();
    window.activateWindow();
    ASSERT_TRUE(waitFor([&] { return window.isActiveWindow(); }));
    QSignalSpy clicked(&button, &QToolButton::clicked);
    QTest::keyClick(&window, Qt::Key_F6);
    EXPECT_EQ(clicked.count(), 1);
    button.setEnabled(false);
    QTest::keyClick(&window, Qt::Key_F6);
    EXPECT_EQ(clicked.count(), 1);
}

TEST(ButtonKeys, TheTipNamesTheKey) {
    QWidget window;
    QToolButton button(&window);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    clickByKey(window, Qt::CTRL + Qt::Key_PageUp, button);
    nameButton(button, "Back");
    EXPECT_EQ(tipOf(button), "Back (Ctrl+PgUp)");
    EXPECT_EQ(button.accessibleName(), "Back");
    nameButton(button, "Away");
    EXPECT_EQ(tipOf(button), "Away (Ctrl+PgUp)");
    EXPECT_EQ(tipWithKey("Alone", {}), "Alone");
    QToolTip::hideText();
}

}  // namespace
