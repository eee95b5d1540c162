#include "widgets/button_keys.h"

#include <QAbstractButton>
#include <QHelpEvent>
#include <QKeySequence>
#include <QShortcut>
#include <QToolTip>

namespace {

// Names the key at the moment the tip comes up: texts and languages may have changed since. A child of the
// button.
class KeyTip : public QObject {
public:
    KeyTip(QAbstractButton& button, const QKeySequence& key)
        : QObject(&button), m_button(button), m_key(key) {
        button.installEventFilter(this);
    }
    bool eventFilter(QObject* /*watched*/, QEvent* e) override {
        if (e->type() != QEvent::ToolTip) {
            return false;
        }
        QToolTip::showText(static_cast<QHelpEvent*>(e)->globalPos(), tipWithKey(m_button.toolTip(), m_key),
                           &m_button);
        return true;
    }

private:
    QAbstractButton& m_button;
    QKeySequence m_key;
};

}  // namespace

void clickByKey(QWidget& window, const QKeySequence& key, QAbstractButton& button) {
    auto* shortcut = new QShortcut(key, &window);
    shortcut->setAutoRepeat(false);
    QObject::connect(shortcut, &QShortcut::activated, &button, &QAbstractButton::click);
    new KeyTip(button, key);
}

QString tipWithKey(const QString& text, const QKeySequence& key) {
    return key.isEmpty() ? text : text + QStringLiteral(" (%1)").arg(key.toString(QKeySequence::NativeText));
}

void nameButton(QAbstractButton& button, const QString& text) {
    button.setToolTip(text);
    button.setAccessibleName(text);
}
