#include "widgets/touch_lists.h"

#include <QComboBox>
#include <QStyledItemDelegate>

void enlargeLists(QWidget* root) {
    const auto boxes = root->findChildren<QComboBox*>();
    for (QComboBox* box : boxes) {
        box->setItemDelegate(new QStyledItemDelegate(box));
    }
}
