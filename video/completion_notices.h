// The two notices of what has been written, and what their buttons open.
#pragma once

#include <QObject>
#include <QString>

class MyCompNotifyDlg;
class QWidget;

// The window's fields.
struct NoticeFields {
    MyCompNotifyDlg*& snap_notice;  // null until the first one, then kept; children of the window
    MyCompNotifyDlg*& rec_notice;
    const QString& snap_dir;
    const QString& snap_file;
    const QString& record_dir;
    const QString& record_file;
};

// Window and fields outlive it. GUI thread.
class CompletionNotices : public QObject {
    Q_OBJECT

public:
    CompletionNotices(QWidget& window, const NoticeFields& fields);

    void showSnapshot();
    void showRecording();
    // The window closes.
    void close();

private:
    // Of the latest picture, on either notice; of the latest recording as long as there is no picture.
    void openFile() const;

    QWidget& m_window;
    NoticeFields m_fields;
};
