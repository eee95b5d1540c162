#include "widgets/run_tree.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <algorithm>

void nameMissingFiles(const QStringList& files) {
    QStringList missing;
    std::copy_if(files.begin(), files.end(), std::back_inserter(missing),
                 [](const QString& file) { return !QFile::exists(file); });
    if (!missing.isEmpty()) {
        qDebug().noquote() << "not found in" << QDir::currentPath() + ":" << missing.join(QLatin1Char(' '));
    }
}
