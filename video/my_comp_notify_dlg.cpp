#include "video/my_comp_notify_dlg.h"

#include "ui_comp_notify.h"
#include "video/recording_rules.h"

namespace {

constexpr int kShownMs = 5000;

}  // namespace

MyCompNotifyDlg::MyCompNotifyDlg(Mode mode, QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint |
                          Qt::WindowDoesNotAcceptFocus),
      m_form(new Ui::CompNotifyDlgUi) {
    m_form->setupUi(this);
    setFixedSize(size());
    setAttribute(Qt::WA_ShowWithoutActivating);
    m_form->pushButton_openDir->setVisible(mode == kSnapshot);
    m_form->pushButton_openRecDir->setVisible(mode == kRecording);
    m_hideTimer.setSingleShot(true);
    m_hideTimer.setInterval(kShownMs);
    connect(&m_hideTimer, &QTimer::timeout, this, &QWidget::hide);
    connect(m_form->pushButton_openDir, &QPushButton::clicked, this, &MyCompNotifyDlg::directoryWanted);
    connect(m_form->pushButton_openRecDir, &QPushButton::clicked, this, &MyCompNotifyDlg::directoryWanted);
    connect(m_form->pushButton_openFile, &QPushButton::clicked, this, &MyCompNotifyDlg::fileWanted);
}

MyCompNotifyDlg::~MyCompNotifyDlg() = default;

void MyCompNotifyDlg::showAt(const QRect& window, const QString& text) {
    // The language may have changed since the last one.
    m_form->retranslateUi(this);
    move(window.x() + window.width() - width(), window.y() + window.height() - height());
    show();
    QLabel* label = m_form->label_msg;
    label->ensurePolished();
    const QFontMetrics metrics = label->fontMetrics();
    const int room = label->contentsRect().width();
    label->setText(QString::fromStdU16String(
        sorvane::brokenToFit(text.toStdU16String(), [&metrics, room](const std::u16string& line) {
            return metrics.horizontalAdvance(QString::fromStdU16String(line)) <= room;
        })));
    m_hideTimer.start();
}
