#include "widgets/button_keys.h"

#include <QAbstractButton>
#include <QKeySequence>
#include <QShortcut>

void clickByKey(QWidget& window, const QKeySequence& key, QAbstractButton& button) {
    auto* shortcut = new QShortcut(key, &window);
    shortcut->setAutoRepeat(false);
    QObject::connect(shortcut, &QShortcut::activated, &button, &QAbstractButton::click);
}
