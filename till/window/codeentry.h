#pragma once

#include <QString>

namespace till::window {

/// The code that the customer confirms a spending with: what is said when it is asked for, and how that
/// ended. Each spending has a code of its own, which is asked for once.
class CodeEntry
{
public:
    enum class Outcome {
        NotAsked,
        Entered,
        Cancelled,
        SendAgain, ///< the cashier wants another one for the same points
    };

    /// Until the next begin(), end() or forget(), codes are those of this spending.
    void begin(double points, const QString& phone)
    {
        m_points = points;
        m_phone = phone;
        m_outcome = Outcome::NotAsked;
        m_isUnderWay = true;
    }
    void end() { m_isUnderWay = false; }
    /// The next spending is another receipt's or customer's.
    void forget() { *this = {}; }

    /// A code is asked for: the service has just sent it.
    void ask() { ++m_sent; }
    void answer(Outcome outcome) { m_outcome = outcome; }

    [[nodiscard]] bool isUnderWay() const { return m_isUnderWay; }
    [[nodiscard]] double points() const { return m_points; }
    /// The customer's, as the service tells it; empty: it tells none.
    [[nodiscard]] const QString& phone() const { return m_phone; }
    /// Codes sent for this receipt and customer so far.
    [[nodiscard]] int sent() const { return m_sent; }
    [[nodiscard]] Outcome outcome() const { return m_outcome; }

private:
    bool m_isUnderWay = false;
    double m_points = 0;
    QString m_phone;
    int m_sent = 0;
    Outcome m_outcome = Outcome::NotAsked;
};

} // namespace till::window
