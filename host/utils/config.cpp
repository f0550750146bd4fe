#include "host/utils/config.h"

#include "host/utils/configfile.h"

#include <QStringList>

#include <algorithm>

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

} // namespace

Config::~Config() = default;

void Config::declare(const QList<ConfigKey>& keys) { m_known.append(keys); }

void Config::load(const QString& fileName)
{
    const utils::ConfigContent content = utils::readConfigFile(fileName);
    if (!content.problem.isEmpty())
        throw ConfigError(utils::placeInFile(fileName, content.line) + u": "_s + content.problem);
    QStringList problems;
    QHash<QString, QVariant> values;
    for (const utils::ConfigEntry& entry : content.entries) {
        const QString problem = this->problem(entry.key, entry.value);
        if (problem.isEmpty())
            values.insert(entry.key, entry.value);
        else
            problems.append(utils::placeInFile(fileName, entry.line) + u": "_s + problem);
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
