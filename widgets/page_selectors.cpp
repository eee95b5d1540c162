#include "widgets/page_selectors.h"

#include <QPushButton>
#include <QStackedWidget>
#include <QTabWidget>
#include <QVariant>

#include "widgets/sheets.h"

namespace {

constexpr int kButtonHeight = 100;
// The mark of the open page is the theme's.
const QString kButtonSheet = QStringLiteral(
    "QPushButton { background-color: rgba(160, 160, 160, 150); padding: 0; min-height: 0;"
    " font: 700 10pt \"Microsoft YaHei UI\"; }"
    "QPushButton:hover { background-color: rgba(190, 190, 190, 190); }"
    "QPushButton:pressed { background-color: rgba(110, 110, 110, 190); }");

void empty(const QWidget& pane) {
    qDeleteAll(pane.findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly));
}

}  // namespace

void fillWithButtons(QWidget& pane, QStackedWidget& pages, const QStringList& texts) {
    empty(pane);
    for (int i = 0; i < texts.size(); ++i) {
        auto* button = new QPushButton(texts[i], &pane);
        button->setObjectName(QStringLiteral("page_selector"));
        button->setGeometry(0, i * kButtonHeight, pane.width(), kButtonHeight);
        button->setStyleSheet(kButtonSheet);
        button->setFocusPolicy(Qt::NoFocus);
        const auto mark = [button, i](int page) { setStyleProperty(*button, "open", page == i); };
        mark(pages.currentIndex());
        QObject::connect(&pages, &QStackedWidget::currentChanged, button, mark);
        QObject::connect(button, &QPushButton::clicked, &pages, [&pages, i] { pages.setCurrentIndex(i); });
        button->show();
    }
}

void fillWithTabs(QWidget& pane, QStackedWidget& pages, const QStringList& texts) {
    empty(pane);
    auto* tabs = new QTabWidget(&pane);
    tabs->setTabPosition(QTabWidget::East);
    for (const QString& text : texts) {
        tabs->addTab(new QWidget, text);
    }
    tabs->setGeometry(pane.rect());
    tabs->setFocusPolicy(Qt::NoFocus);
    tabs->setCurrentIndex(qBound(0, pages.currentIndex(), texts.size() - 1));
    QObject::connect(tabs, &QTabWidget::currentChanged, &pages, &QStackedWidget::setCurrentIndex);
    // While a page without a tab is open the marked tab would not change by a click, yet is to show its page.
    QObject::connect(tabs, &QTabWidget::tabBarClicked, &pages, [&pages](int tab) {
        if (tab >= 0) {
            pages.setCurrentIndex(tab);
        }
    });
    QObject::connect(&pages, &QStackedWidget::currentChanged, tabs, &QTabWidget::setCurrentIndex);
    tabs->show();
}
