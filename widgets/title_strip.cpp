#include "widgets/title_strip.h"

#include <QAction>
#include <QHBoxLayout>
#include <QHelpEvent>
#include <QMenu>
#include <QRegularExpression>
#include <QScreen>
#include <QStyle>
#include <QToolBar>
#include <QToolButton>
#include <QToolTip>
#include <QVariant>

#include "widgets/button_keys.h"

namespace {

// All but the toolkit's own for what does not fit.
constexpr int kSpacing = 5;
const QRegularExpression kOwnButtons(QStringLiteral("^(?!qt_toolbar_ext_button)"));

}  // namespace

TitleStrip::TitleStrip(QWidget& window, const TitleStripWidgets& widgets)
    : QObject(&window),
      m_window(window),
      m_w(widgets),
      m_actions(widgets.icons.actions()),
      m_more(new QToolButton(&widgets.host)) {
    auto* layout = new QHBoxLayout(&m_w.host);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(kSpacing);
    layout->addWidget(&m_w.icons);
    layout->addWidget(m_more);
    layout->addWidget(&m_w.kept);
    m_w.kept.setSizePolicy(QSizePolicy::Fixed, m_w.kept.sizePolicy().verticalPolicy());
    m_more->setProperty("role", "more");
    m_more->setPopupMode(QToolButton::InstantPopup);
    m_more->setMenu(new QMenu(m_more));
    m_more->hide();
    // An action is reached by its shortcut as long as it belongs to the window, shown or not.
    m_window.addActions(m_actions);
    connectWindowButtons();
    m_window.installEventFilter(this);
    m_w.strip.installEventFilter(this);
    takeKeyboard();
    setTips();
    showState();
}

QToolButton* TitleStrip::addMenuButton(const QList<QAction*>& actions, const QIcon& icon) {
    m_menuButton = new QToolButton(&m_w.kept);
    auto* menu = new QMenu(m_menuButton);
    menu->addActions(actions);
    m_menuButton->setPopupMode(QToolButton::InstantPopup);
    m_menuButton->setToolButtonStyle(Qt::ToolButtonIconOnly);
    m_menuButton->setIcon(icon);
    m_menuButton->setMenu(menu);
    m_w.kept.addWidget(m_menuButton);
    takeKeyboard();
    setTips();
    return m_menuButton;
}

void TitleStrip::connectWindowButtons() {
    connect(&m_w.close, &QToolButton::clicked, &m_window, &QWidget::close);
    connect(&m_w.maximise, &QToolButton::clicked, &m_window,
            [this] { m_window.isMaximized() ? m_window.showNormal() : m_window.showMaximized(); });
    connect(&m_w.minimise, &QToolButton::clicked, &m_window, &QWidget::showMinimized);
}

// The maximise button shows what a click does. It follows the state itself: full screen, the keyboard and the
// window manager change it too. The window is handed over so that its sheet can give the icons.
void TitleStrip::showState() {
    const auto icon = [this](QStyle::StandardPixmap which) {
        return m_window.style()->standardIcon(which, nullptr, &m_window);
    };
    m_w.minimise.setIcon(icon(QStyle::SP_TitleBarMinButton));
    m_w.close.setIcon(icon(QStyle::SP_TitleBarCloseButton));
    const bool maximised = m_window.isMaximized();
    m_w.maximise.setIcon(icon(maximised ? QStyle::SP_TitleBarNormalButton : QStyle::SP_TitleBarMaxButton));
    nameButton(m_w.maximise, maximised ? tr("还原") : tr("最大化"));
}

void TitleStrip::setTips() {
    nameButton(*m_more, tr("更多"));
    if (m_menuButton != nullptr) {
        nameButton(*m_menuButton, tr("视图"));
    }
}

// Asked for when it comes up: texts and languages change. A key that would do nothing is not named.
bool TitleStrip::showKeyTip(const QObject* object, const QHelpEvent& e) {
    const auto* button = qobject_cast<const QToolButton*>(object);
    const QAction* action = button != nullptr ? button->defaultAction() : nullptr;
    if (action == nullptr || !action->isEnabled() || action->shortcut().isEmpty()) {
        return false;
    }
    QToolTip::showText(e.globalPos(), tipWithKey(action->toolTip(), action->shortcut()),
                       const_cast<QToolButton*>(button));
    return true;
}

void TitleStrip::retranslate() {
    setTips();
    showState();
}

// The toolkit gives the buttons that it makes for actions no keyboard, and no key in their tips.
void TitleStrip::takeKeyboard() {
    for (const QToolBar* bar : {&m_w.icons, &m_w.kept}) {
        for (QToolButton* button : bar->findChildren<QToolButton*>(kOwnButtons)) {
            button->setFocusPolicy(Qt::TabFocus);
            button->installEventFilter(this);
        }
    }
    m_more->setFocusPolicy(Qt::TabFocus);
}

// What the strip has for the host when everything beside it takes no more than it needs.
int TitleStrip::room() const {
    const QLayout& row = *m_w.strip.layout();
    const QMargins margins = row.contentsMargins();
    int left = m_w.strip.width() - margins.left() - margins.right() - row.spacing() * (row.count() - 1);
    for (int i = 0; i < row.count(); ++i) {
        QLayoutItem& item = *row.itemAt(i);
        if (item.widget() != &m_w.host) {
            left -= item.isEmpty() ? 0 : qMax(0, qMin(item.sizeHint().width(), item.maximumSize().width()));
        }
    }
    return left;
}

void TitleStrip::makeRoom() {
    const QWidget* first = m_w.icons.widgetForAction(m_actions.value(0));
    if (m_fitting || m_actions.isEmpty() || (first == nullptr && m_shown != 0)) {
        return;
    }
    const int spacing = m_w.icons.layout()->spacing();
    int button = m_more->sizeHint().width();
    for (const QToolButton* other : m_w.host.findChildren<QToolButton*>(kOwnButtons)) {
        button = qMax(button, other->sizeHint().width());
    }
    const int free = room() - m_w.kept.sizeHint().width();
    const int all = m_actions.size();
    int shown = all;
    // Room for the menu's own button is needed only where one of them has none.
    while (shown > 0 && shown * (button + spacing) + (shown < all ? button + spacing : 0) > free) {
        --shown;
    }
    if (shown == m_shown) {
        return;
    }
    m_fitting = true;
    m_shown = shown;
    m_more->menu()->clear();
    m_more->menu()->addActions(m_actions.mid(shown));
    m_more->setVisible(shown < all);
    for (QAction* action : qAsConst(m_actions)) {
        m_w.icons.removeAction(action);
    }
    m_w.icons.addActions(m_actions.mid(0, shown));
    takeKeyboard();
    m_fitting = false;
}

bool TitleStrip::eventFilter(QObject* object, QEvent* e) {
    switch (e->type()) {
        case QEvent::Resize:
        case QEvent::LayoutRequest:
            if (object == &m_w.strip) {
                makeRoom();
            }
            break;
        case QEvent::ToolTip:
            return showKeyTip(object, *static_cast<QHelpEvent*>(e));
        case QEvent::WindowStateChange:
        case QEvent::StyleChange:
            if (object == &m_window) {
                showState();
            }
            break;
        default:
            break;
    }
    return QObject::eventFilter(object, e);
}

void placeForRestore(QWidget& window) {
    constexpr double kShare = 0.8;  // of each side
    const QRect free = window.screen()->availableGeometry();
    QRect at(QPoint(), (QSizeF(free.size()) * kShare).toSize().expandedTo(window.minimumSizeHint()));
    at.moveCenter(free.center());
    window.setGeometry(at);
}
