#include "widgets/sheets.h"

#include <QApplication>
#include <QEvent>
#include <QPointer>
#include <QStyle>
#include <QVariant>
#include <QWidget>

namespace {

QList<QPointer<QWidget>> childWidgets(const QWidget& widget) {
    QList<QPointer<QWidget>> children;
    for (QObject* child : widget.children()) {
        if (child->isWidgetType()) {
            children << static_cast<QWidget*>(child);
        }
    }
    return children;
}

// A parent comes before its children, since fonts are handed down, and hears of the change after them, since
// it may place them by their sizes. Widgets that no sheet has reached take it when they are first shown;
// `reached` is true below one that a sheet has.
void restyle(QWidget* widget, bool reached) {
    reached = reached || widget->testAttribute(Qt::WA_StyleSheet);
    if (reached) {
        widget->style()->polish(widget);
    }
    // A widget may delete others, or itself, when it hears of the change.
    const QPointer<QWidget> alive = widget;
    for (const QPointer<QWidget>& child : childWidgets(*widget)) {
        if (!child.isNull()) {
            restyle(child, reached);
        }
    }
    if (reached && !alive.isNull()) {
        QEvent change(QEvent::StyleChange);
        QCoreApplication::sendEvent(alive, &change);
    }
}

}  // namespace

void setApplicationSheet(const QString& text) {
    if (qApp->styleSheet().isEmpty() || text.isEmpty()) {
        qApp->setStyleSheet(text);
        return;
    }
    // On a change of the sheet the toolkit styles each widget that it remembers, and each time all below it:
    // a widget deep in a page is styled once for every ancestor. Made to forget them, it styles none.
    qApp->style()->unpolish(qApp);
    qApp->style()->polish(qApp);
    qApp->setStyleSheet(text);
    const QWidgetList tops = QApplication::topLevelWidgets();
    for (QWidget* top : tops) {
        if (top->parentWidget() == nullptr) {
            restyle(top, false);
        }
    }
}

void setOwnSheet(QWidget* widget, const QString& text) {
    if (widget->styleSheet() != text) {
        widget->setStyleSheet(text);
    }
}

void setStyleProperty(QWidget& widget, const char* name, const QVariant& value) {
    if (widget.property(name) == value) {
        return;
    }
    widget.setProperty(name, value);
    widget.style()->unpolish(&widget);
    widget.style()->polish(&widget);
}
