#pragma once

#include "host/utils/export.h"

#include <QByteArray>
#include <QFile>
#include <QHash>
#include <QString>

namespace storage {

/// The pages of a database file, which may be damaged, with what its log holds of them; read past SQLite,
/// which would take the file for whole or for nothing. Numbers begin with 1.
class HOST_EXPORT StorePages
{
public:
    /// Throws BasicException when the file can't be read. Nothing is written.
    explicit StorePages(const QString& file);

    /// How many there were, as far as is known.
    [[nodiscard]] quint32 count() const { return m_count; }
    /// Bytes of a page.
    [[nodiscard]] int size() const { return m_size; }
    /// The page; shorter when the file ends in it, empty behind its end.
    [[nodiscard]] QByteArray page(quint32 number);
    /// The later of two pages is higher: those of the log were written after those of the file.
    [[nodiscard]] qint64 written(quint32 number) const { return m_logged.value(number, 0); }
    /// Something of the log is damaged, so that a page may be an older one.
    [[nodiscard]] bool isLogDamaged() const { return m_isLogDamaged; }

private:
    QFile m_file;
    QFile m_log;
    int m_size = 0;
    quint32 m_count = 0;
    QHash<quint32, qint64> m_logged;
    bool m_isLogDamaged = false;
};

} // namespace storage
