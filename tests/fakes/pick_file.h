// A hand that types a file's name into the toolkit's chooser and takes it. QFileDialog::selectFile() leaves
// the name alone once its field has the focus, which a chooser that came up sooner has.
#pragma once

#include <QFileDialog>
#include <QLineEdit>

inline void pickFile(QFileDialog& chooser, const QString& path) {
    chooser.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(path);
    QMetaObject::invokeMethod(&chooser, "accept");  // protected there, a slot all the same
}
