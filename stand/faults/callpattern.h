#pragma once

#include <QByteArray>
#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include <optional>

namespace stand {

/// The calls of the service that something is meant for.
class CallPattern
{
public:
    /// Every call.
    CallPattern() = default;

    /// "any", the name of an operation ("payment-c2b"), or a pattern: "/v2/partner/card/*", or with a method
    /// before it: "GET /v2/partner/card/*". A star stands for any characters. Nothing for any other text.
    static std::optional<CallPattern> fromText(const QString& text);

    /// The names that fromText() knows, without "any".
    static QStringList operations();

    [[nodiscard]] bool matches(const QByteArray& method, const QByteArray& path) const;
    [[nodiscard]] bool isAny() const { return m_text == QLatin1StringView("any"); }
    [[nodiscard]] QString text() const { return m_text; } ///< As it was given.

private:
    QString m_text = QStringLiteral("any");
    QByteArray m_method;       ///< Empty: every method.
    QRegularExpression m_path; ///< Empty: every path.
};

} // namespace stand
