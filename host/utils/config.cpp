#include "host/utils/config.h"

#include <QFile>
#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <limits>
#include <toml++/toml.h>

using namespace Qt::StringLiterals;

template class Singleton<Config>;

namespace {

QString typeName(ConfigKey::Type type)
{
    switch (type) {
    case ConfigKey::Type::Text:
        return u"a text in quotes"_s;
    case ConfigKey::Type::Integer:
        return u"a whole number"_s;
    case ConfigKey::Type::Boolean:
        return u"true or false"_s;
    }
    return {};
}

bool matches(const QVariant& value, ConfigKey::Type type)
{
    switch (type) {
    case ConfigKey::Type::Text:
        return value.metaType() == QMetaType::fromType<QString>();
    case ConfigKey::Type::Integer:
        return value.metaType() == QMetaType::fromType<int>();
    case ConfigKey::Type::Boolean:
        return value.metaType() == QMetaType::fromType<bool>();
    }
    return false;
}

// Only what a key can hold becomes such a value; anything else stays invalid and is reported as a wrong type.
QVariant toVariant(const toml::node& node)
{
    if (const auto text = node.value_exact<std::string>())
        return QString::fromStdString(*text);
    if (const auto flag = node.value_exact<bool>())
        return *flag;
    const auto number = node.value_exact<std::int64_t>();
    if (number && *number >= std::numeric_limits<int>::min() && *number <= std::numeric_limits<int>::max())
        return static_cast<int>(*number);
    return {};
}

struct Entry
{
    QString key;
    QVariant value;
    toml::source_position place;
};

void collect(const toml::table& table, const QString& prefix, QList<Entry>& entries)
{
    for (const auto& [name, node] : table) {
        const std::string_view text = name.str();
        QString part = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
        if (part.contains(u':')) // must not pass for the colon between table and key
            part = u'"' + part + u'"';
        const toml::table* inner = node.as_table();
        if (inner && !(inner->is_inline() && inner->empty()))
            collect(*inner, prefix + part + u':', entries);
        else
            entries.append({prefix + part, toVariant(node), node.source().begin});
    }
}

// The parser quotes what it stumbled over, which may be the password.
QString withoutQuotations(const toml::parse_error& error)
{
    static const QRegularExpression quotation(u", saw .*|'.{2,}'"_s,
                                              QRegularExpression::DotMatchesEverythingOption);
    const std::string_view text = error.description();
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())).remove(quotation).simplified();
}

QList<Entry> parse(const QString& fileName)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        throw ConfigError(u"%1: cannot be read: %2"_s.arg(fileName, file.errorString()));
    QList<Entry> entries;
    try {
        collect(toml::parse(file.readAll().toStdString()), {}, entries);
    } catch (const toml::parse_error& error) {
        throw ConfigError(u"%1:%2: is not TOML: %3"_s.arg(
            fileName, QString::number(error.source().begin.line), withoutQuotations(error)));
    }
    std::sort(entries.begin(), entries.end(),
              [](const Entry& a, const Entry& b) { return a.place < b.place; });
    return entries;
}

} // namespace

Config::~Config() = default;

void Config::declare(const QList<ConfigKey>& keys) { m_known.append(keys); }

void Config::load(const QString& fileName)
{
    QStringList problems;
    QHash<QString, QVariant> values;
    for (const Entry& entry : parse(fileName)) {
        const QString problem = this->problem(entry.key, entry.value);
        if (problem.isEmpty())
            values.insert(entry.key, entry.value);
        else
            problems.append(u"%1:%2: %3"_s.arg(fileName, QString::number(entry.place.line), problem));
    }
    if (!problems.isEmpty())
        throw ConfigError(problems.join(u'\n'));
    m_values = values;
}

void Config::set(const QString& key, const QVariant& value)
{
    const QString problem = this->problem(key, value);
    if (!problem.isEmpty())
        throw ConfigError(problem);
    m_values.insert(key, value);
}

// The offending value itself is never named: it may be the password.
QString Config::problem(const QString& key, const QVariant& value) const
{
    const auto named = [&key](const ConfigKey& known) {
        return known.name.compare(key, Qt::CaseInsensitive) == 0;
    };
    const auto known = std::find_if(m_known.begin(), m_known.end(), named);
    if (known == m_known.end()) {
        QStringList names;
        for (const ConfigKey& candidate : m_known)
            names.append(candidate.name);
        return u"%1: unknown key; expected one of %2"_s.arg(key, names.join(u", "_s));
    }
    if (known->name != key)
        return u"%1: unknown key; did you mean %2? (case counts)"_s.arg(key, known->name);
    if (!matches(value, known->type))
        return u"%1: expected %2: %3"_s.arg(key, typeName(known->type), known->expected);
    return {};
}

QVariant Config::typed(const QString& key, ConfigKey::Type type) const
{
    QVariant value = m_values.value(key);
    if (value.isValid() && !matches(value, type))
        throw ConfigError(u"%1: expected %2"_s.arg(key, typeName(type)));
    return value;
}

QString Config::getString(const QString& key, const QString& defaultValue) const
{
    const QVariant value = typed(key, ConfigKey::Type::Text);
    return value.isValid() ? value.toString() : defaultValue;
}

int Config::getInt(const QString& key, int defaultValue) const
{
    const QVariant value = typed(key, ConfigKey::Type::Integer);
    return value.isValid() ? value.toInt() : defaultValue;
}

bool Config::getBool(const QString& key, bool defaultValue) const
{
    const QVariant value = typed(key, ConfigKey::Type::Boolean);
    return value.isValid() ? value.toBool() : defaultValue;
}
