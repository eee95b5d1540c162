#include "widgets/marked_row.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>
#include <utility>

namespace {

constexpr int kDot = 8;
constexpr int kRightEdge = 6;

}  // namespace

MarkedRow::MarkedRow(QComboBox& box, std::function<QString()> tip)
    : QStyledItemDelegate(&box), m_box(box), m_tip(std::move(tip)) {
    box.setItemDelegate(this);
}

void MarkedRow::setRow(int row) {
    if (row == m_row) {
        return;
    }
    m_row = row;
    // The list is built at its first opening; asking the box for it would build it now.
    if (auto* view = m_box.findChild<QAbstractItemView*>()) {
        view->viewport()->update();
    }
}

void MarkedRow::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    QStyledItemDelegate::paint(painter, option, index);
    if (index.row() != m_row) {
        return;
    }
    const QRect& row = option.rect;
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(option.palette.color(QPalette::Text));
    painter->drawEllipse(row.right() - kRightEdge - kDot, row.top() + (row.height() - kDot) / 2, kDot, kDot);
    painter->restore();
}

bool MarkedRow::helpEvent(QHelpEvent* e, QAbstractItemView* view, const QStyleOptionViewItem& option,
                          const QModelIndex& index) {
    if (e->type() == QEvent::ToolTip && index.isValid() && index.row() == m_row) {
        QToolTip::showText(e->globalPos(), m_tip(), view);
        return true;
    }
    return QStyledItemDelegate::helpEvent(e, view, option, index);
}
