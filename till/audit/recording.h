#pragma once

#include "host/network/restclient.h"
#include "till/audit/receiptreport.h"
#include "till/cli/options.h"

#include <QFile>
#include <QHash>

#include <memory>

namespace till {

/// While it lives, each exchange with the service is a line of JSON in a file of its owner's alone (0600), as
/// it happens. No header is in it, no password, no code and no customer's name; a card or phone number has a
/// number in its place that is the same throughout, so that what belonged together still does. The form is
/// described in docs/conformance.md, which the stand's --replay reads.
class Recording
{
public:
    /// Begins the file. An empty name is no recording. Throws UsageError when it can't be begun, or is there
    /// already: what stands in the place of a number is another in each recording.
    explicit Recording(const QString& fileName);
    ~Recording();
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;

private:
    class Writer;
    std::shared_ptr<Writer> m_writer;
    utils::Registration m_observing;
};

/// --record, for the commands that a recording can be made of.
OptionKind recordOption();

/// What the journal knows of the receipts' exchanges, in the same form; of bodies it knows nothing.
QByteArray exchangesOf(const QList<ReceiptReport>& reports);

} // namespace till
