// The wheel of a real pointer over a page with controls on it.
#include "widgets/page_wheel.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QComboBox>
#include <QDateEdit>
#include <QDial>
#include <QListWidget>
#include <QScrollArea>
#include <QScrollBar>
#include <QSlider>
#include <QSpinBox>
#include <QTest>
#include <QVBoxLayout>

#include "wait.h"
#include "x11_pointer.h"

namespace {

constexpr int kWheelUp = 4;
constexpr int kWheelDown = 5;

// The rule as the program uses it.
class Rule : public QObject {
public:
    Rule() { qApp->installEventFilter(this); }
    bool eventFilter(QObject* object, QEvent* e) override {
        return passWheelOn(object, e) || QObject::eventFilter(object, e);
    }
};

class PageWheel : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(pointer.available());
        auto* page = new QWidget;
        column = new QVBoxLayout(page);
        area.setWidgetResizable(true);
        area.setWidget(page);
        area.setGeometry(200, 150, 400, 300);
    }
    template <typename Control>
    Control* add() {
        auto* control = new Control;
        column->addWidget(control);
        return control;
    }
    // A page three times as high as the window, the control under the window's top, the page half down.
    void show() {
        area.widget()->setMinimumHeight(900);
        column->insertSpacing(0, 200);
        column->addStretch();
        area.show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&area));
        bar().setValue(kStart);
    }
    QScrollBar& bar() { return *area.verticalScrollBar(); }

    void turn(QWidget* over, int button, QPoint at = {}) {
        const QPoint local = at.isNull() ? over->rect().center() : at;
        const QPointF global = QPointF(over->mapToGlobal(local)) * over->devicePixelRatioF();
        pointer.moveTo(qRound(global.x()), qRound(global.y()));
        pointer.press(button);
        pointer.release(button);
    }
    // One notch over the control and back: the page goes both ways.
    void expectThePageMoves(QWidget* over) {
        bar().setValue(kStart);
        turn(over, kWheelDown);
        EXPECT_TRUE(waitFor([this] { return bar().value() > kStart; })) << over->metaObject()->className();
        bar().setValue(kStart);
        turn(over, kWheelUp);
        EXPECT_TRUE(waitFor([this] { return bar().value() < kStart; })) << over->metaObject()->className();
        bar().setValue(kStart);
    }

    static constexpr int kStart = 150;
    X11Pointer pointer;
    Rule rule;
    QScrollArea area;
    QVBoxLayout* column = nullptr;
};

TEST_F(PageWheel, MovesThePageOverAClosedComboBox) {
    auto* box = add<QComboBox>();
    box->addItems({"one", "two", "three"});
    box->setCurrentIndex(1);
    auto* editable = add<QComboBox>();
    editable->setEditable(true);
    editable->addItems({"one", "two", "three"});
    editable->setCurrentIndex(1);
    show();
    expectThePageMoves(box);
    expectThePageMoves(editable);
    EXPECT_EQ(box->currentIndex(), 1);
    EXPECT_EQ(editable->currentIndex(), 1);
    EXPECT_EQ(editable->currentText(), "two");
}

TEST_F(PageWheel, MovesThePageOverSlidersAndSpinBoxes) {
    auto* slider = add<QSlider>();
    slider->setOrientation(Qt::Horizontal);
    slider->setValue(50);
    auto* dial = add<QDial>();
    dial->setValue(50);
    auto* spin = add<QSpinBox>();
    spin->setValue(50);
    auto* date = add<QDateEdit>();
    date->setDate(QDate(2025, 11, 20));
    show();
    for (QWidget* control : {static_cast<QWidget*>(slider), static_cast<QWidget*>(dial),
                             static_cast<QWidget*>(spin), static_cast<QWidget*>(date)}) {
        expectThePageMoves(control);
    }
    EXPECT_EQ(slider->value(), 50);
    EXPECT_EQ(dial->value(), 50);
    EXPECT_EQ(spin->value(), 50);
    EXPECT_EQ(date->date(), QDate(2025, 11, 20));
}

TEST_F(PageWheel, OpenListsItemViewsAndScrollBarsKeepIt) {
    auto* box = add<QComboBox>();
    auto* list = add<QListWidget>();
    list->setFixedHeight(120);
    for (int i = 0; i < 60; ++i) {
        box->addItem(QString::number(i));
        list->addItem(QString::number(i));
    }
    show();
    turn(list->viewport(), kWheelDown);
    EXPECT_TRUE(waitFor([&] { return list->verticalScrollBar()->value() > 0; }));
    EXPECT_EQ(bar().value(), kStart);

    turn(&bar(), kWheelDown);
    EXPECT_TRUE(waitFor([this] { return bar().value() > kStart; }));

    bar().setValue(kStart);
    box->showPopup();
    QAbstractItemView* open = box->view();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(open->window()));
    ASSERT_GT(open->verticalScrollBar()->maximum(), 0) << "as long a list as this scrolls";
    turn(open->viewport(), kWheelDown);
    EXPECT_TRUE(waitFor([&] { return open->verticalScrollBar()->value() > 0; }));
    EXPECT_EQ(bar().value(), kStart);
    box->hidePopup();
}

}  // namespace
