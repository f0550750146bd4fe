#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace till::conformance {

/// Something that the plug-in and the till rely on a loyalty service for.
struct Promise
{
    QString id;       ///< "spend-again"
    QString sentence; ///< what the service does, in English
    QString meaning;  ///< what it means at the till when the service does not
};

/// All of them, in the order of the report.
const QList<Promise>& promises();

enum class Verdict {
    Kept,
    Differs,
    Open, ///< it could not be judged
};

/// "kept", "differs", "not judged".
QString verdictText(Verdict verdict);

/// What became of one promise.
struct Row
{
    const Promise* promise = nullptr;
    Verdict verdict = Verdict::Open;
    QString finding = {};       ///< what differs, or why it was not judged; masked
    QStringList exchanges = {}; ///< what was sent and answered, as lines; masked
};

} // namespace till::conformance
