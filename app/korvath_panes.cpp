// Floating panes over the picture, the frameless window's edges and full screen.
#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QTabWidget>

#include "app/config/my_app_config.h"
#include "app/korvath.h"
#include "settings/player_settings_dlg.h"
#include "ui_korvath.h"
#include "video/replay_panel.h"
#include "widgets/my_trans_dlg.h"

namespace {

constexpr int kEdgeMargin = 5;
constexpr int kStatPaneInset = 52;
constexpr int kPaneSettleMs = 40;
enum Edge { EDGE_TOP = 1, EDGE_LEFT = 2, EDGE_RIGHT = 4, EDGE_BOTTOM = 8 };

QPushButton* makeToggle(MyTransDlg* pane, const QString& text) {
    auto* button = new QPushButton(text, pane);
    button->setProperty("role", "paneToggle");
    button->setFocusPolicy(Qt::NoFocus);
    QFont font(QStringLiteral("OCR A Std"), 12, QFont::Bold);
    font.setStyleHint(QFont::Monospace);
    button->setFont(font);
    button->setGeometry(0, 0, pane->width(), pane->height());
    return button;
}

}  // namespace

void Korvath::createStatPane() {
    m_statPane = new MyTransDlg(ui->centralWidget);
    const int width = ui->widget_stat->width();
    ui->widget_stat->setParent(m_statPane);
    ui->widget_stat->move(0, 0);
    m_statPane->resize(width, ui->widget_stat->height());
    ui->widget_stat->show();
}

// A window manager keeps a tool window above its main window only if it knows the main window when the tool
// window appears: the panes come up once the main window is on the screen.
void Korvath::showPanes() {
    if (m_panesShown || m_stateTab == nullptr) {
        return;
    }
    m_panesShown = true;
    placePanes();
    for (MyTransDlg* pane : {m_statPane, m_stateTab, m_ctrlPane}) {
        pane->show();
    }
    placePanes();
}

void Korvath::createCtrlSelect() {
    m_ctrlSelect = new MyTransDlg(ui->widget_video);
    m_ctrlSelect->setGeometry(0, 0, 20, 200);
    rebuildPageSelectors();
}

// Chinese captions stand upright on buttons; other languages need the length of a vertical tab.
void Korvath::rebuildPageSelectors() {
    if (m_ctrlSelect == nullptr) {
        return;
    }
    qDeleteAll(m_ctrlSelect->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly));
    if (m_settings->languageIndex() == 0) {
        const std::array<QString, 2> texts = {QStringLiteral("控\n制"), QStringLiteral("扩\n展\n控\n制")};
        for (int i = 0; i < 2; ++i) {
            auto* button = new QPushButton(texts[static_cast<std::size_t>(i)], m_ctrlSelect);
            button->setObjectName(QStringLiteral("page_selector"));
            button->setGeometry(0, i * 100, m_ctrlSelect->width(), 100);
            button->setStyleSheet(
                QStringLiteral("QPushButton { background-color: rgba(160, 160, 160, 150); border: none; "
                               "padding: 0; min-height: 0;"
                               " font: 700 10pt \"Microsoft YaHei UI\"; }"));
            button->setFocusPolicy(Qt::NoFocus);
            connect(button, &QPushButton::clicked, this, [this, i] { ui->tabWidget->setCurrentIndex(i); });
            button->show();
        }
        return;
    }
    auto* tabs = new QTabWidget(m_ctrlSelect);
    tabs->setTabPosition(QTabWidget::East);
    tabs->addTab(new QWidget, QStringLiteral("Control"));
    tabs->addTab(new QWidget, QStringLiteral("Extended Control"));
    tabs->setGeometry(m_ctrlSelect->rect());
    tabs->setFocusPolicy(Qt::NoFocus);
    tabs->setCurrentIndex(qBound(0, ui->tabWidget->currentIndex(), 1));
    connect(tabs, &QTabWidget::currentChanged, ui->tabWidget, &QStackedWidget::setCurrentIndex);
    // Other actions turn the pages too; the map's page has no tab and leaves the choice as it is.
    connect(ui->tabWidget, &QStackedWidget::currentChanged, tabs, &QTabWidget::setCurrentIndex);
    tabs->show();
}

void Korvath::createFirstShowPanes() {
    m_dragOverlay = new MyTransDlg(nullptr);
    m_dragOverlay->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_dragRing = new QLabel(m_dragOverlay);
    m_dragRing->resize(40, 40);
    m_dragRing->hide();
    m_dragDot = new QLabel(m_dragOverlay);
    m_dragDot->resize(24, 24);
    m_dragDot->hide();
    placeDragOverlay();

    m_stateTab = new MyTransDlg(ui->widget_video);
    m_stateTab->resize(20, 40);
    m_btnStatPane = makeToggle(m_stateTab, QStringLiteral("<"));
    connect(m_btnStatPane, &QPushButton::clicked, this, &Korvath::OnButtonStatPaneClicked);
    m_ctrlPane = new MyTransDlg(ui->widget_video);
    m_ctrlPane->resize(20, 40);
    m_btnCtrlPane = makeToggle(m_ctrlPane, QStringLiteral("<"));
    connect(m_btnCtrlPane, &QPushButton::clicked, this, &Korvath::OnButtonCtrlPaneClicked);
    placePanes();
}

void Korvath::placeStatPane() {
    if (m_statPane == nullptr) {
        return;
    }
    const int height = ui->centralWidget->height() - kStatPaneInset;
    m_statPane->setGeometry(x() + 2, y() + ui->mainToolBar->height(), ui->widget_stat->width(), height);
    ui->widget_stat->resize(ui->widget_stat->width(), height);
}

void Korvath::placePaneToggles() {
    if (m_stateTab == nullptr || m_ctrlPane == nullptr) {
        return;
    }
    const bool shown = m_statPane->isVisible();
    const int left = x() + 2 + (shown ? ui->widget_stat->width() : 0);
    const int middle =
        y() + ui->mainToolBar->height() + ui->centralWidget->height() / 2 - m_btnStatPane->height() / 2;
    m_stateTab->move(left, middle);
    m_btnStatPane->setText(shown ? QStringLiteral("<") : QStringLiteral(">"));

    // The control pages leave a strip free at this edge.
    const int right = ui->widget_video->mapTo(this, QPoint(ui->widget_video->width(), 0)).x();
    m_ctrlPane->move(mapToGlobal(QPoint(right - m_ctrlPane->width(), mapFromGlobal(m_stateTab->pos()).y())));
    m_ctrlSelect->move(mapToGlobal(QPoint(right - m_btnCtrlPane->width(), 60)));
    m_ctrlSelect->setVisible(ui->tabWidget->isVisible());
}

void Korvath::placePanes() {
    if (m_dragOverlay == nullptr) {
        return;
    }
    placeStatPane();
    if (m_paneTimer == 0 && m_stateTab->y() == 0) {
        m_paneTimer = startTimer(kPaneSettleMs, Qt::CoarseTimer);
    }
    placePaneToggles();
    placeReplayPanel();
    refreshStatus();
    placeTips();
    placeDragOverlay();
}

void Korvath::placeDragOverlay() {
    if (m_dragOverlay != nullptr) {
        m_dragOverlay->setGeometry(QRect(ui->widget_6->mapToGlobal(QPoint(0, 0)), ui->widget_6->size()));
    }
}

void Korvath::placeReplayPanel() {
    if (m_panePlayCtrl == nullptr || m_replayState == 0) {
        return;
    }
    const QPoint central = ui->centralWidget->pos();
    m_panePlayCtrl->move(x() + central.x() + (ui->videoWin1->width() - m_panePlayCtrl->width()) / 2,
                         y() + central.y() + ui->videoWin1->height() - m_panePlayCtrl->height() - 2);
}

void Korvath::OnButtonCtrlPaneClicked() {
    const bool show = !ui->tabWidget->isVisible();
    ui->tabWidget->setVisible(show);
    m_btnCtrlPane->setText(show ? QStringLiteral(">") : QStringLiteral("<"));
    placePanes();
}

void Korvath::OnButtonStatPaneClicked() {
    m_statPane->setVisible(!ui->widget_stat->isVisible());
    placePaneToggles();
}

int Korvath::hitEdge(const QPoint& global) const {
    const QRect frame = geometry();
    int edges = 0;
    edges |= std::abs(global.y() - frame.top()) < kEdgeMargin ? EDGE_TOP : 0;
    edges |= std::abs(global.x() - frame.left()) < kEdgeMargin ? EDGE_LEFT : 0;
    edges |= std::abs(global.x() - frame.right()) < kEdgeMargin ? EDGE_RIGHT : 0;
    edges |= std::abs(global.y() - frame.bottom()) < kEdgeMargin ? EDGE_BOTTOM : 0;
    return edges;
}

void Korvath::mousePressEvent(QMouseEvent* e) {
    QMainWindow::mousePressEvent(e);
    if (e->button() == Qt::LeftButton) {
        m_pressPos = e->globalPos();
        m_hitEdge = hitEdge(m_pressPos);
        m_pressGeometry = geometry();
    }
}

void Korvath::mouseMoveEvent(QMouseEvent* e) {
    QMainWindow::mouseMoveEvent(e);
    if ((e->buttons() & Qt::LeftButton) == 0) {
        return;
    }
    const QPoint offset = e->globalPos() - m_pressPos;
    QRect moved = m_pressGeometry;
    switch (m_hitEdge) {
        case EDGE_TOP:
            moved.setTop(moved.top() + offset.y());
            break;
        case EDGE_LEFT:
            moved.setLeft(moved.left() + offset.x());
            break;
        case EDGE_TOP | EDGE_LEFT:
            moved.setTopLeft(moved.topLeft() + offset);
            break;
        case EDGE_RIGHT:
            moved.setRight(moved.right() + offset.x());
            break;
        case EDGE_TOP | EDGE_RIGHT:
            moved.setTopRight(moved.topRight() + offset);
            break;
        case EDGE_BOTTOM:
            moved.setBottom(moved.bottom() + offset.y());
            break;
        case EDGE_BOTTOM | EDGE_LEFT:
            moved.setBottomLeft(moved.bottomLeft() + offset);
            break;
        case EDGE_BOTTOM | EDGE_RIGHT:
            moved.setBottomRight(moved.bottomRight() + offset);
            break;
        default:
            return;
    }
    // The height is not tested, by design.
    if (moved.width() > minimumWidth()) {
        setGeometry(moved);
    }
}

void Korvath::mouseReleaseEvent(QMouseEvent* e) {
    QMainWindow::mouseReleaseEvent(e);
    m_hitEdge = 0;
}

void Korvath::setFrameVisible(bool visible) {
    ui->mainToolBar->setVisible(visible);
    ui->toolBar_2->setVisible(visible);
    ui->statusBar->setVisible(visible);
    ui->title->setVisible(visible);
}

void Korvath::keyPressEvent(QKeyEvent* e) {
    QMainWindow::keyPressEvent(e);
    if (e->key() == Qt::Key_F8 && !isFullScreen()) {
        setFrameVisible(false);
        showFullScreen();
    } else if (e->key() == Qt::Key_Escape && isFullScreen()) {
        showMaximized();
        setFrameVisible(true);
        placeReplayPanel();
    }
}

void Korvath::resizeEvent(QResizeEvent* e) {
    QMainWindow::resizeEvent(e);
    qDebug("main frame resize.\n");
    if (isVisible()) {
        placePanes();
    }
}

void Korvath::moveEvent(QMoveEvent* e) {
    QMainWindow::moveEvent(e);
    if (isVisible()) {
        placePanes();
    }
}

void Korvath::showEvent(QShowEvent* e) {
    QMainWindow::showEvent(e);
    if (m_dragOverlay == nullptr) {
        firstShow();
    }
}

// Three axes hide the two-axis set-up of angle and speed; two axes have it instead of the scan set-ups.
void Korvath::setServoFrame(int platform_type) {
    const bool two_axes = platform_type == 1;
    ui->groupBox_30->setVisible(two_axes);
    ui->widget_scan_azimuth->setVisible(!two_axes);
    ui->widget_scan_pitch->setVisible(!two_axes);
}
