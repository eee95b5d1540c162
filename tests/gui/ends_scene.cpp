#include "ends_scene.h"

#include <QElapsedTimer>
#include <QScrollArea>
#include <QStackedWidget>
#include <QWindow>
#include <cmath>

namespace {

const QRect kPlace(100, 60, 1700, 960);

}  // namespace

void EndsScene::setMode(bool single, int period_ms) {
    m_single = single;
    m_period_ms = period_ms;
}

bool EndsScene::fail(const QString& why) {
    m_problem = why;
    return false;
}

bool EndsScene::openWindow() {
    start({{"common/send_single", m_single},
           {"common/send_period_ms", m_period_ms},
           {"common/video_display_mode", 2},
           {"connection/destination_address", "127.0.0.1"}});
    if (HasFatalFailure()) {
        return fail("the window does not appear");
    }
    // Not maximised: there is a world outside.
    window->showNormal();
    return waitFor(
               [this] {
                   if (!window->isMaximized() && window->geometry() != kPlace) {
                       window->setGeometry(kPlace);
                   }
                   return !window->isMaximized() && window->geometry() == kPlace;
               },
               kAppearMs) ||
           fail("the window does not take its place");
}

// Bars and panes that come and go move the pictures, in several turns of the event loop.
bool EndsScene::picturesSettle() {
    constexpr int kSettledMs = 100;
    QElapsedTimer since;
    return waitFor(
        [&] {
            const QPair<QPoint, QPoint> now(spot(1), spot(2));
            if (now != m_spots) {
                m_spots = now;
                since.start();
            }
            return QApplication::widgetAt(spot(1)) == picture(1) &&
                   QApplication::widgetAt(spot(2)) == picture(2) &&
                   (!since.isValid() || since.elapsed() > kSettledMs);
        },
        kAppearMs);
}

bool EndsScene::connectLink() {
    Ui::connection& dialog = *in().ui_connection();
    if (!m_serial_port.isEmpty()) {
        dialog.cbb_ctrlSerialNo->setEditText(m_serial_port);
        dialog.cbb_ctrlSerialBaudRate->setCurrentText("9600");
        toggleLink();
        return linkOpen() || fail("the serial port does not open");
    }
    if (dialog.comboBox->findText("127.0.0.1") < 0) {
        dialog.comboBox->addItem("127.0.0.1");
    }
    dialog.comboBox->setCurrentIndex(dialog.comboBox->findText("127.0.0.1"));
    dialog.cbb_ctrlConnIpPort->setText(QString::number(pod.port()));
    dialog.cbb_ctrlConnLocalPort->setText(QString::number(m_station_port));
    toggleLink();
    return linkOpen() || fail("the link does not open");
}

void EndsScene::toggleLink() {
    const Ui::connection& dialog = *in().ui_connection();
    (m_serial_port.isEmpty() ? dialog.pushButton_26 : dialog.pushButton_25)->click();
}

void EndsScene::chooseMode(bool single) {
    Ui::dialogSettings& ui = *in().m_settings()->ui;
    (single ? ui.rbtn_scaleQualHigh_3 : ui.rbtn_scaleQualLow_3)->setChecked(true);
}

bool EndsScene::startPod() {
    if (pod.port() != 0) {
        return true;
    }
    // The pod speaks first, so the station's port must be known to it: reserve one.
    QUdpSocket probe;
    probe.bind(QHostAddress(QHostAddress::LocalHost));
    m_station_port = probe.localPort();
    probe.close();
    return pod.start(m_station_port, m_pod_options) || fail(pod.problem());
}

bool EndsScene::raise() {
    if (!startPod()) {
        return false;
    }
    if (!window && !openWindow()) {
        return false;
    }
    if (!showWindow()) {
        return fail("the window does not stand: " + windowState());
    }
    if (!linkOpen() && !connectLink()) {
        return false;
    }
    chooseMode(m_single);
    if (!ui().tabWidget->isVisible()) {
        in().m_btnCtrlPane()->click();
    }
    ui().radioButton_13->setChecked(true);
    return picturesSettle() || fail("a picture is covered");
}

// The toolkit may take itself for inactive although the server's focus is on its window (a popup has grabbed
// the keyboard meanwhile); a focus that goes and comes sets it right.
bool EndsScene::showWindow() {
    constexpr int kPatienceMs = 1500;
    if (!window->isVisible() || window->isMinimized()) {
        window->showNormal();
    }
    QElapsedTimer since;
    since.start();
    return waitFor(
        [this, &since] {
            if (!window->isActiveWindow()) {
                if (since.elapsed() > kPatienceMs) {
                    hand.activateOther();
                    since.start();
                }
                window->activateWindow();
            }
            if (window->geometry() != kPlace) {
                window->setGeometry(kPlace);
            }
            return window->isActiveWindow() && window->windowHandle()->isExposed() &&
                   window->geometry() == kPlace;
        },
        kAppearMs);
}

QString EndsScene::windowState() const {
    const QRect at = window->geometry();
    return QStringLiteral("active %1, exposed %2, minimised %3, visible %4, at %5,%6 %7x%8")
        .arg(window->isActiveWindow())
        .arg(window->windowHandle()->isExposed())
        .arg(window->isMinimized())
        .arg(window->isVisible())
        .arg(at.x())
        .arg(at.y())
        .arg(at.width())
        .arg(at.height());
}

void EndsScene::closeWindow() {
    m_spots = {};
    stop();
}

void EndsScene::startOver() {
    hand.lift();
    closeWindow();
    pod.brake();
    waitStill(1000);
}

void EndsScene::TearDown() {
    hand.lift();
    KorvathTest::TearDown();
    pod.stop();
}

QWidget* EndsScene::control(const char* name) {
    for (int page = 0; page < ui().tabWidget->count(); ++page) {
        auto* found = ui().tabWidget->widget(page)->findChild<QWidget*>(QLatin1String(name));
        if (found == nullptr) {
            continue;
        }
        ui().tabWidget->setCurrentIndex(page);
        for (QWidget* w = found->parentWidget(); w != nullptr; w = w->parentWidget()) {
            if (auto* scrolled = qobject_cast<QScrollArea*>(w)) {
                scrolled->ensureWidgetVisible(found);
            }
        }
        const auto inSight = [found] {
            return found->isVisible() && found->visibleRegion().contains(found->rect().center());
        };
        return waitFor(inSight, kAppearMs) ? found : nullptr;
    }
    return nullptr;
}

QPoint EndsScene::centre(const QWidget* widget) { return widget->mapToGlobal(widget->rect().center()); }

QPoint EndsScene::spot(int picture_number) const {
    const QWidget* const w = picture(picture_number);
    return w->mapToGlobal(QPoint(w->width() * 3 / 4, w->height() / 2));
}

QWidget* EndsScene::picture(int number) const {
    return number == 1 ? static_cast<QWidget*>(ui().videoWin1) : ui().videoWin2;
}

void EndsScene::dragUntilMoving(const std::function<void(const QPoint&)>& move_to, const QPoint& from) {
    int step = 0;
    pod.until(
        [&](const Motion& m) {
            const bool moves = std::fabs(m.az) + std::fabs(m.el) > 0;
            // A hand never stands quite still.
            step = step < 20 ? step + 1 : 17;
            move_to(from + QPoint(6 * step, -4 * step));
            return moves;
        },
        kAppearMs);
}

bool EndsScene::atRest(const Motion& m) const {
    const bool periodic = window && !in().m_settings()->ui->rbtn_scaleQualHigh_3->isChecked();
    return m.still() && (!periodic || !linkOpen() || m.standing == 0);
}

Motion EndsScene::waitStill(int deadline_ms) {
    return pod.until([this](const Motion& m) { return atRest(m); }, deadline_ms);
}

// A command of the last moment is still on its way at first: what counts is the quiet that lasts.
bool EndsScene::comesToRest(Motion& last, int deadline_ms) {
    const int long_enough_ms = m_period_ms * 5 / 2;
    QElapsedTimer quiet;
    quint64 movements = 0;
    last = pod.until(
        [&](const Motion& m) {
            if (!atRest(m) || m.movements != movements || !quiet.isValid()) {
                quiet.start();
                movements = m.movements;
                return false;
            }
            return quiet.elapsed() > long_enough_ms;
        },
        deadline_ms + long_enough_ms);
    return atRest(last) && last.movements == movements && quiet.elapsed() > long_enough_ms;
}
