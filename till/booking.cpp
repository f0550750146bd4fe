#include "till/booking.h"

#include "host/core/storage.h"
#include "till/hostobjects.h"

namespace till {

QSet<QString> awaitedReceipts(const MessageQueue& queue)
{
    QSet<QString> receipts;
    for (auto next = queue.after(0); next; next = queue.after(next->id))
        receipts.insert(next->group);
    return receipts;
}

BookedReceipt bookedReceipt(const QString& identifier, const QSharedPointer<AbstractDocument>& open,
                            const QSet<QString>& awaited)
{
    auto& documents = hostObject<DocumentsDao>();
    BookedReceipt receipt{.document = documents.loadDocument(identifier, false)};
    receipt.closed = !receipt.document.isNull();
    if (!receipt.closed && open && open->getIdentifier() == identifier)
        receipt.document = open;
    const bool isReturn = receipt.document && receipt.document->getDocumentType() == ReturnReceipt;
    const QString sale = isReturn ? receipt.document->getSaleDocumentId().toString() : QString();
    if (isReturn)
        receipt.sale = documents.loadDocument(sale, false);
    receipt.awaited = awaited.contains(isReturn ? sale : identifier);
    return receipt;
}

} // namespace till
