#include "host/network/credentials.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QStringList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace network {

namespace {

QString authorizationIn(const QHash<QString, QString>& headers)
{
    for (auto header = headers.cbegin(); header != headers.cend(); ++header) {
        if (header.key().compare("Authorization"_L1, Qt::CaseInsensitive) == 0)
            return header.value().trimmed();
    }
    return {};
}

/// What nobody else may read; empty: nothing.
QStringList secretsOf(const QString& authorization)
{
    QString encoded = authorization.sliced(authorization.indexOf(u' ') + 1);
    while (encoded.endsWith(u'='))
        encoded.chop(1); // in an address they are spelt differently
    QStringList secrets{encoded};
    if (authorization.startsWith("Basic "_L1, Qt::CaseInsensitive))
        secrets += QString::fromUtf8(QByteArray::fromBase64(encoded.toUtf8())).section(u':', 1);
    return secrets;
}

QString oneTimeCodeIn(const QByteArray& body)
{
    if (!body.contains(R"("code")")) // a receipt of a thousand positions need not be parsed for it
        return {};
    constexpr qsizetype shortest = 4;
    const QString code = QJsonDocument::fromJson(body).object().value(u"code"_s).toString().trimmed();
    return code.size() < shortest ? QString() : code;
}

/// Finds any of them in a text.
class Finder
{
public:
    explicit Finder(const QStringList& secrets)
        : m_secrets(secrets)
    {
        constexpr qsizetype unmistakable = 8;
        QStringList patterns;
        for (const QString& secret : secrets) {
            const QString exactly = QRegularExpression::escape(secret);
            patterns.append(secret.size() < unmistakable ? u"(?<!\\w)%1(?!\\w)"_s.arg(exactly) : exactly);
        }
        m_pattern.setPattern(u"(?:%1)=*"_s.arg(patterns.join(u'|')));
        m_pattern.setPatternOptions(QRegularExpression::UseUnicodePropertiesOption);
    }

    /// The text with stars in their place. The pattern is compiled once it is used, which takes long for a
    /// single answer, and hardly any text holds a secret.
    [[nodiscard]] QString starred(QString text) const
    {
        const bool holdsOne = std::any_of(m_secrets.cbegin(), m_secrets.cend(),
                                          [&text](const QString& secret) { return text.contains(secret); });
        return holdsOne ? text.replace(m_pattern, u"***"_s) : text;
    }

private:
    QStringList m_secrets;
    QRegularExpression m_pattern;
};

QVariant without(const Finder& secrets, const QVariant& value)
{
    switch (value.typeId()) {
    case QMetaType::QString:
        return secrets.starred(value.toString());
    case QMetaType::QVariantList: {
        QVariantList list = value.toList();
        for (QVariant& entry : list)
            entry = without(secrets, entry);
        return list;
    }
    case QMetaType::QVariantMap: {
        const QVariantMap given = value.toMap();
        QVariantMap map;
        for (auto member = given.cbegin(); member != given.cend(); ++member)
            map.insert(secrets.starred(member.key()), without(secrets, member.value()));
        return map;
    }
    default:
        return value;
    }
}

} // namespace

QVariant withoutCredentials(const QVariant& answer, const Request& request)
{
    QStringList secrets =
        secretsOf(authorizationIn(request.headers)) + QStringList{oneTimeCodeIn(request.body)};
    secrets.removeAll(QString());
    return secrets.isEmpty() ? answer : without(Finder(secrets), answer);
}

} // namespace network
