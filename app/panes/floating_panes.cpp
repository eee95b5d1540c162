#include "app/panes/floating_panes.h"

#include <QMainWindow>
#include <utility>

#include "forms/main_form.h"
#include "widgets/button_keys.h"
#include "widgets/my_trans_dlg.h"
#include "widgets/page_selectors.h"

namespace {

constexpr int kStatPaneInset = 52;
constexpr int kPaneSettleMs = 40;

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

FloatingPanes::FloatingPanes(QMainWindow& window, const MainForm& form, const PaneFields& fields,
                             std::function<int()> language)
    : m_window(window), m_form(form), m_fields(fields), m_language(std::move(language)) {}

void FloatingPanes::createStatPane() {
    QWidget* stat = m_form.ui.widget_stat;
    m_fields.stat_pane = new MyTransDlg(m_form.ui.centralWidget);
    const int width = stat->width();
    stat->setParent(m_fields.stat_pane);
    stat->move(0, 0);
    m_fields.stat_pane->resize(width, stat->height());
    stat->show();
}

void FloatingPanes::createPageSelectors() {
    m_fields.ctrl_select = new MyTransDlg(m_form.ui.widget_video);
    m_fields.ctrl_select->setGeometry(0, 0, 20, 200);
    rebuildPageSelectors();
}

void FloatingPanes::createToggles() {
    m_fields.state_tab = new MyTransDlg(m_form.ui.widget_video);
    m_fields.state_tab->resize(20, 40);
    m_fields.btn_stat_pane = makeToggle(m_fields.state_tab, QStringLiteral("<"));
    m_fields.ctrl_pane = new MyTransDlg(m_form.ui.widget_video);
    m_fields.ctrl_pane->resize(20, 40);
    m_fields.btn_ctrl_pane = makeToggle(m_fields.ctrl_pane, QStringLiteral("<"));
    clickByKey(m_window, Qt::Key_F6, *m_fields.btn_stat_pane);
    clickByKey(m_window, Qt::Key_F7, *m_fields.btn_ctrl_pane);
    clickByKey(m_window, Qt::CTRL + Qt::Key_PageUp, *m_form.previous_status_page);
    clickByKey(m_window, Qt::CTRL + Qt::Key_PageDown, *m_form.next_status_page);
    nameToggles();
}

bool FloatingPanes::showOnce() {
    if (m_shown || m_fields.state_tab == nullptr) {
        return false;
    }
    m_shown = true;
    placeStatPane();
    placeToggles();
    for (MyTransDlg* pane : {m_fields.stat_pane, m_fields.state_tab, m_fields.ctrl_pane}) {
        pane->show();
    }
    return true;
}

void FloatingPanes::rebuildPageSelectors() {
    if (m_fields.ctrl_select == nullptr) {
        return;
    }
    if (m_language() == 0) {
        fillWithButtons(*m_fields.ctrl_select, *m_form.control_pages, {"控\n制", "扩\n展\n控\n制"});
    } else {
        fillWithTabs(*m_fields.ctrl_select, *m_form.control_pages, {"Control", "Extended Control"});
    }
    nameToggles();
}

void FloatingPanes::nameToggles() {
    if (m_fields.state_tab != nullptr) {
        nameButton(*m_fields.btn_stat_pane, tr("状态页"));
        nameButton(*m_fields.btn_ctrl_pane, tr("控制页"));
    }
}

void FloatingPanes::placeStatPane() {
    if (m_fields.stat_pane == nullptr) {
        return;
    }
    QWidget* stat = m_form.ui.widget_stat;
    const int height = m_form.ui.centralWidget->height() - kStatPaneInset;
    m_fields.stat_pane->place(
        QRect(m_window.x() + 2, m_window.y() + m_form.ui.mainToolBar->height(), stat->width(), height));
    stat->resize(stat->width(), height);
}

void FloatingPanes::placeToggles() {
    if (m_fields.state_tab == nullptr || m_fields.ctrl_pane == nullptr) {
        return;
    }
    const bool shown = m_fields.stat_pane->isVisible();
    const int left = m_window.x() + 2 + (shown ? m_form.ui.widget_stat->width() : 0);
    const int middle = m_window.y() + m_form.ui.mainToolBar->height() +
                       m_form.ui.centralWidget->height() / 2 - m_fields.btn_stat_pane->height() / 2;
    m_fields.state_tab->move(left, middle);
    m_fields.btn_stat_pane->setText(shown ? QStringLiteral("<") : QStringLiteral(">"));

    // The control pages leave a strip free at this edge.
    const QWidget* video = m_form.ui.widget_video;
    const int right = video->mapTo(&m_window, QPoint(video->width(), 0)).x();
    const int y = m_window.mapFromGlobal(m_fields.state_tab->pos()).y();
    m_fields.ctrl_pane->move(m_window.mapToGlobal(QPoint(right - m_fields.ctrl_pane->width(), y)));
    m_fields.ctrl_select->move(m_window.mapToGlobal(QPoint(right - m_fields.btn_ctrl_pane->width(), 60)));
    m_fields.ctrl_select->setVisible(m_form.control_pages->isVisible());
}

void FloatingPanes::placeReplayPanel() {
    if (m_fields.pane_play_ctrl == nullptr || m_fields.replay_state == 0) {
        return;
    }
    const QPoint central = m_form.ui.centralWidget->pos();
    const QWidget* picture = m_form.ui.videoWin1;
    const MyTransDlg* panel = m_fields.pane_play_ctrl;
    m_fields.pane_play_ctrl->move(m_window.x() + central.x() + (picture->width() - panel->width()) / 2,
                                  m_window.y() + central.y() + picture->height() - panel->height() - 2);
}

void FloatingPanes::startPaneTimer() {
    if (m_fields.pane_timer == 0 && m_fields.state_tab->y() == 0) {
        m_fields.pane_timer = m_window.startTimer(kPaneSettleMs, Qt::CoarseTimer);
    }
}

void FloatingPanes::onPaneTimer() {
    placeToggles();
    if (m_fields.state_tab->y() != 0) {
        m_window.killTimer(m_fields.pane_timer);
        m_fields.pane_timer = 0;
    }
}

void FloatingPanes::toggleControlPages() {
    const bool show = !m_form.control_pages->isVisible();
    m_form.control_pages->setVisible(show);
    m_fields.btn_ctrl_pane->setText(show ? QStringLiteral(">") : QStringLiteral("<"));
}

void FloatingPanes::toggleStatPane() {
    m_fields.stat_pane->setVisible(!m_form.ui.widget_stat->isVisible());
    placeToggles();
}
