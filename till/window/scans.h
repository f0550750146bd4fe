#pragma once

#include "till/setup/settings.h"
#include "till/window/checkoutmodel.h"

#include <QObject>

namespace till::window {

/// Where a scanned code goes: to the goods or to the customer, by what it is. What cannot be taken is refused
/// with a word and a sound. Goods that are scanned while a request runs are added when it is over, to the
/// receipt that they were meant for; nothing else waits.
class Scans : public QObject
{
    Q_OBJECT

public:
    /// All are the caller's and outlive this.
    Scans(CheckoutModel& model, const Waiting& waiting, ScanSettings settings);

    void take(const QString& code);

Q_SIGNALS:
    /// A word on a code that came while a request runs.
    void told(const QString& text);

private:
    struct Kept
    {
        QString receipt;
        Sought sought;
    };

    /// Not when it is known as an article or a barcode: that says more than how a number begins. Of two
    /// beginnings, a card's and that of the scales, the longer one counts.
    [[nodiscard]] bool isCard(const QString& code) const;
    void takeLater(const QString& code, const Sought& sought);
    void addKept();

    CheckoutModel& m_model;
    const Waiting& m_waiting;
    ScanSettings m_settings;
    QList<Kept> m_kept; ///< in the order of their scanning
};

} // namespace till::window
