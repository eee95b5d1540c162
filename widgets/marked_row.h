// The open list of a box with one of its rows marked, whichever row is chosen.
#pragma once

#include <QStyledItemDelegate>
#include <functional>

class QComboBox;

// Takes the place of the box's delegate; rows keep their size and text. The box owns it. GUI thread.
class MarkedRow : public QStyledItemDelegate {
    Q_OBJECT

public:
    // tip: over the marked row.
    MarkedRow(QComboBox& box, std::function<QString()> tip);

    // -1 or a row that there is not: none is marked.
    void setRow(int row);
    int row() const { return m_row; }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    bool helpEvent(QHelpEvent* e, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

private:
    QComboBox& m_box;
    std::function<QString()> m_tip;
    int m_row = -1;
};
