// The encoder's own page inside the settings: nothing of the browser before it is asked for, the encoder's
// page by the screen's pixels, and a hostile encoder that gets nowhere. Everything is on loopback.
#include <QClipboard>
#include <QDir>
#include <QFile>
#include <QHostAddress>
#include <QLabel>
#include <QProcess>
#include <QRegularExpression>
#include <QScreen>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QUdpSocket>
#include <QWindow>
#include <algorithm>
#include <map>

#include "settings_fixture.h"

namespace {

// Serves what the test lays out and notes every request; one request a connection.
class WebSite : public QObject {
public:
    explicit WebSite(const char* address) : m_host(QString::fromLatin1(address)) {
        EXPECT_TRUE(m_server.listen(QHostAddress(m_host)));
        connect(&m_server, &QTcpServer::newConnection, this,
                [this] { serve(m_server.nextPendingConnection()); });
    }
    QString url(const QString& path = "/") const {
        return QStringLiteral("http://%1:%2%3").arg(m_host).arg(m_server.serverPort()).arg(path);
    }
    QString host() const { return QStringLiteral("%1:%2").arg(m_host).arg(m_server.serverPort()); }
    // The head lines behind the status, and the body.
    void lay(const QString& path, const QByteArray& body, const QByteArray& head = "Content-Type: text/html",
             const QByteArray& status = "200 OK") {
        m_pages[path] = "HTTP/1.1 " + status + "\r\n" + head +
                        "\r\nConnection: close\r\nContent-Length: " + QByteArray::number(body.size()) +
                        "\r\n\r\n" + body;
    }
    bool asked(const QString& start) const {
        return std::any_of(requests.begin(), requests.end(),
                           [&](const QString& request) { return request.startsWith(start); });
    }
    // Nobody listens then, until it starts again on the same port.
    void stop() {
        m_port = m_server.serverPort();
        m_server.close();
    }
    void startAgain() { EXPECT_TRUE(m_server.listen(QHostAddress(m_host), m_port)); }
    void forget() {
        m_pages.clear();
        requests.clear();
        silent.clear();
        connections = 0;
    }

    QStringList requests;  // paths with their queries
    QStringList silent;    // what is asked for in vain
    int connections = 0;

private:
    void serve(QTcpSocket* socket) {
        ++connections;
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
            const QByteArray request = socket->property("request").toByteArray() + socket->readAll();
            socket->setProperty("request", request);
            if (!request.contains("\r\n\r\n")) {
                return;
            }
            const QString target = QString::fromLatin1(request).section(' ', 1, 1);
            requests << target;
            if (silent.contains(target)) {
                return;
            }
            const auto page = m_pages.find(target.section('?', 0, 0));
            socket->write(
                page != m_pages.end()
                    ? page->second
                    : QByteArray("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\nConnection: close\r\n\r\n"));
            socket->disconnectFromHost();
        });
    }

    QTcpServer m_server;
    quint16 m_port = 0;
    const QString m_host;
    std::map<QString, QByteArray> m_pages;
};

QByteArray mapped() {
    QFile maps("/proc/self/maps");
    EXPECT_TRUE(maps.open(QIODevice::ReadOnly));
    return maps.readAll();
}

QStringList children() {
    QProcess ps;
    ps.start("ps", {"--ppid", QString::number(QCoreApplication::applicationPid()), "-o", "comm="});
    EXPECT_TRUE(ps.waitForFinished());
    QStringList names = QString::fromLatin1(ps.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
    names.removeAll("ps");
    return names;
}

// Every file below a folder.
QStringList filesBelow(const QString& folder) {
    QStringList files;
    QProcess find;
    find.start("find", {folder, "-type", "f"});
    EXPECT_TRUE(find.waitForFinished());
    return QString::fromLocal8Bit(find.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
}

int shownWindows() {
    const QWindowList all = QGuiApplication::topLevelWindows();
    return static_cast<int>(
        std::count_if(all.begin(), all.end(), [](const QWindow* w) { return w->isVisible(); }));
}

QStringList left_at_start;

class EncoderPage : public SettingsTest {
protected:
    // What the browser would keep of itself, it would keep below the home folder.
    static void SetUpTestSuite() {
        for (const char* name : {"XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME"}) {
            qunsetenv(name);
        }
        qputenv("HOME", home().path().toLocal8Bit());
        // A camera and a microphone that could be had.
        qputenv("QTWEBENGINE_CHROMIUM_FLAGS", "--use-fake-device-for-media-stream");
        // What a page has opened by another program.
        QDir(home().path()).mkdir("bin");
        const QString opener = home().filePath("bin/xdg-open");
        QFile program(opener);
        EXPECT_TRUE(program.open(QIODevice::WriteOnly));
        program.write("#!/bin/sh\necho \"$@\" >> \"$HOME/opened\"\n");
        program.close();
        program.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
        qputenv("PATH", home().filePath("bin").toLocal8Bit() + ":" + qgetenv("PATH"));
        left_at_start = filesBelow(home().path());
    }
    // What the browser has left on the disk since.
    static QStringList leftOnDisk() {
        QStringList left = filesBelow(QCoreApplication::applicationDirPath()) + filesBelow(home().path());
        for (const QString& file : left_at_start) {
            left.removeOne(file);
        }
        // Drivers and fonts have caches of their own.
        return left.filter(QRegularExpression("^(?!.*(mesa|fontconfig|dconf)).*$"));
    }
    static const QTemporaryDir& home() {
        static const QTemporaryDir folder;
        return folder;
    }
    void SetUp() override { encoder.forget(); }
    // The browser keeps for the whole process to the first address that it is given.
    static WebSite& theEncoder() {
        static WebSite site("127.0.0.1");
        return site;
    }
    WebSite& encoder = theEncoder();
    void openWith(const QString& address) {
        start({{"connection/encoder_page", address}});
        show();
    }
    void choosePage() { form().widget_title->setCurrentRow(1); }
    QString notice() const {
        const auto* label = form().page_encoder->findChild<QLabel*>("encoder_notice_text");
        return label != nullptr && label->isVisible() ? label->text() : QString();
    }
    // In the middle of the page, as the X server shows it.
    QColor onScreen() const {
        const QPoint at = form().page_encoder->mapToGlobal(form().page_encoder->rect().center());
        return QGuiApplication::primaryScreen()
            ->grabWindow(0, at.x(), at.y(), 1, 1)
            .toImage()
            .pixelColor(0, 0);
    }
    bool shows(const char* colour) {
        return waitFor([this, wanted = QColor(colour)] { return onScreen() == wanted; }, 60000);
    }
    QPushButton* again() const { return form().page_encoder->findChild<QPushButton*>("encoder_again"); }
};

constexpr const char* kGreenPage = "<body style='background:#00ff00'>";

// First of all, since a browser that was loaded stays.
TEST_F(EncoderPage, NothingOfTheBrowserIsThereBeforeItsPageIsChosen) {
    encoder.lay("/", kGreenPage);
    openWith(encoder.url());
    for (const int row : {0, 2, 3, 4, 5, 6, 7, 8, 9}) {
        form().widget_title->setCurrentRow(row);
        QCoreApplication::processEvents();
    }
    EXPECT_FALSE(mapped().contains("WebEngine"));
    EXPECT_FALSE(children().contains("QtWebEngineProc"));
    EXPECT_EQ(encoder.connections, 0);
    choosePage();
    ASSERT_TRUE(shows("#00ff00"));
    EXPECT_TRUE(mapped().contains("WebEngine"));
    EXPECT_TRUE(children().contains("QtWebEngineProc"));
    EXPECT_EQ(encoder.requests.count("/"), 1);
    form().widget_title->setCurrentRow(0);
    choosePage();
    ASSERT_TRUE(shows("#00ff00"));
    EXPECT_EQ(encoder.requests.count("/"), 1) << "later selections only show the page";
}

TEST_F(EncoderPage, OneThatDoesNotAnswerIsToldOfAndAskedAgain) {
    const QString address = encoder.url();
    encoder.stop();
    openWith(address);
    choosePage();
    ASSERT_TRUE(waitFor([&] { return notice() == "编码器没有回应：" + address; }, 60000));
    again()->click();
    ASSERT_TRUE(waitFor([&] { return notice() == "编码器没有回应：" + address; }, 60000));
    encoder.startAgain();
    encoder.lay("/", kGreenPage);
    again()->click();
    EXPECT_TRUE(shows("#00ff00"));
}

QByteArray fileOf(const char* path) {
    QFile file(QString::fromLocal8Bit(path));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return file.readAll();
}

// A picture that goes on for ever, a page over a slow line.
TEST_F(EncoderPage, APageIsShownBeforeTheLastOfItHasCome) {
    encoder.lay("/", kGreenPage + QByteArray("<img src='/endless'>"));
    encoder.silent << "/endless";
    openWith(encoder.url());
    choosePage();
    EXPECT_TRUE(shows("#00ff00"));
}

// hostile_encoder.html tells what it tries.
QByteArray hostilePage(const QString& other, const QString& near, int datagram_port) {
    QByteArray page = fileOf(SORVANE_HOSTILE_PAGE);
    page.replace("'OTHER'", "'" + other.toLatin1() + "'");
    page.replace("'NEAR'", "'" + near.toLatin1() + "'");
    page.replace(":STUN", ":" + QByteArray::number(datagram_port));
    return page;
}

// A click of the operator's own is what a browser asks for before it opens a window, chooses a file or starts
// a program; clicking_encoder.html has another try at each.
TEST_F(EncoderPage, AnOperatorsClicksAreNoHelpToIt) {
    encoder.lay("/", fileOf(SORVANE_CLICKING_PAGE));
    encoder.lay("/said", "");
    encoder.lay("/load", "data", "Content-Type: application/octet-stream\r\nContent-Disposition: attachment");
    openWith(encoder.url());
    choosePage();
    ASSERT_TRUE(shows("#0000ff"));
    BoxWatcher boxes;
    const int windows = shownWindows();
    const QStringList before = leftOnDisk();
    auto* view = form().page_encoder->findChild<QWidget*>("encoder_view");
    ASSERT_NE(view, nullptr);
    ASSERT_NE(view->focusProxy(), nullptr);
    for (const char* what : {"file", "window", "blank", "other", "away", "mail", "local", "load", "full"}) {
        QTest::mouseClick(view->focusProxy(), Qt::LeftButton);
        ASSERT_TRUE(waitFor([&] { return encoder.asked(QString("/said?%1").arg(what)); }, 60000)) << what;
    }
    EXPECT_EQ(shownWindows(), windows);
    EXPECT_TRUE(boxes.seen.isEmpty());
    EXPECT_FALSE(encoder.asked("/window"));
    EXPECT_FALSE(encoder.asked("/blank"));
    EXPECT_EQ(leftOnDisk(), before);
    EXPECT_EQ(onScreen(), QColor("#0000ff"));
}

TEST_F(EncoderPage, AHostileEncoderGetsNowhere) {
    WebSite other("127.0.0.2");
    WebSite neighbour("127.0.0.1");
    QUdpSocket datagrams;
    ASSERT_TRUE(datagrams.bind(QHostAddress("127.0.0.2")));
    encoder.lay("/", hostilePage(other.host(), neighbour.host(), datagrams.localPort()));
    encoder.lay("/said", "");
    encoder.lay("/away", "", "Location: " + other.url("/redirected").toLatin1(), "302 Found");
    encoder.lay("/load", "data", "Content-Type: application/octet-stream\r\nContent-Disposition: attachment");
    QGuiApplication::clipboard()->setText("mine");
    openWith(encoder.url());
    const QStringList before = leftOnDisk();
    BoxWatcher boxes;
    const int windows = shownWindows();
    choosePage();
    ASSERT_TRUE(waitFor([&] { return encoder.asked("/said?end="); }, 120000));
    for (const char* what : {"image", "near", "nearsocket", "fetch", "redirected", "file", "socket", "worker",
                             "camera", "position", "notify", "clipboard", "copy", "paste", "window", "blank",
                             "ask", "screen", "datagram"}) {
        EXPECT_TRUE(encoder.asked(QString("/said?%1=").arg(what))) << what;
        EXPECT_FALSE(encoder.asked(QString("/said?%1=got").arg(what))) << what;
    }
    EXPECT_EQ(other.connections, 0) << other.requests.join(' ').toStdString();
    EXPECT_EQ(neighbour.connections, 0) << neighbour.requests.join(' ').toStdString();
    EXPECT_FALSE(datagrams.hasPendingDatagrams());
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "mine");
    EXPECT_EQ(shownWindows(), windows);
    EXPECT_TRUE(boxes.seen.isEmpty());
    EXPECT_EQ(leftOnDisk(), before);
    // Its last try is to be led away whole.
    EXPECT_TRUE(waitFor([&] { return encoder.asked("/away?whole"); }, 60000));
    EXPECT_TRUE(waitFor([&] { return onScreen() == QColor("#ff0000") || !notice().isEmpty(); }, 60000));
    EXPECT_EQ(other.connections, 0);
}

}  // namespace
