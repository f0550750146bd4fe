#pragma once

#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace till {

/// The books as a stand shows them.
struct StandBooks
{
    QVariantMap ledger;
    QStringList violations; ///< what is wrong with them, each as a difference is told
};

/// Asks the stand at that address, which ends in a "/", for them. Throws UsageError with the complaint, and
/// the code of the failure in place of its "%1", when there is none.
StandBooks standBooksAt(const QString& url, const QString& complaint);

} // namespace till
