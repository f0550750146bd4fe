#pragma once

#include "stand/faults/callpattern.h"

#include <QJsonArray>
#include <QJsonObject>

#include <stdexcept>

namespace stand {

/// What can go wrong with a call, in the order of the table in faultkinds.cpp.
enum class FaultKind {
    Refuse,
    Reset,
    Hang,
    Drop,
    ApplyThenDrop,
    Late,
    Drip,
    Truncate,
    Length,
    Type,
    Json,
    Empty,
    Html,
    Large,
    GzipBomb,
    Redirect,
    Status
};

/// Whether a fault comes before the operation takes effect, which it then never does (but for a late one), or
/// after it.
enum class When { Before, After };

/// A fault that is described wrongly; the text says what, where and what is right.
class FaultError : public std::runtime_error
{
public:
    explicit FaultError(const QString& what)
        : std::runtime_error(what.toStdString())
    {}
    [[nodiscard]] QString text() const { return QString::fromUtf8(what()); }
};

/// One fault: which calls it means, which of them it strikes, and how.
struct Fault
{
    CallPattern where;
    FaultKind kind = FaultKind::Reset;
    When when = When::Before;
    int nth = 1;              ///< The first call it strikes, counted from 1.
    int every = 1;            ///< After that, every such call: 1 means each.
    std::optional<int> count; ///< So many calls are struck; nothing: for ever.
    QJsonObject settings;     ///< All that the kind knows, with what was not given set to the default.

    /// Whether it strikes its `call`-th call (from 1) when it has struck `fired` before.
    [[nodiscard]] bool strikes(int call, int fired) const;
    [[nodiscard]] qint64 number(const char* setting) const;
    [[nodiscard]] QString text(const char* setting) const;
    [[nodiscard]] QString name() const; ///< Of the kind: "apply-then-drop".
    /// With every member that faultFrom() reads.
    [[nodiscard]] QJsonObject json() const;
};

/// Reads {"operation": "any", "fault": "status", "nth": 1, "code": 503}. Throws FaultError.
[[nodiscard]] Fault faultFrom(const QJsonObject& description);

/// Reads "OPERATION:FAULT" or "OPERATION:FAULT:nth=1,code=503". Throws FaultError.
[[nodiscard]] Fault faultFrom(const QString& description);

/// Reads one fault, a list of them, or {"faults": [...]}; in a list a fault may also be a text. Throws
/// FaultError, which tells the line and, unless it is empty, the name of the file.
[[nodiscard]] QList<Fault> faultsFrom(const QByteArray& json, const QString& fileName = {});

/// For the help: every kind with its settings.
[[nodiscard]] QString faultsInWords();

[[nodiscard]] QStringList faultNames();

/// For the stand's page: every kind with what it does and its settings.
[[nodiscard]] QJsonArray faultKindList();

} // namespace stand
