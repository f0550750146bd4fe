#pragma once

#include "host/core/document.h"
#include "host/storage/documents.h"
#include "tests/support/stillclock.h"
#include "tests/unit/storage/documents.h"
#include "tests/unit/storage/scene.h"

#include <memory>
#include <ostream>

namespace test_support {

/// Where closed receipts are kept: a till's store, or a shop's database.
class ReceiptsHome
{
public:
    virtual ~ReceiptsHome() = default;

    /// As a till does that starts.
    [[nodiscard]] virtual std::unique_ptr<DocumentsDao> open() const = 0;
    /// What a till has stored since comes to where it is kept.
    virtual void take() = 0;
    /// Flips a bit of that receipt, as a bad disk does.
    virtual void damage(const QString& identifier) = 0;
};

/// One kind of such a home, for the tests that all of them have to pass.
struct ReceiptsPlace
{
    const char* name;
    std::unique_ptr<ReceiptsHome> (*make)(); ///< once there is a data directory
};

inline void PrintTo(const ReceiptsPlace& place, std::ostream* out) { *out << place.name; }

/// Closed receipts, wherever they are kept.
class AnyReceipts : public Storage, public testing::WithParamInterface<ReceiptsPlace>
{
protected:
    /// Closes it, a moment after the one before.
    void store(const QSharedPointer<Document>& receipt);
    void storeReturn(const QString& identifier, const QString& of) { store(returnOf(of, identifier)); }

    [[nodiscard]] QSharedPointer<Document> load(const QVariant& reference = QStringLiteral("R-1")) const
    {
        return dao->loadDocument(reference, false).dynamicCast<Document>();
    }
    [[nodiscard]] QSharedPointer<DocumentCardRecord> record() const
    {
        return load()->getCardRecord(KyrLoyaltySystem);
    }
    /// What a till that starts anew finds written back of the sale's card.
    [[nodiscard]] QString storedOperationId() const;
    void writeBack(const QString& operationId) const;

    static QStringList identifiersOf(const QList<QSharedPointer<AbstractDocument>>& receipts);
    /// The identifiers, behind those that are damaged a "!".
    static QStringList identifiersOf(const QList<ClosedSale>& sales);

    StillClock clock;
    const std::unique_ptr<ReceiptsHome> home = GetParam().make();
    const std::unique_ptr<DocumentsDao> dao = home->open();
    const QSharedPointer<Document> sale = richSale(QStringLiteral("R-1"));
};

} // namespace test_support
