#include "video/my_tip_dialog.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPixmap>
#include <QSpacerItem>

namespace {

QLabel* makeIcon(QWidget* parent, const char* name, const char* file) {
    auto* label = new QLabel(parent);
    label->setObjectName(QLatin1String(name));
    label->setFixedSize(25, 25);
    label->setScaledContents(true);
    label->setPixmap(QPixmap(QLatin1String(file)));
    return label;
}

}  // namespace

MyTipDialog::MyTipDialog(QWidget* parent) : MyTransDlg(parent) {
    auto* box = new QWidget(this);
    box->setGeometry(0, 0, 300, 51);
    auto* layout = new QHBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(5);
    label_snap = makeIcon(box, "label_snap", "res/icon_tip_snapping.png");
    label_rec = makeIcon(box, "label_rec", "res/icon_tip_recording.png");
    label_text = new QLabel(box);
    label_text->setStyleSheet(QStringLiteral("color:white;font:15pt \"Microsoft YaHei UI\";"));
    layout->addWidget(label_snap);
    layout->addWidget(label_rec);
    layout->addWidget(label_text);
    layout->addItem(new QSpacerItem(0, 0, QSizePolicy::Expanding, QSizePolicy::Minimum));
    hide();
}

void MyTipDialog::setSnapping(bool on) { label_snap->setVisible(on); }

void MyTipDialog::setRecording(bool on) { label_rec->setVisible(on); }

bool MyTipDialog::isRecording() const { return !label_rec->isHidden(); }

void MyTipDialog::setText(const QString& text) { label_text->setText(text); }
