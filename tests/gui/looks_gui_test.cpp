// Every page and dialog in both themes, both languages and at two window sizes: a picture of each goes into
// the folder of screens, and each is measured for contrast, room and language.
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QMainWindow>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QTimer>
#include <QUdpSocket>
#include <QVBoxLayout>
#include <cmath>

#include "analysis/qmyplotdlg.h"
#include "looks.h"
#include "map/locate_dialog.h"
#include "telemetry_fixture.h"
#include "tests/telemetry/sei_by_hand.h"
#include "tests/widgets/x11_pointer.h"
#include "video/my_comp_notify_dlg.h"
#include "video/my_tip_dialog.h"
#include "widgets/common_dlg.h"
#include "widgets/my_message_box.h"
#include "widgets/my_trans_dlg.h"
#include "widgets/state_dot.h"

namespace {

// Style strings that are fixed as they are: the Chinese page selectors' grey lets the picture through.
const QStringList kFixedStyle = {"page_selector"};
// Texts in a geometry that is fixed; none of them is cut so far.
const QStringList kFixedGeometry = {};
// Values of the operator or the pod, in whatever language they come.
// label_140 is a caption that stands as it is in every language.
const QStringList kValues = {"le_recSaveDir", "le_recOpenDir", "le_telemSaveDir", "label_102", "label_140"};

struct Look {
    QSize size;
    int theme;
    int language;
};

class Looks : public Telemetry {
protected:
    void SetUp() override {
        start({{"interface/recv_telemetry", true}, {"system_function/serial_port", "COM5"}});
        ASSERT_TRUE(QDir().mkpath(folder()));
    }
    static QString folder() { return QStringLiteral(SORVANE_SCREENS); }

    void choose(const Look& look) {
        m_look = look;
        in().m_settings()->ui->cbb_selTheme->setCurrentIndex(look.theme);
        in().m_settings()->ui->cbb_selLang->setCurrentIndex(look.language);
        // Where it hovers over nothing.
        pointer.moveTo(1919, 1079);
        take(QRect(QPoint(0, 0), look.size));
        if (!ui().tabWidget->isVisible()) {
            in().m_btnCtrlPane()->click();
        }
        in().m_statPane()->show();
        ui().widget_stat->show();
        window->placePanes();
        ASSERT_TRUE(waitFor([&] { return ui().widget_stat->isVisible() && ui().tabWidget->isVisible(); }));
        // Words of the status pages come with the report.
        report(recordByHand());
        const sorvane::NavBlock block = navByHand();
        send(EVT_NAV_BLOCK, &block, sizeof block);
        Bytes in_video = seiRunH264();
        in().onSei()(in_video.data(), static_cast<int>(in_video.size()), 0);
        QCoreApplication::processEvents();
    }

    // The window manager may answer to what was asked of it before, after the toolkit believes to have its
    // will: what stands for a while in the server's eyes stands.
    void take(const QRect& target) {
        int in_place = 0;
        ASSERT_TRUE(waitFor([&] {
            const std::pair<int, int> at = pointer.position(window->winId());
            const std::pair<int, int> size = pointer.size(window->winId());
            const bool there = !window->isMaximized() && !window->isFullScreen() &&
                               window->geometry() == target &&
                               QRect(at.first, at.second, size.first, size.second) == target;
            if (!there && in_place-- <= 0) {
                window->showNormal();
                window->setGeometry(target);
                in_place = 0;
            } else if (there) {
                ++in_place;
            }
            QTest::qWait(10);
            return in_place >= 20;
        }));
    }

    QString file(const QString& page) const {
        return QStringLiteral("%1/%2x%3_%4_%5_%6.png")
            .arg(folder())
            .arg(m_look.size.width())
            .arg(m_look.size.height())
            .arg(m_look.theme == 0 ? "day" : "night", m_look.language == 0 ? "zh" : "en", page);
    }
    void save(const QImage& image, const QString& page) const {
        ASSERT_TRUE(image.save(file(page), "PNG", 80)) << qPrintable(file(page));
    }

    // The screen as the operator sees it, once nothing moves any more.
    void saveScreen(const QString& page) {
        const auto grab = [this] {
            return QGuiApplication::primaryScreen()
                ->grabWindow(0, 0, 0, m_look.size.width(), m_look.size.height())
                .toImage();
        };
        QImage before;
        QImage now = grab();
        waitFor(
            [&] {
                before = now;
                QTest::qWait(20);
                now = grab();
                return now == before;
            },
            2000);
        save(now, page);
    }

    static void expectNone(const QStringList& found, const std::string& where) {
        EXPECT_TRUE(found.isEmpty()) << where << ":\n  " << found.join("\n  ").toStdString();
    }

    // All that can be measured of one top-level window as it stands; `grounds` are what may shine through it.
    void measure(QWidget* top, const QString& page, QSet<const QWidget*>* seen,
                 const QList<QRgb>& grounds = {qRgb(0, 0, 0)}) {
        QCoreApplication::processEvents();
        const std::string where = file(page).section('/', -1).toStdString();
        for (const QRgb ground : grounds) {
            QSet<const QWidget*> once = *seen;
            expectNone(looks::weakTexts(top, looks::pictureOn(top, ground), kFixedStyle, &once), where);
            if (ground == grounds.last()) {
                *seen = once;
            }
        }
        expectNone(looks::cutTexts(top, kFixedGeometry), where);
        expectNone(looks::misplaced(top), where);
        if (m_look.language == 1) {
            expectNone(looks::chineseTexts(top, kValues), where);
        }
    }

    // Each view of a page that scrolls, from the top down; `picture` writes one.
    void measureScrolling(QWidget* top, QScrollArea* area, const QString& page, QSet<const QWidget*>* seen,
                          const std::function<void(const QString&)>& picture,
                          const QList<QRgb>& grounds = {qRgb(0, 0, 0)}) {
        QScrollBar* bar = area != nullptr ? area->verticalScrollBar() : nullptr;
        if (bar != nullptr) {
            bar->setValue(0);
        }
        for (int view = 1;; ++view) {
            const QString name = view == 1 ? page : page + QStringLiteral("_view%1").arg(view);
            measure(top, name, seen, grounds);
            picture(name);
            if (bar == nullptr || bar->value() >= bar->maximum()) {
                break;
            }
            bar->setValue(bar->value() + bar->pageStep() * 3 / 4);
        }
        if (bar != nullptr) {
            bar->setValue(0);
        }
    }

    void mainWindow() {
        QSet<const QWidget*> seen;
        const QList<QRgb> over_picture = {qRgb(0, 0, 0), qRgb(255, 255, 255)};
        const auto onScreen = [this](const QString& name) { saveScreen(name); };
        for (int page = 0; page < ui().stackedWidget->count(); ++page) {
            ui().stackedWidget->setCurrentIndex(page);
            QWidget* shown = ui().stackedWidget->currentWidget();
            measureScrolling(in().m_statPane(), shown->findChild<QScrollArea*>(),
                             "status_" + shown->objectName(), &seen, onScreen, over_picture);
        }
        ui().stackedWidget->setCurrentIndex(1);
        for (const auto& [page, area] :
             {std::pair(ui().tab_test, ui().scroll_test), std::pair(ui().tab_ctl_ex, ui().scroll_ctl_ex)}) {
            ui().tabWidget->setCurrentWidget(page);
            ASSERT_TRUE(waitFor([&, shown = page] { return shown->isVisible(); }));
            measureScrolling(window.get(), area, "control_" + page->objectName(), &seen, onScreen);
        }
        ui().tabWidget->setCurrentIndex(0);
        measure(in().m_stateTab(), "pane_toggle", &seen, over_picture);
        measure(in().m_ctrlPane(), "pane_toggle", &seen, over_picture);
        measure(in().m_ctrlSelect(), "page_selectors", &seen, over_picture);
        // Gyro mode shows what frame mode hides; two axes swap the scan set-ups.
        ui().radioButton_14->setChecked(true);
        window->setServoFrame(1);
        measure(window.get(), "gyro_two_axes", &seen);
        ui().tabWidget->setCurrentIndex(1);
        measure(window.get(), "gyro_two_axes_ex", &seen);
        ui().tabWidget->setCurrentIndex(0);
        ui().radioButton_13->setChecked(true);
        window->setServoFrame(0);
    }

    void dialog(QWidget* top, const QString& page) {
        QSet<const QWidget*> seen;
        top->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(top, 10000));
        EXPECT_LE(top->width(), 1366);
        EXPECT_LE(top->height(), 768);
        measure(top, page, &seen);
        save(top->grab().toImage(), page);
        top->close();
    }

    // Each category with all its curves, running.
    void plots() {
        ui().action_chartAna->trigger();
        QMyPlotDlg* plots = in().m_plotDlg();
        const auto press = [plots](const char* name) {
            plots->findChild<QAbstractButton*>(QLatin1String(name))->click();
        };
        ASSERT_TRUE(QTest::qWaitForWindowExposed(plots, 10000));
        in().m_linkState() = kLinkUdp;
        plots->findChild<QComboBox*>("comboBox_2")->setCurrentIndex(2);
        plots->findChild<QCheckBox*>("checkBox_frmRoll")->setChecked(true);
        press("pushButton_start");
        QSet<const QWidget*> seen;
        for (const char* category : {"radioButton", "radioButton_2", "radioButton_3"}) {
            press(category);
            for (int i = 0; i < 250; ++i) {
                sorvane::TelemetryRecord record;
                record.frame_yaw = static_cast<std::int16_t>(6000 * std::sin(i / 30.0));
                record.frame_pitch = static_cast<std::int16_t>(-3000 + 1500 * std::sin(i / 11.0));
                record.frame_roll = static_cast<std::int16_t>(200 * std::sin(i / 3.0));
                record.attitude_yaw = static_cast<std::int16_t>(-9000 + 40 * i);
                record.attitude_pitch = static_cast<std::int16_t>(-4000 + 500 * std::sin(i / 20.0));
                record.attitude_roll = static_cast<std::int16_t>(100 * std::sin(i / 5.0));
                record.track_x = static_cast<std::int16_t>(260 * std::exp(-(i % 60) / 15.0));
                record.track_y = static_cast<std::int16_t>(-140 * std::exp(-(i % 60) / 15.0));
                plots->add_record(record);
            }
            QTest::qWait(300);
            const QString page = QStringLiteral("plots_%1").arg(QLatin1String(category));
            measure(plots, page, &seen);
            save(plots->grab().toImage(), page);
        }
        press("pushButton_dispVal");
        measure(plots, "plots_values", &seen);
        save(plots->grab().toImage(), "plots_values");
        press("pushButton_dispVal");
        press("radioButton");
        plots->close();
        in().m_linkState() = kLinkNone;
    }

    void settings() {
        auto& form = *in().m_settings()->ui;
        QSet<const QWidget*> seen;
        in().ui()->action_fileSettings->trigger();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(in().m_settings(), 10000));
        EXPECT_LE(in().m_settings()->height(), 768);
        for (int row = 0; row < form.widget_title->count(); ++row) {
            form.widget_title->setCurrentRow(row);
            QWidget* page = form.stackedWidget->currentWidget();
            const auto picture = [this](const QString& name) {
                save(in().m_settings()->grab().toImage(), name);
            };
            measureScrolling(in().m_settings(), page->findChild<QScrollArea*>(),
                             QStringLiteral("settings_%1_%2").arg(row).arg(page->objectName()), &seen,
                             picture);
        }
        form.widget_title->setCurrentRow(0);
        in().m_settings()->close();
    }

    // The box that `open` brings up and waits for.
    void modal(const QString& page, const std::function<void()>& open) {
        bool seen_box = false;
        QTimer poll;
        QObject::connect(&poll, &QTimer::timeout, window.get(), [&] {
            QWidget* box = QApplication::activeModalWidget();
            if (box == nullptr || !box->isVisible()) {
                return;
            }
            poll.stop();
            seen_box = true;
            QSet<const QWidget*> seen;
            measure(box, page, &seen);
            save(box->grab().toImage(), page);
            box->close();
        });
        poll.start(10);
        open();
        EXPECT_TRUE(seen_box);
    }

    // A real box: the serial port of the configuration does not exist.
    void messageBox() {
        modal("message_box", [this] {
            in().ui_connection()->cbb_ctrlSerialNo->setEditText("COM5");
            in().ui_connection()->pushButton_25->click();
        });
    }

    void chooser() {
        QDir().mkpath("a folder whose name is as long as a date and a mission");
        modal("directory_chooser", [this] { in().m_settings()->ui->btn_recSaveDirChange->click(); });
    }

    // A firmware upgrade with each of its states, a long path and its end.
    void upgrade() {
        auto& form = *in().m_settings()->ui;
        const auto tell = [this](std::initializer_list<unsigned char> data) {
            in().m_settings()->on_recv_single_frame(12289, data.begin(), static_cast<int>(data.size()));
        };
        form.widget_title->setCurrentRow(8);
        in().m_settings()->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(in().m_settings(), 10000));
        form.lineEdit_9->setText(
            "/home/operator/firmware/2026/a folder with a long name/main_control_1.3.bin");
        tell({0, 6, 0xAE, 0x0C});
        form.progressBar->setMaximum(4000);
        form.progressBar->setValue(2600);
        form.label_72->setText("65534/65535");
        for (unsigned char state = 0; state < 14; ++state) {
            if (state != 11) {
                tell({0, state});
                QCoreApplication::processEvents();
                expectNone(looks::cutTexts(in().m_settings(), kFixedGeometry),
                           "state " + std::to_string(state));
            }
        }
        QSet<const QWidget*> seen;
        measure(in().m_settings(), "settings_upgrade_runs", &seen);
        save(in().m_settings()->grab().toImage(), "settings_upgrade_runs");
        modal("firmware_chooser", [&] { form.pushButton_18->click(); });
        modal("upgrade_succeeded", [&] {
            tell({0, 11});
            // It opens, and is closed again, in the next turn of the event loop.
            int turns = 0;
            waitFor([&turns] { return ++turns > 3; });
        });
        form.pushButton_4->click();
        form.lineEdit_9->clear();
        form.widget_title->setCurrentRow(0);
        in().m_settings()->close();
    }

    // What floats over the picture while it records and while a recording plays. White on what is under it:
    // the styles of tips and bar are fixed, so that only the notices are measured.
    void recording() {
        in().record_file() =
            "/home/operator/missions/2026/a flight along the coast/record/20260309/070502_2.mp4";
        in().m_tip1()->setSnapping(true);
        in().m_tip1()->setRecording(true);
        in().m_tip1()->setText("record 01:65:07");
        in().m_tip1()->move(ui().videoWin1->mapToGlobal(QPoint(600, 5)));
        in().m_tip1()->show();
        in().m_replayState() = 1;
        in().m_panePlayCtrl()->show();
        window->placePanes();
        window->OnRecAviEnd();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(in().rec_notice(), 10000));
        QSet<const QWidget*> seen;
        measure(in().rec_notice(), "notice_recording", &seen);
        saveScreen("recording");
        in().rec_notice()->hide();
        window->OnContSnapEnd("/home/operator/snapshots/20260309/070502_1.jpg");
        ASSERT_TRUE(QTest::qWaitForWindowExposed(in().snap_notice(), 10000));
        measure(in().snap_notice(), "notice_snapshot", &seen);
        saveScreen("snapshot");
        in().snap_notice()->hide();
        in().m_tip1()->hide();
        in().m_panePlayCtrl()->hide();
        in().m_replayState() = 0;
        window->refreshStatus();
    }

    // A link to a port at which nobody listens.
    void trouble() {
        QUdpSocket nobody;
        ASSERT_TRUE(nobody.bind(QHostAddress(QHostAddress::LocalHost)));
        Ui::connection& dialog_ui = *in().ui_connection();
        dialog_ui.cbb_ctrlConnIpAddr->setText("127.0.0.1");
        dialog_ui.cbb_ctrlConnIpPort->setText(QString::number(nobody.localPort()));
        dialog_ui.cbb_ctrlConnLocalPort->setText("0");
        nobody.close();
        dialog_ui.comboBox->setEditText("127.0.0.1");
        dialog_ui.pushButton_26->click();
        const auto* sending = ui().statusBar->findChild<StateDot*>("pulse_sending");
        const auto* report = ui().statusBar->findChild<StateDot*>("pulse_report");
        ASSERT_TRUE(waitFor(
            [&] {
                window->stopCommand(112);
                return sending->tone() == StateDot::kDanger && report->tone() == StateDot::kDanger;
            },
            20000));
        saveScreen("health_trouble");
        dialog(in().m_connectionDlg(), "connection_trouble");
        if (m_look.size.width() == 1920) {
            QTest::keyClick(window.get(), Qt::Key_F8);
            auto* bar = window->findChild<MyTransDlg*>("pulse_bar");
            ASSERT_TRUE(waitFor([&] { return window->isFullScreen() && bar->isVisible(); }));
            saveScreen("full_screen_trouble");
            QTest::keyClick(window.get(), Qt::Key_Escape);
            take(QRect(QPoint(0, 0), m_look.size));
        }
        dialog_ui.pushButton_26->click();
        ASSERT_EQ(in().m_linkState(), kLinkNone);
    }

    // As a map builds it, without a map.
    void locateDialog() {
        QObject target;
        Ui::MyLocateDialogUi form;
        const std::unique_ptr<common_dlg> made(makeLocateDialog(form, window.get(), &target));
        openLocateDialog(form, *made, *ui().widget_6, {-112.4401234, -33.7512345, 12345.6});
        dialog(made.get(), "locate");
    }

    void everything(const Look& look) {
        choose(look);
        if (HasFatalFailure()) {
            return;
        }
        mainWindow();
        dialog(in().m_connectionDlg(), "connection");
        dialog(in().m_telemetryDlg(), "telemetry_info");
        dialog(in().m_seiDlg(), "sei");
        locateDialog();
        settings();
        upgrade();
        recording();
        messageBox();
        chooser();
        modal("recording_chooser", [this] { ui().action_fileOpenAvi->trigger(); });
        trouble();
    }

    X11Pointer pointer;
    Look m_look = {};
};

TEST_F(Looks, OfTheSmallestScreen) {
    for (const int theme : {0, 1}) {
        for (const int language : {0, 1}) {
            everything({QSize(1366, 768), theme, language});
        }
    }
}

TEST_F(Looks, OfTheLargeScreen) {
    for (const int theme : {0, 1}) {
        for (const int language : {0, 1}) {
            everything({QSize(1920, 1080), theme, language});
        }
    }
}

// Its size does not follow the window's.
TEST_F(Looks, OfThePlots) {
    for (const int theme : {0, 1}) {
        for (const int language : {0, 1}) {
            choose({QSize(1366, 768), theme, language});
            if (HasFatalFailure()) {
                return;
            }
            plots();
        }
    }
}

}  // namespace
