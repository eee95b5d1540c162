// Keys for buttons that stand where the keyboard never goes.
#pragma once

class QAbstractButton;
class QKeySequence;
class QWidget;

// The key, pressed while `window` is active, clicks the button, also one in another window: panes that float
// take no keyboard. A disabled button stays as it is. The shortcut belongs to the window. GUI thread.
void clickByKey(QWidget& window, const QKeySequence& key, QAbstractButton& button);
