// The main window with its link, and the far end in the test's hands.
#pragma once

#include <QAbstractEventDispatcher>

#include "korvath_fixture.h"
#include "tests/fakes/link_peers.h"

// The window with its link through the real dialog.
class LinkTest : public KorvathTest {
protected:
    Ui::connection& dialog() const { return *in().ui_connection(); }

    void aimAt(int port) const {
        dialog().cbb_ctrlConnIpAddr->setText("127.0.0.1");
        dialog().cbb_ctrlConnIpPort->setText(QString::number(port));
        dialog().cbb_ctrlConnLocalPort->setText("0");
        if (dialog().comboBox->findText("127.0.0.1") < 0) {
            dialog().comboBox->addItem("127.0.0.1");
        }
        dialog().comboBox->setCurrentIndex(dialog().comboBox->findText("127.0.0.1"));
    }
    void openUdp() {
        aimAt(peer.port());
        dialog().radioButton_13->setChecked(true);
        dialog().pushButton_26->click();
        ASSERT_EQ(in().m_linkState(), kLinkUdp);
    }
    void openSerial(const SerialPeer& line) {
        dialog().cbb_ctrlSerialNo->setEditText(line.name());
        dialog().pushButton_25->click();
        ASSERT_EQ(in().m_linkState(), kLinkSerial);
    }
    // The start sends a command of its own and stops it 100 ms later. Timers expire in their order, so a
    // longer one started now expires after it.
    void letTheStartEnd() {
        bool later = false;
        QTimer::singleShot(150, Qt::PreciseTimer, window.get(), [&] { later = true; });
        ASSERT_TRUE(waitFor([&] { return later; }));
    }
    void choosePeriodic() const { in().m_settings()->ui->rbtn_scaleQualLow_3->setChecked(true); }
    void chooseSingle() const { in().m_settings()->ui->rbtn_scaleQualHigh_3->setChecked(true); }

    std::size_t runningTimers() const {
        return static_cast<std::size_t>(
            QAbstractEventDispatcher::instance()->registeredTimers(window.get()).size());
    }
    bool runs(int timer) const {
        for (const auto& info : QAbstractEventDispatcher::instance()->registeredTimers(window.get())) {
            if (info.timerId == timer) {
                return true;
            }
        }
        return false;
    }

    UdpPeer peer;
};
