// What the program reads at run time, looked for before it is missed.
#pragma once

#include <QStringList>

// Names those of `files` that are not there in one debug line, with the current directory that relative paths
// are taken from; says nothing when all are there. Any thread.
void nameMissingFiles(const QStringList& files);
