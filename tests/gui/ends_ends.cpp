// The ways in which what the hand does can end.
#include <QComboBox>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QMenu>
#include <QStackedWidget>
#include <QTimer>

#include "ends_table.h"
#include "input/qmycmdbtn.h"
#include "widgets/my_message_box.h"

namespace {

bool always(const Begin&) { return true; }
bool whileHeld(const Begin& b) { return b.held(); }
bool whileButtonHeld(const Begin& b) { return b.held() && b.on_button; }
bool byMouse(const Begin& b) { return b.kind == Begin::kMouse; }
bool byFinger(const Begin& b) { return b.kind == Begin::kFinger; }
// The pointer is free for something else.
bool mouseFree(const Begin& b) { return b.kind != Begin::kMouse; }

void nothing(Row&) {}

// Whichever button the begin holds.
void releaseButtons(Row& r) {
    for (const int button : {1, 2}) {
        r.scene.hand.release(button);
    }
}

void moveHand(Row& r, const QPoint& to) {
    if (r.begin.kind == Begin::kMouse) {
        r.scene.hand.move(to);
    } else {
        r.scene.hand.fingerMove(1, to);
    }
}

// Elsewhere in the window, where nothing answers: the title strip.
void aside(Row& r) { moveHand(r, EndsScene::centre(r.scene.ui().title)); }
void outside(Row& r) { moveHand(r, r.scene.window->geometry().topLeft() - QPoint(20, 20)); }

void waitOpen(Row& r, const std::function<bool()>& open, const char* what) {
    if (!EndsScene::waitFor(open, EndsScene::kAppearMs)) {
        r.trouble += QStringLiteral("%1 does not open; ").arg(QLatin1String(what));
    }
}

void openListByKey(Row& r) {
    auto* box = r.scene.ui().tabWidget->findChild<QComboBox*>(QStringLiteral("comboBox_4"));
    box->setFocus();
    r.scene.hand.key("space");
    waitOpen(
        r, [] { return QApplication::activePopupWidget() != nullptr; }, "the list");
}

void openMenu(Row& r) {
    auto* menu = new QMenu(r.scene.window.get());
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(QStringLiteral("one"));
    menu->popup(r.scene.spot(1));
    waitOpen(
        r, [] { return QApplication::activePopupWidget() != nullptr; }, "the menu");
}

void openContextMenu(Row& r) {
    auto* edit = r.scene.ui().tabWidget->findChild<QLineEdit*>(QStringLiteral("lineEdit_3"));
    edit->setFocus();
    r.scene.hand.key("Menu");
    waitOpen(
        r, [] { return QApplication::activePopupWidget() != nullptr; }, "the context menu");
}

void closePopups(Row& r) {
    EndsScene::waitFor(
        [&r] {
            if (QWidget* popup = QApplication::activePopupWidget()) {
                popup->close();
                return false;
            }
            return r.scene.window->isActiveWindow();
        },
        EndsScene::kAppearMs);
}

// The box keeps an event loop of its own until it is answered.
void modalBox(Row& r) {
    QTimer::singleShot(0, [&r] {
        EndsScene::waitFor([] { return QApplication::activeModalWidget() != nullptr; }, EndsScene::kAppearMs);
        QWidget* const box = QApplication::activeModalWidget();
        if (box == nullptr) {
            r.trouble += "no box; ";
            return;
        }
        r.liftAndSettle();
        box->close();
    });
    MyMessageBox::information(r.scene.window.get(), "title", "text");
}

void otherApplication(Row& r) {
    QElapsedTimer since;
    // A window manager that still answers the press may activate the window once more.
    const auto inactive = [&] {
        if (qApp->applicationState() != Qt::ApplicationActive) {
            return true;
        }
        if (!since.isValid() || since.elapsed() > 300) {
            r.scene.hand.activateOther();
            since.start();
        }
        return false;
    };
    if (!EndsScene::waitFor(inactive, EndsScene::kAppearMs)) {
        r.trouble += "still active; ";
    }
}

void minimise(Row& r) {
    r.scene.window->showMinimized();
    EndsScene::waitFor([&r] { return r.scene.window->isMinimized(); }, EndsScene::kAppearMs);
}

void hideWindow(Row& r) { r.scene.window->hide(); }
void disable(Row& r) { r.widget->setEnabled(false); }
void enable(Row& r) { r.widget->setEnabled(true); }
void destroy(Row& r) { delete r.widget.data(); }
void hideControl(Row& r) { r.widget->hide(); }
void showControl(Row& r) { r.widget->show(); }

void changePage(Row& r) {
    QStackedWidget* pages = r.scene.ui().tabWidget;
    pages->setCurrentIndex((pages->currentIndex() + 1) % 2);
}

void closePane(Row& r) { r.scene.in().m_btnCtrlPane()->click(); }
void closeOrOpenLink(Row& r) { r.scene.toggleLink(); }

void otherMode(Row& r) { r.scene.chooseMode(!r.scene.single()); }
void ownMode(Row& r) { r.scene.chooseMode(r.scene.single()); }

void closeWindow(Row& r) { r.scene.window->close(); }
void rebuild(Row& r) { r.scene.closeWindow(); }

void cancelTouch(Row& r) { r.scene.hand.cancelTouch(); }

// --- another command between ---

QMyCmdBtn* otherButton(Row& r) {
    for (const char* name : {"pushButton_113", "pushButton_112", "pushButton_118", "pushButton_120",
                             "pushButton_122", "pushButton_125", "pushButton_144", "pushButton_147"}) {
        auto* b = r.scene.ui().tabWidget->findChild<QMyCmdBtn*>(QLatin1String(name));
        if (b != nullptr && b != r.widget && b->isVisible() &&
            b->visibleRegion().contains(b->rect().center())) {
            return b;
        }
    }
    r.trouble += "no other button in sight; ";
    return nullptr;
}

void secondFingerDown(Row& r) {
    if (QMyCmdBtn* b = otherButton(r)) {
        r.scene.hand.fingerDown(2, b->window(), EndsScene::centre(b));
    }
}

// Long enough that a periodic frame has taken it.
void letTick(Row& r) {
    const Motion before = r.scene.pod.motion();
    r.scene.pod.until([&](const Motion& m) { return r.scene.single() || m.frames > before.frames + 1; },
                      1000);
}

void secondFingerHolds(Row& r) {
    secondFingerDown(r);
    letTick(r);
}

void secondFingerTaps(Row& r) {
    secondFingerHolds(r);
    r.scene.hand.fingerUp(2);
    letTick(r);
}

void firstFingerLeaves(Row& r) {
    secondFingerHolds(r);
    if (r.begin.kind == Begin::kFinger) {
        r.scene.hand.fingerUp(1);
    } else {
        releaseButtons(r);
    }
    letTick(r);
}

void wheelBetween(Row& r) {
    r.scene.hand.move(r.scene.spot(1));
    r.scene.hand.wheel(true);
    letTick(r);
}

template <int kButton>
void clickBetween(Row& r) {
    // Each time elsewhere: the second press of a double click is none.
    static int times = 0;
    r.scene.hand.click(r.scene.spot(1) + QPoint(10, ++times % 8 * 20), kButton);
    letTick(r);
}

void dragBetween(Row& r) {
    const QPoint from = r.scene.spot(2);
    r.scene.hand.move(from);
    r.scene.hand.press();
    r.scene.dragUntilMoving([&r](const QPoint& at) { r.scene.hand.move(at); }, from);
}

// --- releases that never arrive ---

void releaseUnderMenu(Row& r) {
    openMenu(r);
    releaseButtons(r);
    r.scene.hand.key("Escape");
    closePopups(r);
    r.scene.hand.move(EndsScene::centre(r.scene.ui().title));
    r.scene.hand.move(r.scene.spot(1));
}

void releaseForAnother(Row& r) {
    if (!r.scene.hand.loseMouse()) {
        r.trouble += "the other program gets no grab; ";
    }
    releaseButtons(r);
    r.scene.hand.regainMouse();
    r.scene.hand.move(EndsScene::centre(r.scene.ui().title));
    r.scene.hand.move(r.scene.spot(1));
    r.scene.hand.move(r.scene.spot(1) + QPoint(30, 0));
}

// The pointer stays where it is; nothing of the mouse reaches the station any more.
void releaseElsewhere(Row& r) {
    if (!r.scene.hand.loseMouse()) {
        r.trouble += "the other program gets no grab; ";
    }
    releaseButtons(r);
}

void liftThen(Row& r, const std::function<void(Row&)>& then) {
    r.scene.hand.lift();
    QTest::qWait(100);
    then(r);
}

}  // namespace

std::vector<End> allEnds() {
    return {
        {"release", true, false, always, nothing, nullptr},
        {"release outside the control", false, false, whileHeld, aside, nullptr},
        {"release outside the window", true, false, whileHeld, outside, nullptr},
        {"a list opened by key", true, false, always, openListByKey, closePopups},
        {"a menu", false, false, always, openMenu, closePopups},
        {"a context menu", false, false, whileHeld, openContextMenu, closePopups},
        {"a message box", true, true, always, modalBox, nullptr},
        {"another application", true, true, always, otherApplication, nullptr},
        {"minimised", false, true, always, minimise, nullptr},
        {"hidden window", true, true, whileHeld, hideWindow, nullptr},
        {"disabled control", false, true, whileHeld, disable, enable},
        {"hidden control", false, true, whileButtonHeld, hideControl, showControl},
        {"destroyed control", false, true, whileButtonHeld, destroy, rebuild},
        {"page changed", true, true, whileButtonHeld, changePage, changePage},
        {"control pane closed", false, true, whileButtonHeld, closePane, nullptr},
        {"touch cancelled", true, true, byFinger, cancelTouch, nullptr},
        {"a second finger holds another", true, false, always, secondFingerHolds, nullptr},
        {"a second finger taps another", false, false, always, secondFingerTaps, nullptr},
        {"a second finger stays longer", false, false, whileHeld, firstFingerLeaves, nullptr},
        {"a wheel between", true, false, always, wheelBetween, nullptr},
        {"a right click between", false, false, always, clickBetween<3>, nullptr},
        {"a click between", true, false, mouseFree, clickBetween<1>, nullptr},
        {"a middle click between", false, false, always, clickBetween<2>, nullptr},
        {"a drag between", true, false, mouseFree, dragBetween, nullptr},
        {"the other protocol mode", true, true, always, otherMode, ownMode},
        {"the link closed", true, true, always, closeOrOpenLink, closeOrOpenLink},
        {"a release under a menu", false, false, byMouse, releaseUnderMenu, nullptr},
        {"a release that another program gets", true, false, byMouse, releaseForAnother, nullptr},
        {"a release that only another program gets", true, true, byMouse, releaseElsewhere, nullptr},
        {"the window closed", false, true, always, closeWindow, rebuild},
    };
}

std::vector<End> endsAfterTheRelease() {
    const auto after = [](std::function<void(Row&)> then) {
        return [then = std::move(then)](Row& r) { liftThen(r, then); };
    };
    return {
        {"release", true, false, always, nothing, nullptr},
        {"the link closed after it", true, true, always, after(closeOrOpenLink), closeOrOpenLink},
        {"the other protocol mode after it", true, true, always, after(otherMode), ownMode},
        {"the window closed after it", true, true, always, after(closeWindow), rebuild},
    };
}
