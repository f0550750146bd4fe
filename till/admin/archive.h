#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace till {

struct ArchivedFile
{
    QString name; ///< its path inside the archive
    QByteArray content;
};

/// Writes a new .tar.gz with these files, for its owner alone (0600). Throws UsageError when there is one of
/// that name, or it can't be written whole; then nothing of it is left.
void writeArchive(const QString& fileName, const QList<ArchivedFile>& files);

} // namespace till
