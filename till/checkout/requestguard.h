#pragma once

#include "host/core/document.h"
#include "till/checkout/receiptjournal.h"
#include "till/checkout/storestep.h"
#include "till/checkout/unknownspending.h"

#include <QSharedPointer>

#include <functional>
#include <optional>

namespace till {

/// Has the current receipt on disk before anything that is sent for it leaves: the service must never know an
/// operation by a number that a till which dies now would forget. A request that spends points leaves only
/// after the receipt says that its outcome is unknown. While any request is under way the store is free.
/// Looks after the thread that makes it.
class RequestGuard
{
public:
    /// `receipt` gives the current one, or null. Journal and step stay the caller's.
    RequestGuard(std::function<QSharedPointer<Document>()> receipt, ReceiptJournal& journal, StoreStep& step);
    ~RequestGuard() = default;
    RequestGuard(const RequestGuard&) = delete;
    RequestGuard& operator=(const RequestGuard&) = delete;

    /// While one lives, requests are not the current receipt's, and leave unguarded.
    class Pause
    {
    public:
        explicit Pause(RequestGuard& guard)
            : m_guard(guard)
        {
            ++m_guard.m_pauses;
        }
        ~Pause() { --m_guard.m_pauses; }
        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;

    private:
        RequestGuard& m_guard;
    };

    /// Says what the next request that spends points is about.
    void expectSpending(double points, double wanted);
    /// Whether, since then, it turned out that nothing was spent for the receipt.
    [[nodiscard]] bool nothingSpent() const { return m_nothingSpent; }

private:
    void departing(const QString& method, const QUrl& url);
    void answered(const RestExchange& exchange);
    void mark(Document& receipt) const;
    /// The receipt whose requests leave, or null while they are not looked after.
    [[nodiscard]] QSharedPointer<Document> guarded(const QString& method) const;

    std::function<QSharedPointer<Document>()> m_receipt;
    ReceiptJournal& m_journal;
    StoreStep& m_step;
    int m_pauses = 0;
    double m_points = 0;
    double m_wanted = 0;
    bool m_askedAgain = false;
    bool m_nothingSpent = false;
    utils::Registration m_registration; ///< the last, so that it ends before what it uses
};

} // namespace till
