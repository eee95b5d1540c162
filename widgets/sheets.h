// Style sheets set without the cost of the toolkit's own way. GUI thread only.
#pragma once

class QString;
class QVariant;
class QWidget;

// Sets the application's style sheet and styles every widget by it once, parents before children, hidden
// ones too: nothing is left to be done when a page or dialog is shown. An empty text takes the sheet away.
void setApplicationSheet(const QString& text);

// Sets the widget's own style sheet. Does nothing when it has that text.
void setOwnSheet(QWidget* widget, const QString& text);

// Sets a property that the sheets ask for, and styles the widget anew if it has another value now.
void setStyleProperty(QWidget& widget, const char* name, const QVariant& value);
