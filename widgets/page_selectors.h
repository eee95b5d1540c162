// What turns the pages of a stack from a narrow pane beside it.
#pragma once

#include <QStringList>

class QStackedWidget;
class QWidget;

// Both take the pane's children away first and fill it with one selector a text, in the order of the pages.
// A selector shows its page and marks it, whoever turned to it; a page beyond the texts has none. None takes
// the keyboard. The stack outlives what they make. GUI thread.

// Buttons of the pane's width, 100 pixels high, from the top down.
void fillWithButtons(QWidget& pane, QStackedWidget& pages, const QStringList& texts);
// Tabs at the east side; a page without a tab leaves the choice as it is.
void fillWithTabs(QWidget& pane, QStackedWidget& pages, const QStringList& texts);
