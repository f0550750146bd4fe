#pragma once

#include "till/cli/console.h"
#include "till/conformance/tester.h"

#include <QJsonDocument>

namespace till::conformance {

/// What a run came to.
struct Report
{
    QString service; ///< its address
    QString card;    ///< masked
    QList<Row> rows;
    QList<Leftover> leftovers;
    QStringList moved; ///< operations that moved points, to look for where something is left
    bool interrupted = false;

    [[nodiscard]] int count(Verdict verdict) const;
    /// Whether nothing differs, nothing is left and nobody interrupted it.
    [[nodiscard]] bool isWell() const;
};

/// As lines; the exchanges of what is kept only when `all`.
void print(const Report& report, Console& console, bool all);
QJsonDocument reportJson(const Report& report);
/// As JUnit has it: a case for each promise.
QByteArray junit(const Report& report);

} // namespace till::conformance
