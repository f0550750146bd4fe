#include "host/storage/lockholder.h"

#include "host/storage/fileidentity.h"

#include <QFile>
#include <QList>

#include <sys/sysmacros.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace storage {

// "1: POSIX  ADVISORY  WRITE 1234 fe:01:5678 0 EOF": kind, strength, what for, process, file, from, to
QString lockHolder(const QString& path)
{
    enum Column { Purpose = 3, Process, File, Columns };
    const auto identity = identityOf(path);
    QFile table(u"/proc/locks"_s);
    if (!identity || !table.open(QIODevice::ReadOnly))
        return {};
    const QByteArray file = QByteArray::number(major(identity->device), 16).rightJustified(2, '0') + ':' +
                            QByteArray::number(minor(identity->device), 16).rightJustified(2, '0') + ':' +
                            QByteArray::number(static_cast<quint64>(identity->inode));
    const QList<QByteArray> lines = table.readAll().split('\n');
    for (const QByteArray& line : lines) {
        const QList<QByteArray> words = line.simplified().split(' ');
        if (words.size() < Columns || words[File] != file || words[Purpose] != "WRITE")
            continue;
        const int process = words[Process].toInt(); // below 1: not to be seen from here, or no process's own
        if (process > 0 && process != getpid())
            return u"process %1"_s.arg(process);
    }
    return {};
}

} // namespace storage
