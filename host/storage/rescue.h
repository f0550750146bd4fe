#pragma once

#include "host/storage/damagedstore.h"
#include "host/utils/export.h"

#include <QList>
#include <QString>

namespace storage {

/// What became of a table's rows.
struct RescuedTable
{
    QString table;
    qsizetype taken = 0;
    qsizetype there = 0; ///< the store has them already
    qsizetype lost = 0;  ///< those that are known of
};

struct Rescued
{
    bool isStore = false; ///< anything of a store was found in the file
    QList<RescuedTable> tables;
    QList<LostRow> lost;
    QString closed; ///< the receipt that was open in the store, but closed in the file; empty: none
};

/// Takes what can be read of a store's file, damaged or not, with its log where one lies beside it, into the
/// data directory's store, as one commit. The file is only read. What the store has already stays as it is,
/// so that doing it again changes nothing. Messages are put at the end of the queue in their order, due at
/// once; none that was delivered or dropped. Numbers of messages that are taken change, in the journal too.
/// Nobody else may work with the store. Throws BasicException, and changes nothing, when the file can't be
/// read or the store not be used.
HOST_EXPORT Rescued rescue(const QString& file);

} // namespace storage
