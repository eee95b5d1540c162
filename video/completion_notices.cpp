#include "video/completion_notices.h"

#include <QDir>

#include "platform/show_directory.h"
#include "video/my_comp_notify_dlg.h"

namespace {

void present(const QString& path) {
    platform::showDirectory(QDir::toNativeSeparators(path).toUtf8().constData());
}

}  // namespace

CompletionNotices::CompletionNotices(QWidget& window, const NoticeFields& fields)
    : m_window(window), m_fields(fields) {}

void CompletionNotices::showSnapshot() {
    if (m_fields.snap_notice == nullptr) {
        m_fields.snap_notice = new MyCompNotifyDlg(MyCompNotifyDlg::kSnapshot, &m_window);
        connect(m_fields.snap_notice, &MyCompNotifyDlg::directoryWanted, this,
                [this] { present(m_fields.snap_dir); });
        connect(m_fields.snap_notice, &MyCompNotifyDlg::fileWanted, this, [this] { openFile(); });
    }
    m_fields.snap_notice->showAt(QRect(m_window.pos(), m_window.size()), m_fields.snap_file);
}

void CompletionNotices::showRecording() {
    if (m_fields.rec_notice == nullptr) {
        m_fields.rec_notice = new MyCompNotifyDlg(MyCompNotifyDlg::kRecording, &m_window);
        connect(m_fields.rec_notice, &MyCompNotifyDlg::directoryWanted, this,
                [this] { present(m_fields.record_dir); });
        connect(m_fields.rec_notice, &MyCompNotifyDlg::fileWanted, this, [this] { openFile(); });
    }
    m_fields.rec_notice->showAt(QRect(m_window.pos(), m_window.size()), m_fields.record_file);
}

void CompletionNotices::openFile() const {
    present(m_fields.snap_file.isEmpty() ? m_fields.record_file : m_fields.snap_file);
}

void CompletionNotices::close() {
    for (MyCompNotifyDlg* notice : {m_fields.snap_notice, m_fields.rec_notice}) {
        if (notice != nullptr) {
            notice->hide();
        }
    }
}
