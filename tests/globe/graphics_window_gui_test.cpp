#include <SDL2/SDL.h>

#include <QKeyEvent>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QPointer>
#include <QTest>
#include <QTouchDevice>
#include <QWindow>

#include "globe/redraw_bell.h"
#include "tests/globe/view_fixture.h"

namespace {

using osgGA::GUIEventAdapter;
using WindowTest = ViewTest;

const osg::Vec4 kRed(1, 0, 0, 1);
const osg::Vec4 kGreen(0, 1, 0, 1);
const osg::Vec4 kBlue(0, 0, 1, 1);

// Counts what a manipulator is told.
class Hand : public osgGA::CameraManipulator {
public:
    void setByMatrix(const osg::Matrixd&) override {}
    void setByInverseMatrix(const osg::Matrixd&) override {}
    osg::Matrixd getMatrix() const override { return {}; }
    osg::Matrixd getInverseMatrix() const override { return {}; }
    bool handle(const GUIEventAdapter& event, osgGA::GUIActionAdapter&) override {
        releases += event.getEventType() == GUIEventAdapter::RELEASE ? 1 : 0;
        return false;
    }
    int releases = 0;
};

TEST_F(WindowTest, DrawsOnlyWhenAsked) {
    RecordProperty("samples", m_view->window->samples());
    std::printf("samples given of 8: %d\n", m_view->window->samples());
    ASSERT_TRUE(m_view->comesToRest());
    const int before = m_view->frames;
    int ticks = 0;
    ASSERT_TRUE(waitFor([&] { return ++ticks > 30; }, kPatience_ms));
    EXPECT_EQ(m_view->frames, before);
    m_view->setColor(kGreen);
    EXPECT_TRUE(comesOnScreen(m_view->widget(), kGreen));
    // What covered it is gone: it is drawn again.
    QWidget cover;
    cover.setGeometry(m_host.geometry().adjusted(-20, -20, 20, 20));
    cover.setStyleSheet("background: white");
    cover.show();
    ASSERT_TRUE(comesOnScreen(m_view->widget(), osg::Vec4(1, 1, 1, 1)));
    cover.hide();
    EXPECT_TRUE(comesOnScreen(m_view->widget(), kGreen));
}

TEST_F(WindowTest, TheViewportFollowsTheWidget) {
    const osg::Matrixd projection = m_view->viewer->getCamera()->getProjectionMatrix();
    for (const QSize size : {QSize(320, 200), QSize(123, 250), QSize(399, 299)}) {
        m_view->widget()->resize(size);
        m_view->setColor(kGreen);
        ASSERT_TRUE(comesOnScreen(m_view->widget(), kGreen, {size.width() - 2, size.height() - 2}));
        const osg::Viewport* viewport = m_view->viewer->getCamera()->getViewport();
        EXPECT_EQ(viewport->width(), size.width());
        EXPECT_EQ(viewport->height(), size.height());
        EXPECT_EQ(m_view->window->getTraits()->width, size.width());
        EXPECT_EQ(m_view->viewer->getCamera()->getProjectionMatrix(), projection);
    }
}

TEST_F(WindowTest, SurvivesHidingShowingReparentingAndResizing) {
    QWidget other;
    other.setGeometry(700, 150, 400, 300);
    other.show();
    ASSERT_TRUE(waitFor([&] { return other.windowHandle()->isExposed(); }, kPatience_ms));
    globe::GLWidget* const widget = m_view->widget();
    for (int round = 0; round < 100; ++round) {
        if (round % 3 == 0) {
            widget->hide();
            widget->show();
        } else if (round % 3 == 1) {
            widget->setParent(round % 2 == 0 ? &m_host : &other);
            widget->show();
        } else {
            widget->resize(150 + (round * 37) % 200, 100 + (round * 53) % 180);
        }
        if (round % 10 == 7) {
            m_host.hide();
            m_host.show();
        }
        const osg::Vec4 color((round % 5) / 4.0, (round % 3) / 2.0, (round % 7) / 6.0, 1.0);
        m_view->setColor(color);
        const int frames = m_view->frames;
        ASSERT_TRUE(waitFor([&] { return m_view->frames > frames; }, kPatience_ms)) << "round " << round;
        if (round % 4 == 0 || round == 99) {
            ASSERT_TRUE(comesOnScreen(widget, color, {60, 60})) << "round " << round;
        }
    }
}

TEST_F(WindowTest, AFrameThatNobodySeesGoesNowhere) {
    m_view->stop();
    m_view->widget()->hide();
    m_view->viewer->frame();
    m_view->viewer->frame();
    EXPECT_FALSE(m_view->window->isExposed());
    EXPECT_EQ(QOpenGLContext::currentContext(), nullptr);
    m_view->widget()->show();
    m_view->start();
    m_view->setColor(kGreen);
    EXPECT_TRUE(comesOnScreen(m_view->widget(), kGreen));
}

TEST_F(WindowTest, GivesItsViewTheMouse) {
    moveTo(100, 75);
    ASSERT_TRUE(comes(GUIEventAdapter::MOVE));
    m_hand.press(1);
    ASSERT_TRUE(comes(GUIEventAdapter::PUSH));
    const SeenEvent push = *m_view->recorder->last(GUIEventAdapter::PUSH);
    EXPECT_EQ(push.button, GUIEventAdapter::LEFT_MOUSE_BUTTON);
    EXPECT_NEAR(push.x, -0.5, 0.006);
    EXPECT_NEAR(push.y, 0.5, 0.008);
    moveTo(300, 225);
    ASSERT_TRUE(waitFor(
        [&] {
            const SeenEvent* drag = m_view->recorder->last(GUIEventAdapter::DRAG);
            return drag != nullptr && std::abs(drag->x - 0.5) < 0.006 && std::abs(drag->y + 0.5) < 0.008;
        },
        kPatience_ms));
    EXPECT_EQ(m_view->recorder->last(GUIEventAdapter::DRAG)->mask, GUIEventAdapter::LEFT_MOUSE_BUTTON);
    m_hand.release(1);
    ASSERT_TRUE(comes(GUIEventAdapter::RELEASE));
    m_hand.press(3);
    m_hand.release(3);
    ASSERT_TRUE(comes(GUIEventAdapter::RELEASE, 2));
    EXPECT_EQ(m_view->recorder->last(GUIEventAdapter::RELEASE)->button, GUIEventAdapter::RIGHT_MOUSE_BUTTON);
    m_hand.press(4);
    m_hand.release(4);
    EXPECT_TRUE(comes(GUIEventAdapter::SCROLL));
}

TEST_F(WindowTest, GivesItsViewTheKeys) {
    moveTo(100, 75);
    m_hand.press(1);
    m_hand.release(1);
    ASSERT_TRUE(comes(GUIEventAdapter::RELEASE));
    ASSERT_TRUE(m_hand.keyPress("Up"));
    ASSERT_TRUE(m_hand.keyRelease("Up"));
    ASSERT_TRUE(comes(GUIEventAdapter::KEYUP));
    EXPECT_EQ(m_view->recorder->last(GUIEventAdapter::KEYDOWN)->key, GUIEventAdapter::KEY_Up);
    ASSERT_TRUE(m_hand.keyPress("a"));
    ASSERT_TRUE(m_hand.keyRelease("a"));
    ASSERT_TRUE(comes(GUIEventAdapter::KEYUP, 2));
    EXPECT_EQ(m_view->recorder->last(GUIEventAdapter::KEYUP)->key, 'a');
    // A key that is held repeats its press alone.
    QKeyEvent repeated(QEvent::KeyRelease, Qt::Key_B, Qt::NoModifier, "b", true);
    QCoreApplication::sendEvent(m_view->widget(), &repeated);
    ASSERT_TRUE(m_view->comesToRest());
    EXPECT_EQ(m_view->recorder->count(GUIEventAdapter::KEYUP), 2);
}

TEST_F(WindowTest, HidingEndsAPressAtOnce) {
    const osg::ref_ptr<Hand> hand = new Hand;
    m_view->viewer->setCameraManipulator(hand);
    moveTo(100, 75);
    m_hand.press(1);
    ASSERT_TRUE(comes(GUIEventAdapter::PUSH));
    m_host.hide();
    EXPECT_EQ(m_view->recorder->count(GUIEventAdapter::RELEASE), 1);
    EXPECT_EQ(hand->releases, 1);
    m_hand.release(1);
    m_host.show();
    m_view->setColor(kGreen);
    ASSERT_TRUE(comesOnScreen(m_view->widget(), kGreen));
    ASSERT_TRUE(m_view->comesToRest());
    EXPECT_EQ(m_view->recorder->count(GUIEventAdapter::RELEASE), 1);
    EXPECT_EQ(m_view->recorder->count(GUIEventAdapter::PUSH), 1);
}

TEST_F(WindowTest, APressThatStillWaitsIsForgotten) {
    m_view->stop();
    moveTo(100, 75);
    m_hand.press(1);
    ASSERT_TRUE(
        waitFor([&] { return m_view->window->getEventQueue()->getCurrentEventState()->getButtonMask() != 0; },
                kPatience_ms));
    m_view->widget()->hide();
    EXPECT_TRUE(m_view->window->getEventQueue()->empty());
    m_hand.release(1);
    m_view->widget()->show();
    m_view->start();
    m_view->setColor(kGreen);
    ASSERT_TRUE(comesOnScreen(m_view->widget(), kGreen));
    ASSERT_TRUE(m_view->comesToRest());
    EXPECT_EQ(m_view->recorder->count(GUIEventAdapter::PUSH), 0);
    EXPECT_EQ(m_view->recorder->count(GUIEventAdapter::RELEASE), 0);
}

// A tile that has come asks once; that the input ends meanwhile is no answer.
TEST_F(WindowTest, WhatRangForAFrameGetsOneThoughTheInputEnds) {
    ASSERT_TRUE(m_view->comesToRest());
    m_view->stop();
    globe::RedrawBell bell;
    bell.hear(m_view->window->getEventQueue());
    bell.ring();
    ASSERT_TRUE(m_view->viewer->checkNeedToDoFrame());
    m_view->window->endInput();
    EXPECT_TRUE(m_view->viewer->checkNeedToDoFrame());
}

// A fast mouse moves many times between two slow frames.
TEST_F(WindowTest, OfAWayThatWaitsOnlyTheEndIsTold) {
    m_view->stop();
    const auto hand = [this](QEvent::Type type, int x, Qt::MouseButton button, Qt::MouseButtons held) {
        const QPoint at(x, 75);
        QMouseEvent event(type, at, m_view->widget()->mapToGlobal(at), button, held, {});
        QCoreApplication::sendEvent(m_view->widget(), &event);
    };
    m_view->recorder->seen.clear();
    globe::RedrawBell bell;
    bell.hear(m_view->window->getEventQueue());
    for (int x = 0; x <= 100; x += 5) {
        hand(QEvent::MouseMove, x, Qt::NoButton, Qt::NoButton);
        bell.ring();
    }
    hand(QEvent::MouseButtonPress, 100, Qt::LeftButton, Qt::LeftButton);
    for (int x = 105; x <= 300; x += 5) {
        hand(QEvent::MouseMove, x, Qt::NoButton, Qt::LeftButton);
    }
    hand(QEvent::MouseButtonRelease, 300, Qt::LeftButton, Qt::NoButton);
    hand(QEvent::MouseMove, 200, Qt::NoButton, Qt::NoButton);
    m_view->start();
    m_view->viewer->requestRedraw();
    ASSERT_TRUE(comes(GUIEventAdapter::MOVE, 2));
    std::vector<std::pair<int, int>> told;
    for (const SeenEvent& event : m_view->recorder->seen) {
        if (event.type != GUIEventAdapter::USER) {
            told.emplace_back(event.type, static_cast<int>(std::lround(199.5 + 199.5 * event.x)));
        }
    }
    const std::vector<std::pair<int, int>> expected = {{GUIEventAdapter::MOVE, 100},
                                                       {GUIEventAdapter::PUSH, 100},
                                                       {GUIEventAdapter::DRAG, 300},
                                                       {GUIEventAdapter::RELEASE, 300},
                                                       {GUIEventAdapter::MOVE, 200}};
    EXPECT_EQ(told, expected);
}

TEST_F(WindowTest, AReleaseThatStillWaitsIsTold) {
    moveTo(100, 75);
    m_hand.press(1);
    ASSERT_TRUE(comes(GUIEventAdapter::PUSH));
    m_view->stop();
    m_hand.release(1);
    ASSERT_TRUE(
        waitFor([&] { return m_view->window->getEventQueue()->getCurrentEventState()->getButtonMask() == 0; },
                kPatience_ms));
    EXPECT_EQ(m_view->recorder->count(GUIEventAdapter::RELEASE), 0);
    m_view->widget()->hide();
    EXPECT_EQ(m_view->recorder->count(GUIEventAdapter::RELEASE), 1);
}

TEST_F(WindowTest, TheRightButtonsEndIsNoClick) {
    const osg::ref_ptr<Hand> hand = new Hand;
    m_view->viewer->setCameraManipulator(hand);
    moveTo(100, 75);
    m_hand.press(3);
    ASSERT_TRUE(comes(GUIEventAdapter::PUSH));
    m_view->widget()->hide();
    EXPECT_EQ(m_view->recorder->count(GUIEventAdapter::RELEASE), 0);
    EXPECT_EQ(hand->releases, 1);
    m_hand.release(3);
}

TEST_F(WindowTest, AnotherWindowEndsAPress) {
    moveTo(100, 75);
    m_hand.press(1);
    ASSERT_TRUE(comes(GUIEventAdapter::PUSH));
    m_hand.takeFocus();
    EXPECT_TRUE(comes(GUIEventAdapter::RELEASE));
    m_hand.release(1);
    const int moves = m_view->recorder->count(GUIEventAdapter::MOVE);
    moveTo(220, 195);
    ASSERT_TRUE(comes(GUIEventAdapter::MOVE, moves + 1));
    EXPECT_EQ(m_view->recorder->count(GUIEventAdapter::RELEASE), 1);
}

TEST_F(WindowTest, OneFingerIsTheLeftButton) {
    static QTouchDevice* const screen = QTest::createTouchDevice();
    globe::GLWidget* const widget = m_view->widget();
    m_view->recorder->seen.clear();
    QTest::touchEvent(widget, screen).press(1, {100, 75}, widget);
    QTest::touchEvent(widget, screen).stationary(1).press(2, {10, 10}, widget);
    QTest::touchEvent(widget, screen).move(1, {300, 75}, widget).stationary(2);
    QTest::touchEvent(widget, screen).stationary(1).release(2, {10, 10}, widget);
    ASSERT_TRUE(comes(GUIEventAdapter::DRAG));
    EXPECT_EQ(m_view->recorder->count(GUIEventAdapter::RELEASE), 0);
    QTest::touchEvent(widget, screen).release(1, {300, 75}, widget);
    ASSERT_TRUE(comes(GUIEventAdapter::RELEASE));
    EXPECT_EQ(m_view->recorder->count(GUIEventAdapter::PUSH), 1);
    // The place is told before the press, as a mouse would.
    const auto& seen = m_view->recorder->seen;
    ASSERT_GE(seen.size(), 2u);
    std::size_t push = 0;
    while (seen[push].type != GUIEventAdapter::PUSH) {
        ++push;
    }
    ASSERT_GT(push, 0u);
    EXPECT_EQ(seen[push - 1].type, GUIEventAdapter::MOVE);
    EXPECT_NEAR(seen[push - 1].x, -0.5, 0.006);
    EXPECT_NEAR(m_view->recorder->last(GUIEventAdapter::DRAG)->x, 0.5, 0.006);
}

// A popup takes the end of a touch; the next one has another number.
TEST_F(WindowTest, ATouchWhoseEndWasLostLeavesTheNextOneItsTurn) {
    static QTouchDevice* const screen = QTest::createTouchDevice();
    const auto touch = [this](QEvent::Type type, Qt::TouchPointState state, int id) {
        QTouchEvent::TouchPoint finger(id);
        finger.setState(state);
        finger.setPos({100.0 + id, 75.0});
        QTouchEvent event(type, screen, Qt::NoModifier, state, {finger});
        QCoreApplication::sendEvent(m_view->widget(), &event);
    };
    m_view->recorder->seen.clear();
    touch(QEvent::TouchBegin, Qt::TouchPointPressed, 1);
    ASSERT_TRUE(comes(GUIEventAdapter::PUSH));
    touch(QEvent::TouchBegin, Qt::TouchPointPressed, 2);
    ASSERT_TRUE(comes(GUIEventAdapter::PUSH, 2));
    EXPECT_EQ(m_view->recorder->count(GUIEventAdapter::RELEASE), 1)
        << "the first press ends before the second";
    touch(QEvent::TouchEnd, Qt::TouchPointReleased, 2);
    ASSERT_TRUE(comes(GUIEventAdapter::RELEASE, 2));
}

// Two of ours and two foreigners, all on this thread.
TEST_F(WindowTest, OthersDrawBesideIt) {
    PumpedView second(&m_host, kGreen);
    m_view->widget()->setGeometry(0, 0, 200, 150);
    second.widget()->setGeometry(200, 0, 200, 150);
    second.widget()->show();
    QWidget canvas(&m_host);
    canvas.setAttribute(Qt::WA_NativeWindow);
    canvas.setAttribute(Qt::WA_PaintOnScreen);
    canvas.setAttribute(Qt::WA_DontCreateNativeAncestors);
    canvas.setGeometry(0, 150, 400, 150);
    canvas.show();
    ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0);
    SDL_Window* const window = SDL_CreateWindowFrom(reinterpret_cast<void*>(canvas.winId()));
    ASSERT_NE(window, nullptr) << SDL_GetError();
    SDL_Renderer* const renderer = SDL_CreateRenderer(window, -1, 0);
    ASSERT_NE(renderer, nullptr) << SDL_GetError();
    QOpenGLContext foreign;
    ASSERT_TRUE(foreign.create());
    QOffscreenSurface surface;
    surface.create();
    for (int round = 0; round < 30; ++round) {
        const osg::Vec4 color(round % 2, (round / 2) % 2, (round / 4) % 2, 1.0);
        m_view->setColor(color);
        second.setColor(osg::Vec4(1, 1, 1, 1) - color);
        SDL_SetRenderDrawColor(renderer, 0, 0, 255, 255);
        SDL_RenderClear(renderer);
        SDL_RenderPresent(renderer);
        SDL_GL_MakeCurrent(window, nullptr);
        // This one leaves its context current.
        ASSERT_TRUE(foreign.makeCurrent(&surface));
        foreign.functions()->glClearColor(0.5f, 0.25f, 0.125f, 1.0f);
        foreign.functions()->glClear(GL_COLOR_BUFFER_BIT);
        m_view->pump();
        EXPECT_EQ(QOpenGLContext::currentContext(), nullptr);
        second.pump();
        ASSERT_TRUE(comesOnScreen(m_view->widget(), color)) << round;
        ASSERT_TRUE(comesOnScreen(second.widget(), osg::Vec4(1, 1, 1, 1) - color)) << round;
    }
    EXPECT_TRUE(comesOnScreen(&canvas, kBlue));
    SDL_DestroyRenderer(renderer);
    SDL_DestroyWindow(window);
    SDL_QuitSubSystem(SDL_INIT_VIDEO);
}

TEST_F(WindowTest, EitherMayGoFirst) {
    const QPointer<globe::GLWidget> widget = m_view->widget();
    m_view.reset();
    // Its parent's now, with nobody to tell.
    ASSERT_FALSE(widget.isNull());
    QTest::mouseClick(widget, Qt::LeftButton);
    widget->resize(50, 50);
    widget->hide();
    widget->show();
    delete widget.data();
    PumpedView again(&m_host, kBlue);
    again.widget()->setGeometry(0, 0, 100, 100);
    again.widget()->show();
    ASSERT_TRUE(comesOnScreen(again.widget(), kBlue));
    delete again.widget();
    EXPECT_FALSE(again.window->isExposed());
    EXPECT_TRUE(again.window->valid());
    again.viewer->frame();
}

TEST(WindowAlone, OwnsAWidgetWithoutParent) {
    QPointer<globe::GLWidget> widget;
    {
        osg::ref_ptr<globe::GraphicsWindowQt> window =
            new globe::GraphicsWindowQt(new osg::GraphicsContext::Traits);
        widget = window->getGLWidget();
        ASSERT_FALSE(widget.isNull());
    }
    EXPECT_TRUE(widget.isNull());
}

}  // namespace
