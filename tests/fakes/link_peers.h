// The far ends of the links in tests: a UDP socket on loopback, a pseudo terminal, message boxes that answer
// themselves.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include <QApplication>
#include <QByteArray>
#include <QDialog>
#include <QLabel>
#include <QStringList>
#include <QTimer>
#include <QUdpSocket>
#include <vector>

class UdpPeer {
public:
    UdpPeer() { m_socket.bind(QHostAddress(QHostAddress::LocalHost)); }
    int port() const { return m_socket.localPort(); }

    // Everything that has arrived since the last call, one entry a datagram.
    std::vector<QByteArray> take() {
        collect();
        std::vector<QByteArray> result;
        result.swap(m_frames);
        return result;
    }
    std::size_t count() {
        collect();
        return m_frames.size();
    }
    const std::vector<QByteArray>& frames() {
        collect();
        return m_frames;
    }
    // To whoever sent the last datagram.
    void reply(const QByteArray& bytes) { m_socket.writeDatagram(bytes, m_sender, m_senderPort); }

private:
    void collect() {
        while (m_socket.hasPendingDatagrams()) {
            QByteArray bytes(static_cast<int>(m_socket.pendingDatagramSize()), '\0');
            m_socket.readDatagram(bytes.data(), bytes.size(), &m_sender, &m_senderPort);
            m_frames.push_back(bytes);
        }
    }

    QUdpSocket m_socket;
    std::vector<QByteArray> m_frames;
    QHostAddress m_sender;
    quint16 m_senderPort = 0;
};

// A serial line: the station opens name(), the test holds the other end.
class SerialPeer {
public:
    SerialPeer() {
        char name[256] = {};
        termios raw{};
        cfmakeraw(&raw);
        if (openpty(&m_master, &m_slave, name, &raw, nullptr) == 0) {
            m_name = QString::fromLocal8Bit(name);
            fcntl(m_master, F_SETFL, O_NONBLOCK);
        }
    }
    ~SerialPeer() {
        if (m_master >= 0) {
            ::close(m_master);
        }
        if (m_slave >= 0) {
            ::close(m_slave);
        }
    }
    SerialPeer(const SerialPeer&) = delete;
    SerialPeer& operator=(const SerialPeer&) = delete;

    QString name() const { return m_name; }
    // Everything read so far.
    const QByteArray& bytes() {
        char buffer[4096];
        for (ssize_t n = ::read(m_master, buffer, sizeof buffer); n > 0;
             n = ::read(m_master, buffer, sizeof buffer)) {
            m_bytes.append(buffer, static_cast<int>(n));
        }
        return m_bytes;
    }
    void write(const QByteArray& bytes) const {
        EXPECT_EQ(::write(m_master, bytes.constData(), static_cast<std::size_t>(bytes.size())), bytes.size());
    }

private:
    int m_master = -1;
    int m_slave = -1;
    QString m_name;
    QByteArray m_bytes;
};

// Closes each modal box as it appears and notes "title: text".
class BoxWatcher : public QObject {
public:
    BoxWatcher() {
        connect(&m_poll, &QTimer::timeout, this, [this] {
            auto* box = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            if (box == nullptr) {
                return;
            }
            const auto* text = box->findChild<QLabel*>(QStringLiteral("textLabel"));
            seen << box->windowTitle() + ": " + (text != nullptr ? text->text() : QString());
            box->close();
        });
        m_poll.start(5);
    }
    QStringList seen;

private:
    QTimer m_poll;
};

inline QByteArray hex(const char* text) { return QByteArray::fromHex(text); }
