// The mark in the open list of a box, as the screen shows it.
#include "widgets/marked_row.h"

#include <gtest/gtest.h>

#include <QAbstractItemView>
#include <QComboBox>
#include <QTest>

#include "wait.h"

namespace {

class MarkedRowTest : public ::testing::Test {
protected:
    void SetUp() override {
        box.addItems({"a", "b", "c"});
        plain.addItems({"a", "b", "c"});
        plain.setItemDelegate(new QStyledItemDelegate(&plain));
        for (QComboBox* each : {&box, &plain}) {
            each->setFixedWidth(200);
            each->show();
            ASSERT_TRUE(QTest::qWaitForWindowExposed(each));
        }
    }
    // What the two lists paint differently, by row.
    QList<int> differentRows() {
        const QImage with = picture(box);
        const QImage without = picture(plain);
        EXPECT_EQ(with.size(), without.size());
        QList<int> rows;
        for (int row = 0; row < 3; ++row) {
            const QRect rect = box.view()->visualRect(box.model()->index(row, 0));
            EXPECT_EQ(rect, plain.view()->visualRect(plain.model()->index(row, 0))) << "rows keep their size";
            if (with.copy(rect) != without.copy(rect)) {
                rows << row;
            }
        }
        return rows;
    }

    QComboBox box;
    QComboBox plain;
    MarkedRow& mark = *new MarkedRow(box, [] { return QStringLiteral("tip"); });

private:
    static QImage picture(QComboBox& combo) {
        combo.showPopup();
        EXPECT_TRUE(waitFor([&] { return combo.view()->isVisible(); }));
        combo.view()->clearSelection();
        combo.view()->setCurrentIndex({});
        const QImage image = combo.view()->viewport()->grab().toImage();
        combo.hidePopup();
        return image;
    }
};

TEST_F(MarkedRowTest, NoneIsMarkedAtFirst) { EXPECT_EQ(differentRows(), QList<int>{}); }

TEST_F(MarkedRowTest, OneRowIsMarkedWhicheverIsChosen) {
    box.setCurrentIndex(2);
    plain.setCurrentIndex(2);
    mark.setRow(1);
    EXPECT_EQ(differentRows(), QList<int>{1});
    EXPECT_EQ(box.currentIndex(), 2);
    mark.setRow(0);
    EXPECT_EQ(differentRows(), QList<int>{0});
    mark.setRow(7);
    EXPECT_EQ(differentRows(), QList<int>{});
}

TEST_F(MarkedRowTest, AnOpenListFollows) {
    box.showPopup();
    ASSERT_TRUE(waitFor([this] { return box.view()->isVisible(); }));
    QCoreApplication::processEvents();
    class Paints : public QObject {
    public:
        bool eventFilter(QObject*, QEvent* e) override {
            seen = seen || e->type() == QEvent::Paint;
            return false;
        }
        bool seen = false;
    } paints;
    ASSERT_TRUE(waitFor([&] {
        paints.seen = false;
        QTest::qWait(50);
        return !paints.seen;
    }));
    box.view()->viewport()->installEventFilter(&paints);
    mark.setRow(2);
    EXPECT_TRUE(waitFor([&] { return paints.seen; }));
}

}  // namespace
