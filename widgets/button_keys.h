// Keys for buttons that stand where the keyboard never goes, and what buttons say of themselves.
#pragma once

class QAbstractButton;
class QKeySequence;
class QString;
class QWidget;

// The key, pressed while `window` is active, clicks the button, also one in another window: panes that float
// take no keyboard. A disabled button stays as it is. The shortcut belongs to the window, and the button's
// tip names the key behind its text. GUI thread.
void clickByKey(QWidget& window, const QKeySequence& key, QAbstractButton& button);

// "text (F6)"; the text alone where there is no key.
QString tipWithKey(const QString& text, const QKeySequence& key);

// Tip and accessible name.
void nameButton(QAbstractButton& button, const QString& text);
