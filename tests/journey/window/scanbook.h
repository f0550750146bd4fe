#pragma once

#include "tests/journey/window/cashier.h"

#include <QHash>
#include <QMap>
#include <QSet>

namespace windowtest {

/// Scans, and keeps book of what became of each code: it is goods on a receipt, the customer of one, or was
/// refused with a sound and a word. One that is none of these is a failure of the test.
class ScanBook
{
public:
    /// The cashier is the caller's and outlives this.
    explicit ScanBook(Cashier& cashier);

    /// With no request under way.
    void scanGoods(const till::Goods& goods, const QString& code);
    /// `isKnown`: nothing speaks against that customer.
    void scanCard(const QString& number, bool isKnown);
    void scanIntoDialog(QDialog& dialog, const QString& code);
    /// While a request runs; settle() says what became of them.
    void scanGoodsMeanwhile(const till::Goods& goods, const QString& code);
    void scanCardMeanwhile(const QString& number);
    /// The request is over.
    void settle();

    /// The receipt that is open now is not to be closed.
    void noteAbandoned(const QString& receipt) { m_abandoned.insert(receipt); }
    /// Every receipt is abandoned, or closed with what was scanned for it and nothing else; `receipts` is how
    /// many there were.
    void compareWithClosedReceipts(int receipts) const;
    [[nodiscard]] std::string summary() const;

private:
    /// How many of each article there are.
    using Goods = QMap<QString, int>;
    struct Kept
    {
        QString receipt;
        till::Goods goods;
    };

    static Goods goodsOf(const AbstractDocument& receipt);
    [[nodiscard]] QString receipt() const;
    [[nodiscard]] Goods shown() const;
    [[nodiscard]] bool isOpenForGoods() const;
    void noteRefusal(int beeps, qsizetype words);

    Cashier& m_cashier;
    QStringList m_words; ///< that said what is not taken, or has failed
    QObject m_listener;
    QHash<QString, Goods> m_goods; ///< by receipt: what was scanned and taken
    QSet<QString> m_abandoned;
    QList<Kept> m_kept;
    int m_scans = 0;
    int m_taken = 0;
    int m_keptAndTaken = 0;
    int m_customers = 0;
    int m_refused = 0;
};

} // namespace windowtest
