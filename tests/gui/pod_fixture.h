// The station's window with the simulated pod as a process on loopback.
#pragma once

#include <QHostAddress>
#include <QProcess>
#include <QRegularExpression>
#include <QUdpSocket>

#include "korvath_fixture.h"

// The pod speaks first, so the station's port is known to it: one is reserved.
class PodTest : public KorvathTest {
protected:
    // The window, with the connection dialog filled for a pod on this machine.
    void startStation(QMap<QString, QVariant> values = {}) {
        values.insert("connection/destination_address", "127.0.0.1");
        start(values);
        m_station_port = freePort();
        in().ui_connection()->comboBox->clear();
        in().ui_connection()->comboBox->addItem("127.0.0.1");
        in().ui_connection()->cbb_ctrlConnLocalPort->setText(QString::number(m_station_port));
    }
    void TearDown() override {
        KorvathTest::TearDown();
        if (m_pod.state() != QProcess::NotRunning) {
            m_pod.terminate();
            EXPECT_TRUE(m_pod.waitForFinished(5000));
        }
    }

    static int freePort() {
        QUdpSocket probe;
        EXPECT_TRUE(probe.bind(QHostAddress(QHostAddress::LocalHost)));
        return probe.localPort();
    }

    // Reports go to the station; without video unless `more` brings its own ports.
    void startPod(const QStringList& more = {}) { startPodFor(m_station_port, more); }
    void startPodFor(int peer_port, const QStringList& more = {}) {
        QStringList options = {"--peer", QStringLiteral("127.0.0.1:%1").arg(peer_port)};
        if (!more.contains("--udp")) {
            options << "--udp"
                    << "0";
        }
        if (!more.contains("--rtsp-port")) {
            options << "--rtsp-port"
                    << "off";
        }
        m_pod.start(QStringLiteral(SORVANE_PODSIM), options + more);
        ASSERT_TRUE(m_pod.waitForStarted());
        QByteArray text;
        const auto ready = [&] {
            text += m_pod.readAllStandardOutput();
            return text.contains("podsim ready") && text.endsWith('\n');
        };
        ASSERT_TRUE(waitFor(ready, 60000)) << text.constData();
        m_ready = QString::fromLatin1(text);
        ASSERT_GT(podPort(), 0) << text.constData();
    }
    // What the "podsim ready" line tells for a name: "udp", "rtsp0".
    QString podAddress(const char* name) const {
        return QRegularExpression(QStringLiteral(" %1=(\\S+)").arg(QLatin1String(name)))
            .match(m_ready)
            .captured(1);
    }
    int podPort() const { return podAddress("udp").section(':', -1).toInt(); }

    void connectTo(int port) {
        in().ui_connection()->cbb_ctrlConnIpPort->setText(QString::number(port));
        in().ui_connection()->pushButton_26->click();
        ASSERT_EQ(in().m_linkState(), kLinkUdp);
    }
    void connectToPod() { connectTo(podPort()); }

    QProcess m_pod;
    QString m_ready;
    int m_station_port = 0;
};
