#include "monkey_actions.h"

#include <QComboBox>
#include <QMenu>
#include <QStackedWidget>

namespace {

constexpr const char* kButtons[] = {"pushButton_112", "pushButton_113", "pushButton_114", "pushButton_115",
                                    "pushButton_118", "pushButton_119", "pushButton_120", "pushButton_121",
                                    "pushButton_122", "pushButton_125", "pushButton_144", "pushButton_147",
                                    "pushButton_106", "pushButton_24"};
constexpr const char* kSwitches[] = {"widget_2", "widget_3", "widget_8"};
constexpr const char* kLists[] = {"comboBox_4", "comboBox_5", "comboBox_11"};
constexpr const char* kKeys[] = {"Escape", "space", "Tab", "Down", "Up", "Return", "Menu"};

// In sight, without changing anything: the monkey takes what it sees.
QWidget* seen(EndsScene& s, const QString& name) {
    auto* w = s.ui().tabWidget->currentWidget()->findChild<QWidget*>(name);
    return w != nullptr && !s.window->isMinimized() && w->isVisible() &&
                   w->visibleRegion().contains(w->rect().center())
               ? w
               : nullptr;
}

// The mouse stays with the window: on the desktop it would steer the window manager.
bool overWindow(EndsScene& s, const QPoint& at) {
    return s.window->isVisible() && !s.window->isMinimized() && s.window->geometry().contains(at) &&
           QApplication::widgetAt(at) != nullptr;
}

void closeModal() {
    if (QWidget* box = QApplication::activeModalWidget()) {
        box->close();
    }
}

// --- one function a verb; `a` holds its arguments ---

void press(EndsScene& s, const QStringList& a) {
    if (QWidget* w = s.hand.mouseDown() ? nullptr : seen(s, a[0])) {
        s.hand.move(EndsScene::centre(w));
        s.hand.press();
    }
}

void release(EndsScene& s, const QStringList&) { s.hand.release(); }

void finger(EndsScene& s, const QStringList& a) {
    if (QWidget* w = s.hand.fingerIsDown(a[0].toInt()) ? nullptr : seen(s, a[1])) {
        s.hand.fingerDown(a[0].toInt(), w->window(), EndsScene::centre(w));
    }
}

void fingerOnPicture(EndsScene& s, const QStringList& a) {
    if (!s.hand.fingerIsDown(a[0].toInt()) && s.window->isVisible()) {
        s.hand.fingerDown(a[0].toInt(), s.window.get(), s.spot(a[1].toInt()));
    }
}

void fingerMove(EndsScene& s, const QStringList& a) {
    s.hand.fingerMove(a[0].toInt(), s.spot(1) + QPoint(a[1].toInt(), a[2].toInt()));
}

void fingerUp(EndsScene& s, const QStringList& a) { s.hand.fingerUp(a[0].toInt()); }
void cancel(EndsScene& s, const QStringList&) { s.hand.cancelTouch(); }

void wheel(EndsScene& s, const QStringList& a) {
    if (!overWindow(s, s.spot(a[0].toInt()))) {
        return;
    }
    s.hand.move(s.spot(a[0].toInt()));
    s.hand.wheel(a[1] == "up");
}

void drag(EndsScene& s, const QStringList& a) {
    const QPoint from = s.spot(a[0].toInt());
    if (!overWindow(s, from)) {
        return;
    }
    s.hand.move(from);
    s.hand.press();
    for (int i = 1; i <= 5; ++i) {
        s.hand.move(from + QPoint(a[1].toInt(), a[2].toInt()) * i / 5);
        QTest::qWait(10);
    }
}

void click(EndsScene& s, const QStringList& a) {
    const QPoint at = s.spot(a[0].toInt()) + QPoint(a[2].toInt() % 40, a[2].toInt() % 30);
    if (!overWindow(s, at)) {
        return;
    }
    s.hand.move(at);
    s.hand.press(a[1].toInt());
    s.hand.release(a[1].toInt());
}

void tapSwitch(EndsScene& s, const QStringList& a) {
    if (QWidget* w = s.hand.mouseDown() ? nullptr : seen(s, a[0])) {
        s.hand.click(EndsScene::centre(w));
    }
}

void key(EndsScene& s, const QStringList& a) { s.hand.key(qPrintable(a[0])); }

void list(EndsScene& s, const QStringList& a) {
    if (QWidget* w = seen(s, a[0])) {
        w->setFocus();
        s.hand.key("space");
    }
}

// Nobody opens a menu on a window that is not there.
void menu(EndsScene& s, const QStringList&) {
    if (s.window->isMinimized() || !s.window->isVisible()) {
        return;
    }
    auto* m = new QMenu(s.window.get());
    m->setAttribute(Qt::WA_DeleteOnClose);
    m->addAction(QStringLiteral("one"));
    m->popup(s.spot(1));
}

void page(EndsScene& s, const QStringList& a) { s.ui().tabWidget->setCurrentIndex(a[0].toInt()); }
void pane(EndsScene& s, const QStringList&) { s.in().m_btnCtrlPane()->click(); }
void mode(EndsScene& s, const QStringList& a) { s.chooseMode(a[0] == "single"); }
void link(EndsScene& s, const QStringList&) { s.toggleLink(); }
void other(EndsScene& s, const QStringList&) { s.hand.activateOther(); }
void back(EndsScene& s, const QStringList&) { s.window->activateWindow(); }
void minimise(EndsScene& s, const QStringList&) {
    if (QApplication::activePopupWidget() == nullptr) {
        s.window->showMinimized();
    }
}
void restore(EndsScene& s, const QStringList&) { s.window->showNormal(); }
void lose(EndsScene& s, const QStringList&) { s.hand.loseMouse(); }
void regain(EndsScene& s, const QStringList&) { s.hand.regainMouse(); }

QString none(Dice&) { return {}; }
QString button(Dice& d) { return d.one(kButtons); }
QString which(Dice& d) { return QString::number(1 + d.below(2)); }
QString fingerAndButton(Dice& d) { return which(d) + ' ' + d.one(kButtons); }
QString fingerAndPicture(Dice& d) { return which(d) + ' ' + which(d); }
QString by(Dice& d) { return QString::number(d.below(161) - 80) + ' ' + QString::number(d.below(161) - 80); }
QString fingerAndMove(Dice& d) { return which(d) + ' ' + by(d); }
QString pictureAndTurn(Dice& d) { return which(d) + (d.below(2) == 0 ? " up" : " down"); }
QString pictureAndMove(Dice& d) { return which(d) + ' ' + by(d); }
QString pictureAndClick(Dice& d) {
    return QStringLiteral("%1 %2 %3").arg(which(d)).arg(1 + d.below(3)).arg(d.below(1000));
}
QString aSwitch(Dice& d) { return d.one(kSwitches); }
QString aKey(Dice& d) { return d.one(kKeys); }
QString aList(Dice& d) { return d.one(kLists); }
QString aPage(Dice& d) { return QString::number(d.below(2)); }
QString aMode(Dice& d) { return d.below(2) == 0 ? QStringLiteral("single") : QStringLiteral("periodic"); }

struct Verb {
    const char* name;
    int weight;
    int arguments;
    QString (*choose)(Dice&);
    void (*run)(EndsScene&, const QStringList&);
};
constexpr Verb kVerbs[] = {
    {"press", 14, 1, button, press},
    {"release", 10, 0, none, release},
    {"finger", 10, 2, fingerAndButton, finger},
    {"finger-picture", 3, 2, fingerAndPicture, fingerOnPicture},
    {"finger-move", 4, 3, fingerAndMove, fingerMove},
    {"finger-up", 8, 1, which, fingerUp},
    {"cancel", 1, 0, none, cancel},
    {"wheel", 8, 2, pictureAndTurn, wheel},
    {"drag", 6, 3, pictureAndMove, drag},
    {"click", 5, 3, pictureAndClick, click},
    {"switch", 2, 1, aSwitch, tapSwitch},
    {"key", 4, 1, aKey, key},
    {"list", 3, 1, aList, list},
    {"menu", 2, 0, none, menu},
    {"page", 2, 1, aPage, page},
    {"pane", 1, 0, none, pane},
    {"mode", 3, 1, aMode, mode},
    {"link", 2, 0, none, link},
    {"other", 1, 0, none, other},
    {"back", 2, 0, none, back},
    {"minimise", 1, 0, none, minimise},
    {"restore", 2, 0, none, restore},
    {"lose", 1, 0, none, lose},
    {"regain", 2, 0, none, regain},
};

}  // namespace

QString chooseAction(Dice& dice) {
    int sum = 0;
    for (const Verb& v : kVerbs) {
        sum += v.weight;
    }
    int at = dice.below(sum);
    const Verb* verb = kVerbs;
    while (at >= verb->weight) {
        at -= verb->weight;
        ++verb;
    }
    return (QLatin1String(verb->name) + ' ' + verb->choose(dice)).trimmed();
}

bool perform(EndsScene& scene, const QString& action) {
    closeModal();
    const QStringList words = action.split(' ', Qt::SkipEmptyParts);
    for (const Verb& v : kVerbs) {
        if (!words.isEmpty() && words[0] == QLatin1String(v.name) && words.size() == v.arguments + 1) {
            v.run(scene, words.mid(1));
            return true;
        }
    }
    return false;
}
