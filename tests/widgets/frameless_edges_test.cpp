// The edges of the frameless window: pure geometry.
#include "widgets/frameless_edges.h"

#include <gtest/gtest.h>

namespace {

using Edges = FramelessEdges;
constexpr QRect kFrame(200, 150, 900, 600);  // x 200 to 1099, y 150 to 749
constexpr int kAll = Edges::kTop | Edges::kLeft | Edges::kRight | Edges::kBottom;

int hit(int x, int y) { return Edges::hit(QPoint(x, y), kFrame); }

TEST(FramelessEdges, ThePartsOfTheResultAreBits) {
    EXPECT_EQ(Edges::kTop, 1);
    EXPECT_EQ(Edges::kLeft, 2);
    EXPECT_EQ(Edges::kRight, 4);
    EXPECT_EQ(Edges::kBottom, 8);
}

TEST(FramelessEdges, EachEdgeIsHitStrictlyCloserThanFivePixelsOnBothSides) {
    for (int d = -8; d <= 8; ++d) {
        const bool near = d > -5 && d < 5;
        EXPECT_EQ(hit(600, 150 + d), near ? Edges::kTop : 0) << d;
        EXPECT_EQ(hit(200 + d, 400), near ? Edges::kLeft : 0) << d;
        EXPECT_EQ(hit(1099 + d, 400), near ? Edges::kRight : 0) << d;
        EXPECT_EQ(hit(600, 749 + d), near ? Edges::kBottom : 0) << d;
    }
    EXPECT_EQ(hit(600, 400), 0);
}

TEST(FramelessEdges, CornersAreTwoEdges) {
    EXPECT_EQ(hit(200, 150), Edges::kTop | Edges::kLeft);
    EXPECT_EQ(hit(1099, 150), Edges::kTop | Edges::kRight);
    EXPECT_EQ(hit(200, 749), Edges::kBottom | Edges::kLeft);
    EXPECT_EQ(hit(1099, 749), Edges::kBottom | Edges::kRight);
    EXPECT_EQ(hit(204, 154), Edges::kTop | Edges::kLeft);
    EXPECT_EQ(hit(204, 155), Edges::kLeft);
}

TEST(FramelessEdges, AWindowOfAFewPixelsHasThemAllAtOnce) {
    EXPECT_EQ(Edges::hit(QPoint(12, 12), QRect(10, 10, 4, 4)), kAll);
}

TEST(FramelessEdges, TheCursorFollowsTheEdges) {
    EXPECT_EQ(Edges::cursor(Edges::kTop), Qt::SizeVerCursor);
    EXPECT_EQ(Edges::cursor(Edges::kBottom), Qt::SizeVerCursor);
    EXPECT_EQ(Edges::cursor(Edges::kLeft), Qt::SizeHorCursor);
    EXPECT_EQ(Edges::cursor(Edges::kRight), Qt::SizeHorCursor);
    EXPECT_EQ(Edges::cursor(Edges::kTop | Edges::kLeft), Qt::SizeFDiagCursor);
    EXPECT_EQ(Edges::cursor(Edges::kBottom | Edges::kRight), Qt::SizeFDiagCursor);
    EXPECT_EQ(Edges::cursor(Edges::kTop | Edges::kRight), Qt::SizeBDiagCursor);
    EXPECT_EQ(Edges::cursor(Edges::kBottom | Edges::kLeft), Qt::SizeBDiagCursor);
    EXPECT_EQ(Edges::cursor(0), Qt::ArrowCursor);
}

TEST(FramelessEdges, EachEdgeAndCornerMovesAloneWithThePointer) {
    const QPoint offset(30, -20);
    const auto moved = [&offset](int edges) { return Edges::moved(kFrame, edges, offset); };
    EXPECT_EQ(moved(Edges::kTop), QRect(200, 130, 900, 620));
    EXPECT_EQ(moved(Edges::kBottom), QRect(200, 150, 900, 580));
    EXPECT_EQ(moved(Edges::kLeft), QRect(230, 150, 870, 600));
    EXPECT_EQ(moved(Edges::kRight), QRect(200, 150, 930, 600));
    EXPECT_EQ(moved(Edges::kTop | Edges::kLeft), QRect(230, 130, 870, 620));
    EXPECT_EQ(moved(Edges::kTop | Edges::kRight), QRect(200, 130, 930, 620));
    EXPECT_EQ(moved(Edges::kBottom | Edges::kLeft), QRect(230, 150, 870, 580));
    EXPECT_EQ(moved(Edges::kBottom | Edges::kRight), QRect(200, 150, 930, 580));
}

TEST(FramelessEdges, NoEdgeOppositeEdgesAndMoreThanTwoMoveNothing) {
    const int two = Edges::kTop | Edges::kBottom;
    const int other_two = Edges::kLeft | Edges::kRight;
    for (const int edges : {0, two, other_two, two | Edges::kLeft, two | Edges::kRight,
                            other_two | Edges::kTop, other_two | Edges::kBottom, kAll}) {
        EXPECT_EQ(Edges::cursor(edges), Qt::ArrowCursor) << edges;
        EXPECT_EQ(Edges::moved(kFrame, edges, QPoint(30, -20)), kFrame) << edges;
    }
}

TEST(FramelessEdges, TenPixelsInAnyDirectionAreNoDrag) {
    EXPECT_FALSE(Edges::isDrag({0, 0}));
    EXPECT_FALSE(Edges::isDrag({10, 0}));
    EXPECT_FALSE(Edges::isDrag({-6, 8}));
    EXPECT_TRUE(Edges::isDrag({0, -11}));
    EXPECT_TRUE(Edges::isDrag({8, 7}));
}

}  // namespace
