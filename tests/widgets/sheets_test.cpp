#include "widgets/sheets.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QHash>
#include <QLabel>
#include <QLineEdit>
#include <QStackedWidget>
#include <QTest>
#include <QVBoxLayout>

namespace {

constexpr const char* kFirst = "QWidget { color: #112233; font-size: 10pt; } QLineEdit { min-height: 50px; }";
constexpr const char* kSecond = "QWidget { color: #445566; font-size: 20pt; } QLabel { padding: 7px; }";

// How often each widget was told of a new style.
class StyleCounter : public QObject {
public:
    StyleCounter() { qApp->installEventFilter(this); }
    ~StyleCounter() override { qApp->removeEventFilter(this); }
    bool eventFilter(QObject* obj, QEvent* e) override {
        if (e->type() == QEvent::StyleChange) {
            ++times[obj];
        }
        return QObject::eventFilter(obj, e);
    }
    QHash<const QObject*, int> times;
};

// A window with a label five levels deep, a page behind another and a dialog of its own.
class Sheets : public ::testing::Test {
protected:
    void SetUp() override {
        QWidget* at = &window;
        for (int level = 0; level < 4; ++level) {
            auto* box = new QWidget(at);
            (new QVBoxLayout(at))->addWidget(box);
            at = box;
        }
        auto* pages = new QStackedWidget(at);
        (new QVBoxLayout(at))->addWidget(pages);
        deep = new QLabel("deep");
        hidden = new QLineEdit("hidden");
        pages->addWidget(deep);
        pages->addWidget(hidden);
        dialog = new QDialog(&window);
        in_dialog = new QLabel("dialog", dialog);
        setApplicationSheet(kFirst);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    }
    void TearDown() override { setApplicationSheet(QString()); }

    static QColor colour(const QWidget* widget) { return widget->palette().color(widget->foregroundRole()); }

    QWidget window;
    QLabel* deep = nullptr;
    QLineEdit* hidden = nullptr;
    QDialog* dialog = nullptr;
    QLabel* in_dialog = nullptr;
};

TEST_F(Sheets, AChangeReachesEveryWidgetAndEachOnce) {
    dialog->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog));
    StyleCounter counter;
    setApplicationSheet(kSecond);
    EXPECT_EQ(qApp->styleSheet(), kSecond);
    for (const QWidget* widget : {static_cast<QWidget*>(deep), static_cast<QWidget*>(hidden),
                                  static_cast<QWidget*>(in_dialog), deep->parentWidget(), &window}) {
        EXPECT_EQ(colour(widget), QColor("#445566")) << widget->metaObject()->className();
        EXPECT_EQ(widget->font().pointSize(), 20) << widget->metaObject()->className();
        EXPECT_EQ(counter.times.value(widget), 1) << widget->metaObject()->className();
    }
}

TEST_F(Sheets, WhatTheNewSheetDoesNotSayIsTakenBack) {
    ASSERT_GE(hidden->minimumHeight(), 50);
    setApplicationSheet(kSecond);
    EXPECT_EQ(hidden->minimumHeight(), 0);
    setApplicationSheet(kFirst);
    EXPECT_GE(hidden->minimumHeight(), 50);
    EXPECT_EQ(deep->font().pointSize(), 10);
}

TEST_F(Sheets, SizesFollowAtOnce) {
    const int before = deep->sizeHint().height();
    setApplicationSheet(kSecond);
    EXPECT_GT(deep->sizeHint().height(), before + 14);
}

// A parent that places its children by hand has to find them styled.
TEST_F(Sheets, AParentHearsOfTheChangeAfterItsChildren) {
    struct Placer : QWidget {
        using QWidget::QWidget;
        QLabel* label = nullptr;
        int points = 0;
        void changeEvent(QEvent* e) override {
            QWidget::changeEvent(e);
            if (e->type() == QEvent::StyleChange) {
                points = label->font().pointSize();
            }
        }
    };
    Placer placer;
    placer.label = new QLabel("placed", &placer);
    placer.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&placer));
    setApplicationSheet(kSecond);
    EXPECT_EQ(placer.points, 20);
}

TEST_F(Sheets, AWidgetsOwnSheetStaysOnTop) {
    setOwnSheet(deep, "color: #ff0000;");
    setApplicationSheet(kSecond);
    EXPECT_EQ(colour(deep), QColor("#ff0000"));
    EXPECT_EQ(deep->font().pointSize(), 20);
    setOwnSheet(deep, "color: #00ff00;");
    EXPECT_EQ(colour(deep), QColor("#00ff00"));
    setOwnSheet(deep, QString());
    EXPECT_EQ(colour(deep), QColor("#445566"));
}

TEST_F(Sheets, TheSameOwnSheetIsNotSetAgain) {
    setOwnSheet(deep, "color: #ff0000;");
    StyleCounter counter;
    setOwnSheet(deep, "color: #ff0000;");
    EXPECT_EQ(counter.times.size(), 0);
    setOwnSheet(deep, "color: #00ff00;");
    EXPECT_GT(counter.times.value(deep), 0);
}

TEST_F(Sheets, ADialogFirstShownAfterTheChangeHasTheNewSheet) {
    setApplicationSheet(kSecond);
    dialog->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog));
    EXPECT_EQ(colour(in_dialog), QColor("#445566"));
    EXPECT_EQ(in_dialog->font().pointSize(), 20);
}

TEST_F(Sheets, AnEmptySheetTakesTheLookAway) {
    setApplicationSheet(QString());
    EXPECT_NE(colour(deep), QColor("#112233"));
    EXPECT_LT(hidden->minimumHeight(), 50);
    setApplicationSheet(kSecond);
    EXPECT_EQ(colour(deep), QColor("#445566"));
}

}  // namespace
