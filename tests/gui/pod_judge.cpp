#include "pod_judge.h"

#include <QRegularExpression>
#include <QUdpSocket>

#include "tests/widgets/wait.h"

namespace {

constexpr int kAnswerMs = 5000;

}  // namespace

PodJudge::~PodJudge() { stop(); }

bool PodJudge::start(int peer_port, const QStringList& more) {
    stop();
    m_pending.clear();
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.start(QStringLiteral(SORVANE_PODSIM),
                    QStringList{"--latched", "--udp", "0", "--rtsp-port", "off", "--peer",
                                QStringLiteral("127.0.0.1:%1").arg(peer_port)} +
                        more);
    QByteArray line;
    if (!m_process.waitForStarted() || !readLine(line, 20000)) {
        m_problem = QStringLiteral("podsim did not start: %1").arg(m_process.errorString());
        return false;
    }
    m_ready = QString::fromLatin1(line);
    m_port = address("udp").section(':', 1).toInt();
    if (m_port == 0) {
        m_problem = QStringLiteral("no address in '%1'").arg(m_ready);
    }
    return m_port != 0;
}

void PodJudge::stop() {
    if (m_process.state() == QProcess::NotRunning) {
        return;
    }
    m_process.terminate();
    if (!m_process.waitForFinished(5000)) {
        m_process.kill();
        m_process.waitForFinished(5000);
    }
}

QString PodJudge::address(const QString& name) const {
    return QRegularExpression(QStringLiteral(" %1=(\\S+)").arg(name)).match(m_ready).captured(1);
}

bool PodJudge::readLine(QByteArray& line, int deadline_ms) {
    const bool told = waitFor(
        [this] {
            m_pending += m_process.readAllStandardOutput();
            return m_pending.contains('\n') || m_process.state() == QProcess::NotRunning;
        },
        deadline_ms);
    const int end = m_pending.indexOf('\n');
    if (!told || end < 0) {
        return false;
    }
    line = m_pending.left(end);
    m_pending.remove(0, end + 1);
    return true;
}

Motion PodJudge::motion() {
    Motion m;
    QByteArray line;
    m_process.write("motion\n");
    if (!readLine(line, kAnswerMs)) {
        m.text = QStringLiteral("podsim does not answer");
        return m;
    }
    m.text = QString::fromLatin1(line);
    const auto value = [&m](const char* key) {
        return QRegularExpression(QStringLiteral(" %1=(\\S+)").arg(QLatin1String(key)))
            .match(m.text)
            .captured(1);
    };
    m.told = m.text.startsWith(QLatin1String("motion ")) && !value("standing").isEmpty();
    m.az = value("az").toDouble();
    m.el = value("el").toDouble();
    m.zoom[0] = value("zoom0").toInt();
    m.focus[0] = value("focus0").toInt();
    m.zoom[1] = value("zoom1").toInt();
    m.focus[1] = value("focus1").toInt();
    m.commands = value("commands").toULongLong();
    m.movements = value("movements").toULongLong();
    m.frames = value("frames").toULongLong();
    m.standing = value("standing").toInt();
    return m;
}

Motion PodJudge::until(const std::function<bool(const Motion&)>& condition, int deadline_ms) {
    const QDeadlineTimer deadline(deadline_ms);
    Motion m = motion();
    while (m.told && !condition(m) && !deadline.hasExpired()) {
        m = motion();
    }
    return m;
}

void PodJudge::brake() const {
    QUdpSocket socket;
    const QByteArray idle = "FB2C" + QByteArray(80, '0') + "00F0";
    for (const char* frame :
         {"FB2CAA0670000000000076", "FB2CAA0645000000000043", "FB2CAA0650000000000056", idle.constData()}) {
        socket.writeDatagram(QByteArray::fromHex(frame), QHostAddress(QHostAddress::LocalHost),
                             static_cast<quint16>(m_port));
    }
}
