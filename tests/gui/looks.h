// What the looks tests measure: contrast from pixels, texts against the room they have, letters of the wrong
// language. Each function returns what it objects to, one line a widget.
#pragma once

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHash>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpression>
#include <QScrollArea>
#include <QScrollBar>
#include <QSet>
#include <QStyle>
#include <QStyleOptionButton>
#include <QStyleOptionComboBox>
#include <QStyleOptionFrame>
#include <QStyleOptionGroupBox>
#include <QTabBar>
#include <QToolButton>
#include <cmath>

namespace looks {

constexpr double kLeastContrast = 4.5;

inline double luminance(QRgb c) {
    const auto linear = [](int value) {
        const double v = value / 255.0;
        return v <= 0.03928 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(qRed(c)) + 0.7152 * linear(qGreen(c)) + 0.0722 * linear(qBlue(c));
}

// 1 to 21, as WCAG defines it.
inline double contrast(QRgb a, QRgb b) {
    const double first = luminance(a) + 0.05;
    const double second = luminance(b) + 0.05;
    return first > second ? first / second : second / first;
}

// The contrast of what is drawn in a rectangle against its ground (the commonest colour). Strokes are thinner
// than a pixel in places, so the strongest colour counts that at least three pixels have; 1 where nothing is
// drawn.
inline double measuredContrast(const QImage& image, const QRect& rect) {
    QHash<QRgb, int> colours;
    const QRect area = rect & image.rect();
    for (int y = area.top(); y <= area.bottom(); ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        for (int x = area.left(); x <= area.right(); ++x) {
            ++colours[line[x] | 0xff000000U];
        }
    }
    QRgb ground = 0;
    int most = 0;
    for (auto it = colours.cbegin(); it != colours.cend(); ++it) {
        if (it.value() > most) {
            most = it.value();
            ground = it.key();
        }
    }
    std::vector<std::pair<double, int>> strengths;
    for (auto it = colours.cbegin(); it != colours.cend(); ++it) {
        strengths.emplace_back(contrast(it.key(), ground), it.value());
    }
    std::sort(strengths.begin(), strengths.end(),
              [](const auto& a, const auto& b) { return a.first > b.first; });
    int pixels = 0;
    for (const auto& [strength, count] : strengths) {
        pixels += count;
        if (pixels >= 3) {
            return strength;
        }
    }
    return 1.0;
}

// A widget's picture on a ground of one colour, for windows that let the ground through.
inline QImage pictureOn(QWidget* widget, QRgb ground) {
    const QPixmap own = widget->grab();
    QImage image(own.size(), QImage::Format_RGB32);
    image.fill(ground);
    QPainter painter(&image);
    painter.drawPixmap(0, 0, own);
    return image;
}

// One text that a widget shows: where (in the widget) and what.
struct Shown {
    QRect room;
    QString text;
    int flags = 0;
};

inline QString plain(QString text) { return text.remove(QLatin1Char('&')); }

inline Shown shownByButton(const QAbstractButton* button) {
    QStyleOptionButton option;
    option.initFrom(button);
    option.text = button->text();
    QStyle::SubElement element = QStyle::SE_PushButtonContents;
    if (qobject_cast<const QCheckBox*>(button) != nullptr) {
        element = QStyle::SE_CheckBoxContents;
    } else if (qobject_cast<const QRadioButton*>(button) != nullptr) {
        element = QStyle::SE_RadioButtonContents;
    } else if (const auto* push = qobject_cast<const QPushButton*>(button)) {
        option.features = push->isFlat() ? QStyleOptionButton::Flat : QStyleOptionButton::None;
    } else {
        return {button->rect(), button->text()};
    }
    return {button->style()->subElementRect(element, &option, button), plain(button->text()),
            Qt::TextShowMnemonic};
}

// Empty text: the widget shows none.
inline Shown shownBy(const QWidget* widget) {
    if (const auto* button = qobject_cast<const QAbstractButton*>(widget)) {
        const auto* tool = qobject_cast<const QToolButton*>(widget);
        if (tool != nullptr && tool->toolButtonStyle() == Qt::ToolButtonIconOnly) {
            return {};
        }
        return shownByButton(button);
    }
    if (const auto* label = qobject_cast<const QLabel*>(widget)) {
        const int margin = label->margin();
        return {label->contentsRect().adjusted(margin, margin, -margin, -margin),
                label->buddy() != nullptr ? plain(label->text()) : label->text(),
                label->wordWrap() ? Qt::TextWordWrap : 0};
    }
    if (const auto* combo = qobject_cast<const QComboBox*>(widget)) {
        QStyleOptionComboBox option;
        option.initFrom(combo);
        option.editable = combo->isEditable();
        return {
            combo->style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, combo),
            combo->currentText()};
    }
    if (const auto* edit = qobject_cast<const QLineEdit*>(widget)) {
        QStyleOptionFrame option;
        option.initFrom(edit);
        return {edit->style()->subElementRect(QStyle::SE_LineEditContents, &option, edit),
                edit->text().isEmpty() ? edit->placeholderText() : edit->text()};
    }
    if (const auto* group = qobject_cast<const QGroupBox*>(widget)) {
        QStyleOptionGroupBox option;
        option.initFrom(group);
        option.text = group->title();
        option.subControls = QStyle::SC_GroupBoxFrame | QStyle::SC_GroupBoxLabel;
        // The style sizes the title to its text; what bounds it is the box.
        QRect title =
            group->style()->subControlRect(QStyle::CC_GroupBox, &option, QStyle::SC_GroupBoxLabel, group);
        title.setRight(group->rect().right() - title.left());
        return {title, group->title()};
    }
    return {};
}

inline QString nameOf(const QWidget* widget) {
    const QString name = widget->objectName();
    return name.isEmpty()
               ? QStringLiteral("%1 in %2")
                     .arg(QLatin1String(widget->metaObject()->className()),
                          widget->parentWidget() != nullptr ? widget->parentWidget()->objectName() : "")
               : name;
}

// Widgets of the window itself that are on the screen, without those of floating windows of their own.
inline QList<QWidget*> visibleWidgets(QWidget* window) {
    QList<QWidget*> result;
    for (QWidget* widget : window->findChildren<QWidget*>()) {
        if (widget->isVisible() && widget->window() == window && !widget->size().isEmpty()) {
            result << widget;
        }
    }
    return result;
}

// Contrast of each enabled text that lies whole on the picture; `seen` collects what has been measured.
inline QStringList weakTexts(QWidget* window, const QImage& image, const QStringList& excepted,
                             QSet<const QWidget*>* seen) {
    QStringList weak;
    for (const QWidget* widget : visibleWidgets(window)) {
        if (!widget->isEnabled() || seen->contains(widget) || excepted.contains(widget->objectName()) ||
            widget->visibleRegion().boundingRect() != widget->rect()) {
            continue;
        }
        if (const auto* list = qobject_cast<const QListWidget*>(widget)) {
            for (int row = 0; row < list->count(); ++row) {
                const QRect rect = list->visualItemRect(list->item(row)).adjusted(8, 4, -8, -4);
                const double strength =
                    measuredContrast(image, rect.translated(list->viewport()->mapTo(window, QPoint())));
                if (strength < kLeastContrast) {
                    weak << QStringLiteral("%1 row %2: %3").arg(nameOf(list)).arg(row).arg(strength);
                }
            }
            continue;
        }
        if (const auto* tabs = qobject_cast<const QTabBar*>(widget)) {
            for (int i = 0; i < tabs->count(); ++i) {
                const QRect rect = tabs->tabRect(i).adjusted(2, 2, -2, -2);
                const double strength =
                    measuredContrast(image, rect.translated(tabs->mapTo(window, QPoint())));
                if (strength < kLeastContrast) {
                    weak << QStringLiteral("%1 tab %2: %3").arg(nameOf(tabs)).arg(i).arg(strength);
                }
            }
            continue;
        }
        const Shown shown = shownBy(widget);
        if (plain(shown.text).trimmed().isEmpty()) {
            continue;
        }
        seen->insert(widget);
        const double strength =
            measuredContrast(image, shown.room.translated(widget->mapTo(window, QPoint())));
        if (strength < kLeastContrast) {
            weak << QStringLiteral("%1 \"%2\": %3").arg(nameOf(widget), shown.text).arg(strength, 0, 'f', 2);
        }
    }
    return weak;
}

// Texts that need more room than they have; every item of a box counts, chosen or not. A pixel is left to
// rounding.
inline QStringList cutTexts(QWidget* window, const QStringList& excepted) {
    QStringList cut;
    const auto judge = [&cut](const QWidget* widget, const QString& text, const QSize& need,
                              const QSize& room) {
        if (need.width() > room.width() + 1 || need.height() > room.height() + 1) {
            cut << QStringLiteral("%1 \"%2\" needs %3x%4, has %5x%6")
                       .arg(nameOf(widget), text)
                       .arg(need.width())
                       .arg(need.height())
                       .arg(room.width())
                       .arg(room.height());
        }
    };
    for (const QWidget* widget : visibleWidgets(window)) {
        if (excepted.contains(widget->objectName())) {
            continue;
        }
        const QFontMetrics metrics = widget->fontMetrics();
        if (const auto* list = qobject_cast<const QListWidget*>(widget)) {
            for (int row = 0; row < list->count(); ++row) {
                const QListWidgetItem* item = list->item(row);
                const QFontMetrics own(item->font());
                const QSize room = list->visualItemRect(item).adjusted(15, 0, -8, 0).size();
                judge(list, item->text(), QSize(own.horizontalAdvance(item->text()), own.height()),
                      QSize(qMin(room.width(), list->viewport()->width() - 23), room.height()));
            }
            continue;
        }
        if (const auto* tabs = qobject_cast<const QTabBar*>(widget)) {
            for (int i = 0; i < tabs->count(); ++i) {
                const QSize need(metrics.horizontalAdvance(tabs->tabText(i)), metrics.height());
                const bool upright =
                    tabs->shape() == QTabBar::RoundedEast || tabs->shape() == QTabBar::RoundedWest;
                const QRect room = tabs->tabRect(i) & tabs->rect();
                judge(tabs, tabs->tabText(i), upright ? need.transposed() : need, room.size());
            }
            continue;
        }
        const Shown shown = shownBy(widget);
        if (qobject_cast<const QLineEdit*>(widget) != nullptr) {
            continue;  // its text scrolls
        }
        if (const auto* combo = qobject_cast<const QComboBox*>(widget)) {
            for (int i = 0; i < combo->count() && !combo->isEditable(); ++i) {
                judge(combo, combo->itemText(i),
                      QSize(metrics.horizontalAdvance(combo->itemText(i)), metrics.height()),
                      shown.room.size());
            }
        } else if (!shown.text.isEmpty()) {
            const QRect need = metrics.boundingRect(QRect(0, 0, shown.room.width(), 0),
                                                    shown.flags & Qt::TextWordWrap, shown.text);
            judge(widget, shown.text, need.size(), shown.room.size());
        }
    }
    return cut;
}

// Controls that reach out of the window or of the width of the column they scroll in, and controls side by
// side that lie on each other.
inline QStringList misplaced(QWidget* window) {
    QStringList wrong;
    const auto isControl = [](const QWidget* w) {
        return qobject_cast<const QAbstractButton*>(w) != nullptr ||
               qobject_cast<const QComboBox*>(w) != nullptr || qobject_cast<const QLineEdit*>(w) != nullptr ||
               (qobject_cast<const QLabel*>(w) != nullptr &&
                !static_cast<const QLabel*>(w)->text().isEmpty());
    };
    const QList<QWidget*> widgets = visibleWidgets(window);
    for (const QWidget* widget : widgets) {
        if (!isControl(widget)) {
            continue;
        }
        const QWidget* frame = window;
        for (const QWidget* p = widget->parentWidget(); p != nullptr && p != window; p = p->parentWidget()) {
            if (const auto* area = qobject_cast<const QScrollArea*>(p)) {
                frame = area->viewport();
                break;
            }
        }
        const QRect rect(widget->mapTo(window, QPoint()), widget->size());
        const QRect room(frame->mapTo(window, QPoint()), frame->size());
        if (rect.left() < room.left() || rect.right() > room.right() ||
            (frame == window && (rect.top() < room.top() || rect.bottom() > room.bottom()))) {
            wrong << QStringLiteral("%1 reaches out").arg(nameOf(widget));
        }
        for (const QObject* other : widget->parentWidget()->children()) {
            const auto* sibling = qobject_cast<const QWidget*>(other);
            if (sibling != nullptr && sibling > widget && sibling->isVisible() && isControl(sibling) &&
                sibling->geometry().intersects(widget->geometry())) {
                wrong << QStringLiteral("%1 lies on %2").arg(nameOf(widget), nameOf(sibling));
            }
        }
    }
    return wrong;
}

inline bool hasChinese(const QString& text) {
    static const QRegularExpression han(QStringLiteral("[\\p{Han}\\x{3000}-\\x{303f}\\x{ff00}-\\x{ffef}]"));
    return text.contains(han);
}

// Everything that the window shows or tells in Chinese; texts of `values` come from the pod or the operator.
inline QStringList chineseTexts(QWidget* window, const QStringList& values) {
    QStringList chinese;
    const auto judge = [&chinese](const QWidget* widget, const QString& text) {
        if (hasChinese(text)) {
            chinese << nameOf(widget) + ": " + text;
        }
    };
    QList<QWidget*> widgets = visibleWidgets(window);
    widgets << window;
    for (const QWidget* widget : widgets) {
        if (values.contains(widget->objectName())) {
            continue;
        }
        for (const QString& text : {widget->toolTip(), widget->statusTip(), widget->whatsThis(),
                                    widget->accessibleName(), widget->windowTitle(), shownBy(widget).text}) {
            judge(widget, text);
        }
        for (const QAction* action : widget->actions()) {
            judge(widget, action->text());
            judge(widget, action->toolTip());
        }
        if (const auto* button = qobject_cast<const QAbstractButton*>(widget)) {
            judge(button, button->text());
        } else if (const auto* combo = qobject_cast<const QComboBox*>(widget)) {
            for (int i = 0; i < combo->count(); ++i) {
                judge(combo, combo->itemText(i));
            }
        } else if (const auto* edit = qobject_cast<const QLineEdit*>(widget)) {
            judge(edit, edit->placeholderText());
        } else if (const auto* list = qobject_cast<const QListWidget*>(widget)) {
            for (int row = 0; row < list->count(); ++row) {
                judge(list, list->item(row)->text());
            }
        } else if (const auto* tabs = qobject_cast<const QTabBar*>(widget)) {
            for (int i = 0; i < tabs->count(); ++i) {
                judge(tabs, tabs->tabText(i));
            }
        }
    }
    return chinese;
}

}  // namespace looks
