#pragma once

#include "stand/http/delivery.h"

#include <QHash>
#include <QJsonObject>
#include <QStringList>

#include <stdexcept>

namespace stand {

/// A recording that cannot be replayed; the text says which line and why.
class ReplayError : public std::runtime_error
{
public:
    explicit ReplayError(const QString& what)
        : std::runtime_error(what.toStdString())
    {}
};

/// Answers requests as a recording has it. A request is answered by the first exchange not used yet of the
/// same method and path, where card and phone numbers count as equal, and of the same receipt: that is the
/// first member that it has of check_identifier, receipt_to_cancel, receipt_number and approve_id, or the
/// number in its path. Numbers of receipts differ from till to till, so the first that comes with a method
/// and path is the first of the recording, and so on.
class Replay
{
public:
    /// Throws ReplayError. `fileName` is for its text.
    Replay(const QByteArray& recording, const QString& fileName);

    Reaction react(const Request& request);

    /// What was asked for and not recorded, then what was recorded and not asked for; a line each.
    [[nodiscard]] QStringList differences() const;

private:
    /// Numbers receipts in the order of their coming, for each operation by itself.
    class Numbering
    {
    public:
        QString place(const QString& method, const QString& path, const QJsonObject& body);

    private:
        QHash<QString, QStringList> m_receipts;
    };

    QHash<QString, QList<QJsonObject>> m_recorded; ///< by place
    Numbering m_asked;
    QStringList m_unknown;
};

} // namespace stand
