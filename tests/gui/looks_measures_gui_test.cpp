// Whether the measures of the looks tests find what they are for.
#include <QLabel>

#include "korvath_fixture.h"
#include "looks.h"

namespace {

// What the measures would miss, a looks test would never find.
class LooksMeasures : public KorvathTest {
protected:
    void SetUp() override {
        probe.setStyleSheet("QWidget { background: #888888; color: #777777; } QPushButton { border: none; }");
        probe.resize(400, 300);
    }
    void TearDown() override {}
    void show() {
        probe.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&probe, 10000));
    }
    QWidget probe;
};

TEST_F(LooksMeasures, WeakTextIsFoundAndStrongIsNot) {
    auto* weak = new QLabel("weak words", &probe);
    weak->setObjectName("weak");
    weak->setGeometry(10, 10, 200, 30);
    auto* strong = new QLabel("strong words", &probe);
    strong->setStyleSheet("color: #000000; background: #ffffff;");
    strong->setGeometry(10, 60, 200, 30);
    auto* button = new QPushButton("weak button", &probe);
    button->setObjectName("button");
    button->setGeometry(10, 110, 200, 30);
    auto* disabled = new QPushButton("off", &probe);
    disabled->setEnabled(false);
    disabled->setGeometry(10, 160, 200, 30);
    show();
    QSet<const QWidget*> seen;
    const QStringList found = looks::weakTexts(&probe, looks::pictureOn(&probe, 0), {}, &seen);
    ASSERT_EQ(found.size(), 2) << qPrintable(found.join('\n'));
    EXPECT_TRUE(found[0].startsWith("weak \"weak words\"")) << qPrintable(found[0]);
    EXPECT_TRUE(found[1].startsWith("button \"weak button\"")) << qPrintable(found[1]);
}

TEST_F(LooksMeasures, ContrastIsTheKnownRatio) {
    EXPECT_NEAR(looks::contrast(qRgb(0, 0, 0), qRgb(255, 255, 255)), 21.0, 0.01);
    EXPECT_NEAR(looks::contrast(qRgb(0x77, 0x77, 0x77), qRgb(255, 255, 255)), 4.48, 0.01);
}

TEST_F(LooksMeasures, CutTextIsFound) {
    auto* label = new QLabel("much too long a text", &probe);
    label->setObjectName("label");
    label->setGeometry(10, 10, 30, 30);
    auto* wrapped = new QLabel("some words on three or four lines", &probe);
    wrapped->setObjectName("wrapped");
    wrapped->setWordWrap(true);
    wrapped->setGeometry(10, 50, 100, 20);
    auto* combo = new QComboBox(&probe);
    combo->setObjectName("combo");
    combo->addItems({"a", "an item that is not chosen"});
    combo->setGeometry(10, 90, 60, 30);
    auto* fits = new QLabel("fits", &probe);
    fits->setGeometry(10, 140, 200, 30);
    show();
    const QStringList found = looks::cutTexts(&probe, {});
    ASSERT_EQ(found.size(), 3) << qPrintable(found.join('\n'));
    EXPECT_TRUE(found[0].startsWith("label"));
    EXPECT_TRUE(found[1].startsWith("wrapped"));
    EXPECT_TRUE(found[2].startsWith("combo"));
}

TEST_F(LooksMeasures, WidgetsOnEachOtherAndOutsideAreFound) {
    auto* first = new QLabel("first", &probe);
    first->setGeometry(10, 10, 100, 30);
    auto* second = new QLabel("second", &probe);
    second->setGeometry(80, 20, 100, 30);
    auto* third = new QLabel("third", &probe);
    third->setObjectName("third");
    third->setGeometry(350, 100, 100, 30);
    show();
    const QStringList found = looks::misplaced(&probe);
    ASSERT_EQ(found.size(), 2) << qPrintable(found.join('\n'));
    EXPECT_TRUE(found.filter("lies on").size() == 1);
    EXPECT_TRUE(found.contains("third reaches out"));
}

TEST_F(LooksMeasures, ChineseIsFoundWhereverItIsTold) {
    auto* label = new QLabel("abc", &probe);
    label->setToolTip(QStringLiteral("提示"));
    auto* combo = new QComboBox(&probe);
    combo->addItems({"a", QStringLiteral("乙")});
    auto* edit = new QLineEdit(&probe);
    edit->setPlaceholderText(QStringLiteral("内容"));
    auto* path = new QLineEdit(QStringLiteral("/家"), &probe);
    path->setObjectName("path");
    show();
    EXPECT_EQ(looks::chineseTexts(&probe, {"path"}).size(),
              4);  // the placeholder counts as shown and as told
}

}  // namespace
