#include "widgets/my_trans_dlg.h"

MyTransDlg::MyTransDlg(QWidget* parent)
    : QLabel(parent, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus) {
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_ShowWithoutActivating);
}
