#include "till/admin/archive.h"

#include "till/cli/usageerror.h"

#include <QDateTime>
#include <QFile>

#include <archive.h>
#include <archive_entry.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace till {

namespace {

struct Free
{
    void operator()(archive* writer) const { archive_write_free(writer); }
    void operator()(archive_entry* entry) const { archive_entry_free(entry); }
};

void check(archive* writer, int outcome)
{
    if (outcome < ARCHIVE_WARN)
        throw UsageError(QString::fromLocal8Bit(archive_error_string(writer)));
}

void add(archive* writer, const ArchivedFile& file)
{
    const std::unique_ptr<archive_entry, Free> entry(archive_entry_new());
    archive_entry_set_pathname_utf8(entry.get(), file.name.toUtf8().constData());
    archive_entry_set_filetype(entry.get(), AE_IFREG);
    archive_entry_set_perm(entry.get(), S_IRUSR | S_IWUSR);
    archive_entry_set_size(entry.get(), file.content.size());
    archive_entry_set_mtime(entry.get(), QDateTime::currentSecsSinceEpoch(), 0);
    check(writer, archive_write_header(writer, entry.get()));
    const la_ssize_t written =
        archive_write_data(writer, file.content.constData(), static_cast<std::size_t>(file.content.size()));
    if (written != file.content.size())
        throw UsageError(QString::fromLocal8Bit(archive_error_string(writer)));
}

void writeInto(int descriptor, const QList<ArchivedFile>& files)
{
    const std::unique_ptr<archive, Free> writer(archive_write_new());
    check(writer.get(), archive_write_set_format_pax_restricted(writer.get()));
    check(writer.get(), archive_write_add_filter_gzip(writer.get()));
    check(writer.get(), archive_write_open_fd(writer.get(), descriptor));
    for (const ArchivedFile& file : files)
        add(writer.get(), file);
    check(writer.get(), archive_write_close(writer.get()));
}

} // namespace

void writeArchive(const QString& fileName, const QList<ArchivedFile>& files)
{
    const QByteArray path = QFile::encodeName(fileName);
    const int descriptor = open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (descriptor < 0)
        throw UsageError(
            u"%1: cannot be made: %2"_s.arg(fileName, QString::fromLocal8Bit(std::strerror(errno))));
    try {
        writeInto(descriptor, files);
    } catch (const std::exception& failure) {
        close(descriptor);
        unlink(path.constData());
        throw UsageError(u"%1: cannot be written: %2"_s.arg(fileName, QString::fromUtf8(failure.what())));
    }
    close(descriptor);
}

} // namespace till
