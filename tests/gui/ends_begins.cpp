// The ways to begin a movement, or another command, on the pod.
#include <QAbstractItemView>
#include <QComboBox>
#include <QRadioButton>

#include "ends_table.h"

namespace {

QWidget* pressByMouse(EndsScene& s, const Begin& b) {
    QWidget* const w = s.control(b.widget.c_str());
    if (w != nullptr) {
        s.hand.move(EndsScene::centre(w));
        s.hand.press();
    }
    return w;
}

QWidget* pressByFinger(EndsScene& s, const Begin& b) {
    QWidget* const w = s.control(b.widget.c_str());
    if (w != nullptr) {
        s.hand.fingerDown(1, w->window(), EndsScene::centre(w));
    }
    return w;
}

template <QWidget* (*kPress)(EndsScene&, const Begin&)>
QWidget* inGyroMode(EndsScene& s, const Begin& b) {
    s.ui().radioButton_14->setChecked(true);
    return kPress(s, b);
}

template <int kPicture, bool kUp>
QWidget* wheel(EndsScene& s, const Begin&) {
    QWidget* const w = s.picture(kPicture);
    s.hand.move(s.spot(kPicture));
    s.hand.wheel(kUp);
    return w;
}

template <int kPicture>
QWidget* dragByMouse(EndsScene& s, const Begin&) {
    QWidget* const w = s.picture(kPicture);
    s.hand.move(s.spot(kPicture));
    s.hand.press();
    s.dragUntilMoving([&s](const QPoint& at) { s.hand.move(at); }, s.spot(kPicture));
    return w;
}

QWidget* dragByFinger(EndsScene& s, const Begin&) {
    QWidget* const w = s.picture(1);
    s.hand.fingerDown(1, w->window(), s.spot(1));
    s.dragUntilMoving([&s](const QPoint& at) { s.hand.fingerMove(1, at); }, s.spot(1));
    return w;
}

// Each time elsewhere: the second press of a double click is none.
QWidget* middleButton(EndsScene& s, const Begin&) {
    static int times = 0;
    QWidget* const w = s.picture(1);
    s.hand.move(s.spot(1) + QPoint(0, ++times % 8 * 20));
    s.hand.press(2);
    return w;
}

QComboBox* openList(EndsScene& s, const Begin& b, const std::function<void(QWidget*)>& open) {
    auto* box = qobject_cast<QComboBox*>(s.control(b.widget.c_str()));
    if (box == nullptr) {
        return nullptr;
    }
    open(box);
    return EndsScene::waitFor([box] { return box->view()->isVisible(); }, EndsScene::kAppearMs) ? box
                                                                                                : nullptr;
}

QWidget* chooseByMouse(EndsScene& s, const Begin& b) {
    QComboBox* const box = openList(s, b, [&s](QWidget* w) { s.hand.click(EndsScene::centre(w)); });
    if (box == nullptr) {
        return nullptr;
    }
    const QModelIndex other = box->model()->index(box->currentIndex() == 0 ? 1 : 0, 0);
    const QAbstractItemView* view = box->view();
    const QPoint at = view->viewport()->mapToGlobal(view->visualRect(other).center());
    int step = 0;
    EndsScene::waitFor(
        [&] {
            s.hand.move(at + QPoint(step++ % 20, 0));
            return view->currentIndex() == other;
        },
        EndsScene::kAppearMs);
    s.hand.press();
    s.hand.release();
    return EndsScene::waitFor([view] { return !view->isVisible(); }, EndsScene::kAppearMs) ? box : nullptr;
}

QWidget* chooseByKeys(EndsScene& s, const Begin& b) {
    QComboBox* const box = openList(s, b, [&s](QWidget* w) {
        w->setFocus();
        s.hand.key("space");
    });
    if (box == nullptr) {
        return nullptr;
    }
    s.hand.key(box->currentIndex() == 0 ? "Down" : "Up");
    s.hand.key("Return");
    return EndsScene::waitFor([box] { return !box->view()->isVisible(); }, EndsScene::kAppearMs) ? box
                                                                                                 : nullptr;
}

QWidget* switchByMouse(EndsScene& s, const Begin& b) {
    QWidget* const w = s.control(b.widget.c_str());
    if (w != nullptr) {
        s.hand.click(EndsScene::centre(w));
    }
    return w;
}

struct Button {
    const char* what;
    const char* widget;
    bool moves, thorough;
};
constexpr Button kButtons[] = {
    {"arrow", "pushButton_115", true, true},           {"visible zoom", "pushButton_118", true, true},
    {"visible focus", "pushButton_119", true, false},  {"infrared zoom", "pushButton_122", true, true},
    {"infrared focus", "pushButton_144", true, false}, {"stow", "pushButton_106", false, false},
};

}  // namespace

std::vector<Begin> allBegins() {
    std::vector<Begin> all;
    for (const Button& b : kButtons) {
        all.push_back({std::string(b.what) + " by mouse", Begin::kMouse, b.moves, b.thorough, true, b.widget,
                       pressByMouse});
    }
    all.push_back({"gyro arrow by mouse", Begin::kMouse, true, false, true, "pushButton_115",
                   inGyroMode<pressByMouse>});
    all.push_back({"drag on picture 1 by mouse", Begin::kMouse, true, true, false, "", dragByMouse<1>});
    all.push_back({"drag on picture 2 by mouse", Begin::kMouse, true, false, false, "", dragByMouse<2>});
    all.push_back({"wheel up on picture 1", Begin::kOver, true, true, false, "", wheel<1, true>});
    all.push_back({"wheel down on picture 2", Begin::kOver, true, false, false, "", wheel<2, false>});
    all.push_back({"middle button", Begin::kMouse, false, false, false, "", middleButton});
    all.push_back({"choice by mouse", Begin::kOver, false, false, false, "comboBox_4", chooseByMouse});
    all.push_back({"choice by keys", Begin::kOver, false, false, false, "comboBox_4", chooseByKeys});
    all.push_back({"switch by mouse", Begin::kOver, false, false, false, "widget_2", switchByMouse});
    // After all of the mouse's: a finger's end leaves the button waiting for a release by mouse.
    for (const Button& b : kButtons) {
        all.push_back({std::string(b.what) + " by finger", Begin::kFinger, b.moves, b.thorough, true,
                       b.widget, pressByFinger});
    }
    all.push_back({"gyro arrow by finger", Begin::kFinger, true, false, true, "pushButton_115",
                   inGyroMode<pressByFinger>});
    all.push_back({"drag on picture 1 by finger", Begin::kFinger, true, true, false, "", dragByFinger});
    return all;
}
