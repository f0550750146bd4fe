#pragma once

#include "host/core/document.h"
#include "host/queue/messagequeue.h"
#include "host/storage/documents.h"
#include "host/storage/journal.h"
#include "host/storage/store.h"
#include "tests/unit/queue/scene.h"

namespace rescuetest {

/// Two tills' data directories: the one that is worked in, and another.
class TwoStores : public test_support::Storage
{
protected:
    [[nodiscard]] QString file(const QString& name = QStringLiteral("till.sqlite")) const
    {
        return path(name);
    }
    [[nodiscard]] QString otherFolder() const { return outer().filePath(QStringLiteral("other")); }
    [[nodiscard]] QString otherFile() const { return otherFolder() + QStringLiteral("/till.sqlite"); }
    /// From now on the data directory is the other one.
    void goToTheOther() const { storage::setDataDirectory(otherFolder()); }
    void goBack() const { storage::setDataDirectory(path()); }

    static void sell(const QString& identifier)
    {
        storage::Transaction commit;
        storage::Journal().add({.time = {},
                                .receipt = identifier,
                                .event = QStringLiteral("closed"),
                                .operation = {},
                                .detail = {}});
        DocumentsDao().store(QSharedPointer<Document>::create(SaleReceipt, identifier));
        commit.commit();
    }
    /// R-0 and so on, as one commit.
    static void sellMany(int count)
    {
        storage::Transaction commit;
        for (int i = 0; i < count; ++i)
            sell(QStringLiteral("R-%1").arg(i));
        commit.commit();
    }
    static void leaveOpen(const QString& identifier)
    {
        SaveToFileLogic().save(QSharedPointer<Document>::create(SaleReceipt, identifier), {});
    }
    static QString openReceipt()
    {
        const auto open = SaveToFileLogic::loadOpenReceipt();
        return open ? open->getIdentifier() : QString();
    }
    /// A message of that receipt, told from others by its text.
    static qint64 send(const QString& receipt, const QString& text = QStringLiteral("Начисление"))
    {
        return MessageQueue().enqueue(
            QStringLiteral("q"), receipt,
            test_support::messageTo(QStringLiteral("http://service/v2/payment-b2c"), text.toUtf8()), text);
    }
    /// "1 R-1 text", in their order, a parked one with "!" behind.
    static QStringList waiting()
    {
        QStringList texts;
        for (const QueuedMessage& message : MessageQueue().messages(1000)) {
            const bool parked = message.state == QueuedMessage::State::Parked;
            texts.append(QString::number(message.id) + u' ' + message.group + u' ' + message.text +
                         (parked ? QStringLiteral("!") : QString()));
        }
        return texts;
    }
    static QStringList events(const QString& receipt)
    {
        QStringList texts;
        for (const auto& entry : storage::Journal().of(receipt))
            texts.append(entry.event + u' ' + QString::number(entry.message));
        return texts;
    }
    static QStringList sales()
    {
        QStringList identifiers;
        for (const ClosedSale& sale : DocumentsDao().newestSales(1000))
            identifiers.append(sale.identifier);
        identifiers.sort();
        return identifiers;
    }
};

} // namespace rescuetest
