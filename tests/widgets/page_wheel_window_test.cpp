// The wheel over every control of the real window, its settings and its connection dialog.
#include <QAbstractSpinBox>
#include <QComboBox>
#include <QScrollArea>
#include <QScrollBar>
#include <QSlider>
#include <QStackedWidget>

#include "tests/gui/korvath_fixture.h"
#include "x11_pointer.h"

namespace {

constexpr int kWheelUp = 4;
constexpr int kWheelDown = 5;

// Wheel events that reach the parent of a control.
class WheelSpy : public QObject {
public:
    explicit WheelSpy(QWidget* watched) { watched->installEventFilter(this); }
    bool eventFilter(QObject* object, QEvent* e) override {
        seen += e->type() == QEvent::Wheel ? 1 : 0;
        return QObject::eventFilter(object, e);
    }
    int seen = 0;
};

class PageWheelWindow : public KorvathTest {
protected:
    void SetUp() override {
        ASSERT_TRUE(pointer.available());
        start();
        window->OnButtonCtrlPaneClicked();
        ASSERT_TRUE(waitFor([this] { return ui().horizontalSlider->isVisible(); }));
    }

    // Scrolls to the control and puts the pointer on it. Layouts and the window manager take their time, so
    // both are tried until the pointer is there.
    bool pointAt(QWidget* control) {
        int step = 0;
        return waitFor([&] {
            for (QWidget* w = control->parentWidget(); w != nullptr; w = w->parentWidget()) {
                if (auto* area = qobject_cast<QScrollArea*>(w)) {
                    area->ensureWidgetVisible(control);
                    break;
                }
            }
            const QPointF global =
                QPointF(control->mapToGlobal(control->rect().center())) * control->devicePixelRatioF();
            pointer.moveTo(qRound(global.x()) + ++step % 2, qRound(global.y()));
            return control->underMouse();
        });
    }
    void turn(int button) {
        pointer.press(button);
        pointer.release(button);
    }
    // Where both directions would change it.
    static void setToTheMiddle(QWidget* control) {
        const QSignalBlocker quiet(control);
        if (auto* box = qobject_cast<QComboBox*>(control)) {
            box->setCurrentIndex(box->count() / 2);
        } else if (auto* slider = qobject_cast<QSlider*>(control)) {
            slider->setValue((slider->minimum() + slider->maximum()) / 2);
        }
    }
    static int valueOf(const QWidget* control) {
        if (const auto* box = qobject_cast<const QComboBox*>(control)) {
            return box->currentIndex();
        }
        const auto* slider = qobject_cast<const QSlider*>(control);
        return slider != nullptr ? slider->value() : 0;
    }
    // Every control that can be seen below `root`; how many there were.
    int expectNoControlTurns(QWidget* root) {
        int count = 0;
        const auto widgets = root->findChildren<QWidget*>();
        for (QWidget* control : widgets) {
            const bool turns = qobject_cast<QComboBox*>(control) != nullptr ||
                               qobject_cast<QSlider*>(control) != nullptr ||
                               qobject_cast<QAbstractSpinBox*>(control) != nullptr;
            if (turns && control->isVisible() && control->isEnabled()) {
                expectStays(control);
                ++count;
            }
        }
        return count;
    }
    // The pointer is put on the control for each notch, since the page moves away under it; a window that the
    // window manager has just moved may miss one.
    bool parentGets(QWidget* control, int button) {
        WheelSpy spy(control->parentWidget());
        for (int attempt = 0; attempt < 3 && spy.seen == 0 && pointAt(control); ++attempt) {
            turn(button);
            waitFor([&] { return spy.seen > 0; }, 1000);
        }
        return spy.seen > 0;
    }
    void expectStays(QWidget* control) {
        setToTheMiddle(control);
        const int before = valueOf(control);
        for (const int button : {kWheelUp, kWheelDown, kWheelDown}) {
            EXPECT_TRUE(parentGets(control, button)) << qPrintable(control->objectName());
            EXPECT_EQ(valueOf(control), before) << qPrintable(control->objectName());
        }
    }

    X11Pointer pointer;
};

TEST_F(PageWheelWindow, TurnsNoControlOfTheWindow) { EXPECT_GT(expectNoControlTurns(window.get()), 5); }

TEST_F(PageWheelWindow, ScrollsTheControlPageUnderAComboBox) {
    window->showNormal();
    ASSERT_TRUE(waitFor([this] { return !window->isMaximized(); }));
    window->setGeometry(20, 20, 1366, 720);
    auto* area = find<QScrollArea>("scroll_test");
    QComboBox* box = ui().comboBox_2;
    QScrollBar* bar = area->verticalScrollBar();
    ASSERT_TRUE(waitFor([&] { return bar->maximum() > 0; })) << bar->maximum();
    ASSERT_TRUE(waitFor([&] { return box->isVisible(); }));
    ASSERT_TRUE(pointAt(box));
    setToTheMiddle(box);
    const int index = box->currentIndex();
    const int from = bar->value();
    const int button = from < bar->maximum() / 2 ? kWheelDown : kWheelUp;
    // A window that the window manager moves meanwhile leaves the pointer elsewhere: a notch may go astray.
    for (int attempt = 0; attempt < 5 && bar->value() == from && pointAt(box); ++attempt) {
        turn(button);
        waitFor([&] { return bar->value() != from; }, 2000);
    }
    EXPECT_NE(bar->value(), from);
    EXPECT_EQ(box->currentIndex(), index);
}

TEST_F(PageWheelWindow, TurnsNoControlOfTheSettings) {
    window->OnFileSettings();
    PlayerSettingsDlg* settings = in().m_settings();
    ASSERT_TRUE(QTest::qWaitForWindowActive(settings));
    auto* pages = settings->findChild<QStackedWidget*>("stackedWidget");
    int count = 0;
    for (int page = 0; page < pages->count(); ++page) {
        pages->setCurrentIndex(page);
        ASSERT_TRUE(waitFor([&] { return pages->currentWidget()->isVisible(); }));
        count += expectNoControlTurns(pages->currentWidget());
    }
    EXPECT_GT(count, 10);
}

TEST_F(PageWheelWindow, TurnsNoControlOfTheConnectionDialog) {
    window->on_action_connection();
    QWidget* dialog = in().ui_connection()->groupBox_18->window();
    ASSERT_TRUE(QTest::qWaitForWindowActive(dialog));
    EXPECT_GT(expectNoControlTurns(dialog), 4);
}

}  // namespace
