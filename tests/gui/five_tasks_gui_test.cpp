// What an operator comes for (connect, see, track, change the camera, read the target's position), by a real
// pointer and keyboard and by the words of the README and the guide alone. Judged by the simulated pod's log
// and by the texts and pixels on the screen; clicks are counted.
#include <QGroupBox>
#include <QLabel>
#include <QScreen>
#include <QSet>
#include <QTemporaryDir>
#include <QToolButton>
#include <utility>

#include "hand.h"
#include "pod_fixture.h"
#include "widgets/common_dlg.h"

namespace {

constexpr double kLatitude = 47.5;
constexpr double kLongitude = 11.25;
constexpr int kDeadlineMs = 30000;

struct Object {
    int number = 0;
    QRectF place;  // in pixels of the picture
};

class FiveTasks : public PodTest {
protected:
    void SetUp() override {
        ASSERT_TRUE(hand.available());
        ASSERT_TRUE(folder.isValid());
        m_station_port = freePort();
        startPod({"--rtsp-port", "0", "--event-log", log(), "--position",
                  QStringLiteral("%1,%2").arg(kLatitude).arg(kLongitude)});
        // As at the first start, but for the ports: other tests may have the usual ones.
        start({{"common/play_video_on_start", true},
               {"connection/destination_port", podPort()},
               {"connection/local_bind_port", m_station_port}});
        // It opens by itself what does not answer here.
        ASSERT_TRUE(
            waitFor([this] { return in().playing1() && in().m_linkState() == kLinkUdp; }, kDeadlineMs));
    }

    QString log() const { return folder.filePath("events"); }

    void click(const QWidget* widget) { clickAt(widget->mapToGlobal(widget->rect().center()), 1); }
    void clickAt(const QPoint& at, int button) {
        ++clicks;
        hand.click(at, button);
    }
    void typeAnew(const QString& text) {
        hand.chord("Control_L", "a");
        for (const QChar c : text) {
            const QByteArray name = c == ':'   ? "colon"
                                    : c == '/' ? "slash"
                                    : c == '.' ? "period"
                                               : QByteArray(1, c.toLatin1());
            if (c == ':') {
                hand.chord("Shift_L", name.constData());
            } else {
                hand.key(name.constData());
            }
        }
    }

    // --- what the reader of the documents looks for ---

    static QString document(const char* name) {
        QFile file(QStringLiteral(SORVANE_DOCUMENTS "/") + QLatin1String(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
        return QString::fromUtf8(file.readAll()).simplified();
    }
    QToolButton* icon(const QString& tip) const {
        for (QToolButton* button : window->findChildren<QToolButton*>()) {
            if (button->isVisible() && button->toolTip() == tip) {
                return button;
            }
        }
        return nullptr;
    }
    QGroupBox* group(const QString& title) const {
        for (QGroupBox* box : in().m_connectionDlg()->findChildren<QGroupBox*>()) {
            if (box->title() == title) {
                return box;
            }
        }
        return nullptr;
    }
    static QPushButton* button(const QGroupBox* box, const QString& text) {
        for (QPushButton* each : box->findChildren<QPushButton*>()) {
            if (each->isVisible() && each->text() == text) {
                return each;
            }
        }
        return nullptr;
    }
    // The one beside a caption of the group.
    static QWidget* field(const QGroupBox* box, const QString& caption) {
        for (const QLabel* label : box->findChildren<QLabel*>()) {
            if (label->text() == caption) {
                QWidget* nearest = nullptr;
                for (QLineEdit* edit : box->findChildren<QLineEdit*>()) {
                    const int off = edit->mapTo(box, edit->rect().center()).y() -
                                    label->mapTo(box, label->rect().center()).y();
                    nearest = qAbs(off) < label->height() ? edit : nearest;
                }
                return nearest;
            }
        }
        return nullptr;
    }

    // A step of the README: press this, type that, press the other.
    void carryOut(const QString& step, const QString& title, const QString& caption, const QString& typed) {
        const auto match =
            QRegularExpression(
                QStringLiteral("^\\*%1\\*: press (\\S+) \\([^)]*\\), type [^`]*`([^`]+)`, press "
                               "(\\S+?)[: ]")
                    .arg(title == QString::fromUtf8("视频1") ? "Video 1" : "Network control"))
                .match(step);
        ASSERT_TRUE(match.hasMatch()) << step.toStdString();
        const QGroupBox* box = group(title);
        ASSERT_NE(box, nullptr);
        QPushButton* close = button(box, match.captured(1));
        ASSERT_NE(close, nullptr) << match.captured(1).toStdString();
        click(close);
        ASSERT_TRUE(waitFor([&] { return close->text() == match.captured(3); }));
        QWidget* edit = field(box, caption);
        ASSERT_NE(edit, nullptr);
        click(edit);
        ASSERT_TRUE(waitFor([&] { return edit->hasFocus(); }));
        // The ports are this test's own.
        EXPECT_EQ(QString(typed).replace(QRegularExpression(":\\d+/"), ":8554/"), match.captured(2));
        typeAnew(typed);
        ASSERT_TRUE(waitFor([&] { return edit->property("text").toString() == typed; }))
            << edit->property("text").toString().toStdString();
        click(close);
        ASSERT_TRUE(waitFor([&] { return close->text() == match.captured(1); }));
    }
    void connectByTheReadme() {
        const QString readme = document("README.md");
        const int first = readme.indexOf(QStringLiteral("1. *Video 1*"));
        const int second = readme.indexOf(QStringLiteral("2. *Network control*"));
        ASSERT_TRUE(first > 0 && second > first);
        click(icon(QString::fromUtf8("连接")));
        ASSERT_TRUE(waitFor([this] { return in().m_connectionDlg()->isVisible(); }));
        ASSERT_TRUE(waitFor([this] { return in().m_connectionDlg()->isActiveWindow(); }));
        carryOut(readme.mid(first + 3, second - first - 3), QString::fromUtf8("视频1"),
                 QString::fromUtf8("播放URL："), podAddress("rtsp0"));
        carryOut(readme.mid(second + 3), QString::fromUtf8("网络控制"), QString::fromUtf8("设备IP："),
                 "127.0.0.1");
    }
    void closeTheDialog() {
        for (QToolButton* each : in().m_connectionDlg()->findChildren<QToolButton*>()) {
            if (each->toolTip() == QString::fromUtf8("关闭")) {
                click(each);
            }
        }
        ASSERT_TRUE(waitFor([this] { return !in().m_connectionDlg()->isVisible(); }));
        ASSERT_TRUE(waitFor([this] { return window->isActiveWindow(); }));
    }

    // --- what is seen, and what the pod says ---

    QString shown(const char* label) const {
        const auto* found = window->findChild<QLabel*>(QLatin1String(label));
        return found != nullptr && found->isVisible() ? found->text() : QString();
    }
    // The picture's middle has many colours; the black ground and its two words have few.
    bool pictureIsSeen() const {
        const QImage pixels = window->screen()
                                  ->grabWindow(ui().videoWin1->winId())
                                  .toImage()
                                  .convertToFormat(QImage::Format_RGB32);
        QSet<QRgb> colours;
        for (int y = pixels.height() / 3; y < pixels.height() * 2 / 3; y += 3) {
            for (int x = pixels.width() / 3; x < pixels.width() * 2 / 3; x += 3) {
                colours.insert(pixels.pixel(x, y));
            }
        }
        return colours.size() > 200;
    }
    QStringList events(const QString& kind) const {
        QFile file(log());
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return QString::fromUtf8(file.readAll()).split('\n').filter(QStringLiteral(" %1 ").arg(kind));
    }
    QList<Object> objects() const {
        QList<Object> found;
        const QStringList lines = events("objects");
        auto it = QRegularExpression("(\\d+)=([-\\d.]+),([-\\d.]+),([-\\d.]+),([-\\d.]+)")
                      .globalMatch(lines.isEmpty() ? QString() : lines.last());
        while (it.hasNext()) {
            const auto m = it.next();
            const QSizeF size(m.captured(4).toDouble(), m.captured(5).toDouble());
            QRectF place(QPointF(), size);
            place.moveCenter(QPointF(m.captured(2).toDouble(), m.captured(3).toDouble()));
            found << Object{m.captured(1).toInt(), place};
        }
        return found;
    }
    // Where a point of the picture lies on the screen.
    QPoint onScreen(const QPointF& point) const {
        const QSizeF widget = ui().videoWin1->size();
        const double scale = qMin(widget.width() / in().frame_width(), widget.height() / in().frame_height());
        const QPointF corner((widget.width() - in().frame_width() * scale) / 2,
                             (widget.height() - in().frame_height() * scale) / 2);
        return ui().videoWin1->mapToGlobal((corner + point * scale).toPoint());
    }
    // The largest one that nothing lies on.
    QPoint vehicle() const {
        QPoint best;
        double largest = 0;
        for (const Object& object : objects()) {
            const QPoint at = onScreen(object.place.center());
            const double area = object.place.width() * object.place.height();
            if (area > largest && QApplication::widgetAt(at) == ui().videoWin1) {
                largest = area;
                best = at;
            }
        }
        return best;
    }
    int take() { return std::exchange(clicks, 0); }

    Hand hand;
    QTemporaryDir folder;
    int clicks = 0;
};

TEST_F(FiveTasks, ByTheDocumentsAlone) {
    // Connect.
    connectByTheReadme();
    closeTheDialog();
    if (HasFatalFailure()) {
        return;
    }
    EXPECT_TRUE(waitFor([this] { return shown("m_fldRecvFdbk_17") == QString::fromUtf8("可见光（广角）"); },
                        kDeadlineMs))
        << "the pod's report on the page that is open";
    EXPECT_LE(take(), 8);

    // See.
    EXPECT_TRUE(waitFor([this] { return pictureIsSeen(); }, kDeadlineMs));
    EXPECT_TRUE(in().m_statusVideo()->text().contains(QString::fromUtf8("视频1已连接")));

    // Track: "a left click on a vehicle tracks it".
    ASSERT_TRUE(document("docs/operator-guide.md").contains("left click in picture 1 | tracks"));
    const auto holds = [this] {
        const QStringList lines = events("track");
        return !lines.isEmpty() &&
               QRegularExpression(" state=[1-9].* object=[1-9]").match(lines.last()).hasMatch();
    };
    // The vehicles move; on a busy machine a click may come after one has left its place.
    for (int tries = 0; tries < 5; ++tries) {
        ASSERT_TRUE(waitFor([this] { return !vehicle().isNull(); }, kDeadlineMs)) << "no vehicle in sight";
        clickAt(vehicle(), 1);
        if (waitFor(holds, 3000)) {
            break;
        }
    }
    EXPECT_TRUE(holds()) << events("track").join('\n').toStdString();
    EXPECT_TRUE(waitFor([this] { return in().m_tracking(); }));
    RecordProperty("clicks_to_track", take());

    // Change the camera: "middle button in picture 1 switches the video source".
    ASSERT_TRUE(document("docs/operator-guide.md")
                    .contains("middle button in picture 1 | switches the video source"));
    const QString before = shown("m_fldRecvFdbk_17");
    clickAt(onScreen(QPointF(in().frame_width() * 0.6, in().frame_height() * 0.6)), 2);
    EXPECT_TRUE(waitFor([&] { return shown("m_fldRecvFdbk_17") != before; }, kDeadlineMs));
    EXPECT_EQ(events("pod").filter("name=video-switch").size(), 1);
    EXPECT_EQ(take(), 1);

    // Read the target's position: "the arrows below the pages step through them".
    click(ui().m_btnPageNext);
    ASSERT_TRUE(waitFor([this] { return !shown("label_target_locate_lat_val").isEmpty(); }));
    const auto near_the_flight = [this](const char* label, double home) {
        const QString text = shown(label);
        return QRegularExpression("^-?\\d+\\.\\d{7}$").match(text).hasMatch() &&
               qAbs(text.toDouble() - home) < 0.2;
    };
    EXPECT_TRUE(
        waitFor([&] { return near_the_flight("label_target_locate_lat_val", kLatitude); }, kDeadlineMs))
        << shown("label_target_locate_lat_val").toStdString();
    EXPECT_TRUE(near_the_flight("label_target_locate_lon_val", kLongitude))
        << shown("label_target_locate_lon_val").toStdString();
    EXPECT_EQ(take(), 1);
}

}  // namespace
