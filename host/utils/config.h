#pragma once

#include "host/utils/export.h"
#include "host/utils/singleton.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QVariant>

#include <stdexcept>

/// What is wrong with a configuration, in English for the administrator; one line per problem.
class HOST_EXPORT ConfigError : public std::runtime_error
{
public:
    /// The problems, one a line; `what()` is the same in UTF-8.
    explicit ConfigError(const QString& problems)
        : std::runtime_error(problems.toStdString())
    {}
};

/// A key that this installation knows.
struct ConfigKey
{
    /// What the value of a key can be.
    enum class Type { Text, Integer, Boolean };

    QString name;     ///< "Table:key", as everywhere in the host
    Type type;        ///< values of another one are refused
    QString expected; ///< what a value looks like, for messages: "seconds to wait for an answer, such as 10"
};

/// The host's configuration: values under keys of the form "Table:key", read from a TOML file in which the
/// key stands as `key` in the table `[Table]`. A fresh object holds nothing, so that every key has its
/// default.
class HOST_EXPORT Config
{
public:
    virtual ~Config();

    /// Makes keys known. Only values of known keys, and of their type, are accepted afterwards.
    void declare(const QList<ConfigKey>& keys);

    /// Replaces all values by those of the file. Throws ConfigError, and keeps the old values, when the file
    /// can't be read, is not TOML, or holds an unknown key or a value of the wrong type; each line of the
    /// message names file, line, key and what was expected, in the file's order. No value of the file is in
    /// it.
    void load(const QString& fileName);

    /// Sets one value over what the file says. Throws ConfigError as load does, naming the key.
    void set(const QString& key, const QVariant& value);

    /// The value of the key, or `defaultValue` when the key has none. Throws ConfigError when the value is of
    /// another type: a default in its place would hide the mistake.
    [[nodiscard]] virtual QString getString(const QString& key, const QString& defaultValue) const;
    /// The same for a whole number of 32 bits.
    [[nodiscard]] virtual int getInt(const QString& key, int defaultValue) const;
    /// The same for true and false.
    [[nodiscard]] virtual bool getBool(const QString& key, bool defaultValue) const;

private:
    [[nodiscard]] QString problem(const QString& key, const QVariant& value) const;
    [[nodiscard]] QVariant typed(const QString& key, ConfigKey::Type type) const;

    QList<ConfigKey> m_known;
    QHash<QString, QVariant> m_values;
};

extern template class HOST_EXPORT Singleton<Config>;
