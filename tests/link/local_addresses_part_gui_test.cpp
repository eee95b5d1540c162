// The list of this machine's addresses, with interfaces and a look-up that the test plays.
#include <gtest/gtest.h>

#include <QAbstractItemView>
#include <QComboBox>
#include <QHostAddress>
#include <QLineEdit>
#include <QNetworkInterface>
#include <QTest>
#include <QTimer>
#include <memory>

#include "link/local_addresses.h"
#include "tests/widgets/wait.h"

namespace {

class LocalAddressesPart : public ::testing::Test {
protected:
    void build() {
        list = std::make_unique<LocalAddresses>(
            box, destination,
            AddressSources{[this] { return interfaces; },
                           [this](const AddressSources::Take& take) { answer = take; }});
        list->fill();
    }
    bool openList() {
        box.show();
        if (!QTest::qWaitForWindowActive(&box)) {
            return false;
        }
        box.showPopup();
        return QTest::qWaitForWindowExposed(box.view()->window());
    }
    QStringList items() const {
        QStringList texts;
        for (int i = 0; i < box.count(); ++i) {
            texts << box.itemText(i);
        }
        return texts;
    }
    void type(const QString& text) {
        box.lineEdit()->clear();
        QTest::keyClicks(box.lineEdit(), text);
    }

    QComboBox box;
    QString destination = "192.0.2.160";
    QStringList interfaces = {"127.0.0.1", "192.0.2.5", "198.51.100.5"};
    AddressSources::Take answer;
    std::unique_ptr<LocalAddresses> list;
};

TEST_F(LocalAddressesPart, TheInterfacesAreThereAtOnce) {
    build();
    EXPECT_EQ(items(), interfaces);
    EXPECT_EQ(box.currentText(), "192.0.2.5");
    EXPECT_TRUE(box.isEditable());
}

TEST_F(LocalAddressesPart, WithoutOneOnThePodsSubnetItIsTheFirst) {
    destination = "203.0.113.160";
    build();
    EXPECT_EQ(box.currentText(), "127.0.0.1");
    answer({"127.0.1.1"});
    EXPECT_EQ(box.currentText(), "127.0.1.1");
}

TEST_F(LocalAddressesPart, TheLookUpComesFirstInItsOrder) {
    build();
    answer({"192.0.2.9", "127.0.1.1"});
    EXPECT_EQ(items(), (QStringList{"192.0.2.9", "127.0.1.1", "127.0.0.1", "192.0.2.5", "198.51.100.5"}));
    EXPECT_EQ(box.currentText(), "192.0.2.9") << "the rule has run again";
    EXPECT_EQ(box.currentIndex(), 0);
}

TEST_F(LocalAddressesPart, AnAddressInBothStandsOnceAtTheLookUpsPlace) {
    build();
    answer({"198.51.100.5", "192.0.2.5"});
    EXPECT_EQ(items(), (QStringList{"198.51.100.5", "192.0.2.5", "127.0.0.1"}));
    EXPECT_EQ(box.currentIndex(), 1);
    EXPECT_EQ(box.currentText(), "192.0.2.5");
}

TEST_F(LocalAddressesPart, AnAnswerDuringTheCallCounts) {
    list = std::make_unique<LocalAddresses>(
        box, destination,
        AddressSources{[this] { return interfaces; },
                       [](const AddressSources::Take& take) { take({"127.0.1.1"}); }});
    list->fill();
    EXPECT_EQ(items(), (QStringList{"127.0.1.1", "127.0.0.1", "192.0.2.5", "198.51.100.5"}));
    EXPECT_EQ(box.currentText(), "192.0.2.5");
}

TEST_F(LocalAddressesPart, AnEmptyAnswerChangesNothing) {
    build();
    answer({});
    EXPECT_EQ(items(), interfaces);
    EXPECT_EQ(box.currentText(), "192.0.2.5");
}

TEST_F(LocalAddressesPart, WhatTheOperatorChoseStays) {
    build();
    box.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&box));
    QTest::keyClick(&box, Qt::Key_Down);
    ASSERT_EQ(box.currentText(), "198.51.100.5");
    answer({"192.0.2.9", "198.51.100.5"});
    EXPECT_EQ(items(), (QStringList{"192.0.2.9", "198.51.100.5", "127.0.0.1", "192.0.2.5"}));
    EXPECT_EQ(box.currentText(), "198.51.100.5");
    EXPECT_EQ(box.currentIndex(), 1);
}

TEST_F(LocalAddressesPart, TheSameItemChosenAgainIsAChoice) {
    build();
    emit box.activated(box.currentIndex());
    answer({"192.0.2.9"});
    EXPECT_EQ(box.currentText(), "192.0.2.5");
}

TEST_F(LocalAddressesPart, WhatAnotherPartHasPutThereStays) {
    build();
    box.setCurrentText("127.0.0.1");
    answer({"192.0.2.9"});
    EXPECT_EQ(box.currentText(), "127.0.0.1");
}

TEST_F(LocalAddressesPart, WhatIsKeptStays) {
    build();
    list->keep();
    answer({"192.0.2.9"});
    EXPECT_EQ(box.currentText(), "192.0.2.5");
    EXPECT_EQ(box.currentIndex(), 2);
}

TEST_F(LocalAddressesPart, WhatIsTypedStaysAsItStands) {
    build();
    box.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&box));
    type("192.0.2.");
    EXPECT_EQ(box.currentText(), "192.0.2.") << "nothing is put behind it";
    box.lineEdit()->setCursorPosition(3);
    answer({"192.0.2.9"});
    EXPECT_EQ(box.currentText(), "192.0.2.");
    EXPECT_EQ(box.lineEdit()->cursorPosition(), 3);
    EXPECT_EQ(box.count(), 4);
    box.lineEdit()->setSelection(2, 4);
    answer({"203.0.113.5"});
    EXPECT_EQ(box.lineEdit()->selectedText(), "2.0.");
}

// Also when the operator ends where the rule began.
TEST_F(LocalAddressesPart, TheRulesOwnAddressTypedIsAChoice) {
    build();
    type("192.0.2.5");
    answer({"192.0.2.9"});
    EXPECT_EQ(box.currentText(), "192.0.2.5");
}

TEST_F(LocalAddressesPart, NoRowMovesWhileTheListIsOpen) {
    build();
    ASSERT_TRUE(openList());
    answer({"192.0.2.9"});
    EXPECT_EQ(items(), interfaces);
    box.hidePopup();
    EXPECT_TRUE(waitFor([this] { return box.count() == 4; }));
    EXPECT_EQ(box.currentText(), "192.0.2.9");
}

TEST_F(LocalAddressesPart, AnAnswerAfterTheEndIsNotTaken) {
    build();
    list.reset();
    answer({"192.0.2.9"});
    EXPECT_EQ(items(), interfaces);
    // The box that outlives it is an ordinary one.
    type("10.0.0.1");
    EXPECT_EQ(box.currentText(), "10.0.0.1");
}

TEST_F(LocalAddressesPart, AnAnswerThatWaitsForTheListEndsWithTheObject) {
    build();
    ASSERT_TRUE(openList());
    answer({"192.0.2.9"});
    list.reset();
    box.hidePopup();
    int ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] { ++ticks; });
    timer.start(50);
    EXPECT_TRUE(waitFor([&] { return ticks >= 6; }));
    EXPECT_EQ(items(), interfaces);
}

// The real sources: the loopback address at once, and an answer of the system's look-up.
TEST_F(LocalAddressesPart, TheMachineHasAddresses) {
    const AddressSources sources = systemAddresses();
    const QStringList own = sources.of_interfaces();
    EXPECT_TRUE(own.contains("127.0.0.1"));
    EXPECT_EQ(own.filter(":"), QStringList{});
    bool came = false;
    QStringList looked_up;
    sources.look_up([&](const QStringList& addresses) {
        came = true;
        looked_up = addresses;
    });
    EXPECT_FALSE(came) << "the call does not wait";
    EXPECT_TRUE(waitFor([&] { return came; }, 60000));
    EXPECT_EQ(looked_up.filter(":"), QStringList{});
}

}  // namespace
