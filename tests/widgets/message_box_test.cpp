#include "widgets/my_message_box.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLayout>
#include <QPushButton>
#include <QStyle>
#include <QTest>
#include <QTimer>
#include <functional>

namespace {

// Runs `act` on the box once it is up; exec of the box holds the caller meanwhile.
void whenShown(const std::function<void(MyMessageBox*)>& act) {
    auto* poll = new QTimer(qApp);
    QObject::connect(poll, &QTimer::timeout, poll, [poll, act] {
        auto* box = qobject_cast<MyMessageBox*>(QApplication::activeModalWidget());
        if (box != nullptr && box->isVisible()) {
            poll->stop();
            poll->deleteLater();
            act(box);
        }
    });
    poll->start(5);
}

QPushButton* buttonOf(MyMessageBox* box, QDialogButtonBox::StandardButton which) {
    return box->findChild<QDialogButtonBox*>(QStringLiteral("buttonBox"))->button(which);
}

TEST(MyMessageBox, IsBuiltAsAFixedModalBox) {
    MyMessageBox box(MyMessageBox::kWarning, QStringLiteral("警告"), QStringLiteral("请先关闭串口"),
                     QMessageBox::Ok | QMessageBox::Cancel);
    EXPECT_EQ(box.minimumSize(), QSize(450, 225));
    EXPECT_EQ(box.maximumSize(), QSize(450, 225));
    EXPECT_TRUE(box.isModal());
    EXPECT_FALSE(box.windowFlags().testFlag(Qt::WindowContextHelpButtonHint));
    EXPECT_EQ(box.windowTitle(), QStringLiteral("警告"));
    auto* text = box.findChild<QLabel*>(QStringLiteral("textLabel"));
    auto* icon = box.findChild<QLabel*>(QStringLiteral("iconLabel"));
    ASSERT_NE(text, nullptr);
    ASSERT_NE(icon, nullptr);
    EXPECT_EQ(text->text(), QStringLiteral("请先关闭串口"));
    EXPECT_TRUE(text->openExternalLinks());
    EXPECT_EQ(text->font().family(), QStringLiteral("微软雅黑"));
    EXPECT_EQ(text->font().pointSize(), 12);
    ASSERT_NE(icon->pixmap(Qt::ReturnByValue).width(), 0);
    EXPECT_LE(icon->pixmap(Qt::ReturnByValue).width(), 30);
    EXPECT_EQ(box.layout()->spacing(), 0);
    for (const auto which : {QDialogButtonBox::Ok, QDialogButtonBox::Cancel}) {
        QPushButton* button = buttonOf(&box, which);
        ASSERT_NE(button, nullptr);
        EXPECT_EQ(button->minimumSize(), QSize(100, 30));
        EXPECT_EQ(button->font().pointSize(), 10);
    }
}

TEST(MyMessageBox, WithoutATitleItReadsMessage) {
    MyMessageBox box(MyMessageBox::kInformation, QString(), QStringLiteral("text"), QMessageBox::Ok);
    EXPECT_EQ(box.windowTitle(), QStringLiteral("Message"));
}

TEST(MyMessageBox, EveryKindCarriesTheInformationIcon) {
    const QImage expected =
        QApplication::style()->standardIcon(QStyle::SP_MessageBoxInformation).pixmap(30, 30).toImage();
    for (const auto kind : {MyMessageBox::kInformation, MyMessageBox::kQuestion, MyMessageBox::kSuccess,
                            MyMessageBox::kWarning, MyMessageBox::kError}) {
        MyMessageBox box(kind, QString(), QString(), QMessageBox::Ok);
        EXPECT_EQ(box.findChild<QLabel*>(QStringLiteral("iconLabel"))->pixmap(Qt::ReturnByValue).toImage(),
                  expected);
    }
}

TEST(MyMessageBox, ReturnsTheClickedButton) {
    whenShown(
        [](MyMessageBox* box) { QTest::mouseClick(buttonOf(box, QDialogButtonBox::Ok), Qt::LeftButton); });
    EXPECT_EQ(MyMessageBox::information(nullptr, QStringLiteral("提示"), QStringLiteral("text")),
              QMessageBox::Ok);
    whenShown(
        [](MyMessageBox* box) { QTest::mouseClick(buttonOf(box, QDialogButtonBox::No), Qt::LeftButton); });
    EXPECT_EQ(MyMessageBox::information(nullptr, QStringLiteral("提示"), QStringLiteral("text"),
                                        QMessageBox::Yes | QMessageBox::No),
              QMessageBox::No);
}

TEST(MyMessageBox, RolesDecideTheResult) {
    const std::pair<QMessageBox::StandardButton, int> cases[] = {
        {QMessageBox::Ok, QDialog::Accepted},     {QMessageBox::Yes, QDialog::Accepted},
        {QMessageBox::Cancel, QDialog::Rejected}, {QMessageBox::No, QDialog::Rejected},
        {QMessageBox::Help, QDialog::Rejected},  // neither: the box only closes
    };
    for (const auto& [button, result] : cases) {
        MyMessageBox box(MyMessageBox::kInformation, QString(), QString(), button);
        whenShown([which = button](MyMessageBox* shown) {
            buttonOf(shown, static_cast<QDialogButtonBox::StandardButton>(which))->click();
        });
        EXPECT_EQ(box.exec(), result) << button;
        ASSERT_NE(box.clickedButton(), nullptr);
        EXPECT_FALSE(box.isVisible());
    }
}

TEST(MyMessageBox, EscapeRejectsWithoutAClickedButton) {
    MyMessageBox box(MyMessageBox::kInformation, QString(), QString(), QMessageBox::Ok);
    whenShown([](MyMessageBox* shown) { QTest::keyClick(shown, Qt::Key_Escape); });
    EXPECT_EQ(box.exec(), QDialog::Rejected);
    EXPECT_EQ(box.clickedButton(), nullptr);
    whenShown([](MyMessageBox* shown) { QTest::keyClick(shown, Qt::Key_Escape); });
    EXPECT_EQ(MyMessageBox::information(nullptr, QString(), QString()), QMessageBox::NoButton);
}

TEST(MyMessageBox, IsCentredOnItsParent) {
    QWidget parent;
    parent.setGeometry(100, 80, 1000, 625);
    QPoint seen;
    whenShown([&](MyMessageBox* box) {
        seen = box->pos();
        box->close();
    });
    MyMessageBox::information(&parent, QString(), QString());
    EXPECT_EQ(seen, QPoint(100 + 275, 80 + 200));
}

TEST(MyMessageBox, TheOtherFormsTakeTheTextBeforeTheTitle) {
    using Form = QMessageBox::StandardButton (*)(QWidget*, const QString&, const QString&,
                                                 QMessageBox::StandardButtons);
    for (const Form form : {Form(&MyMessageBox::question), Form(&MyMessageBox::success),
                            Form(&MyMessageBox::warning), Form(&MyMessageBox::error)}) {
        QString title;
        QString text;
        whenShown([&](MyMessageBox* box) {
            title = box->windowTitle();
            text = box->findChild<QLabel*>(QStringLiteral("textLabel"))->text();
            buttonOf(box, QDialogButtonBox::Ok)->click();
        });
        EXPECT_EQ(form(nullptr, QStringLiteral("the text"), QStringLiteral("the title"), QMessageBox::Ok),
                  QMessageBox::Ok);
        EXPECT_EQ(title, QStringLiteral("the title"));
        EXPECT_EQ(text, QStringLiteral("the text"));
    }
}

}  // namespace
