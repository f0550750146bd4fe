#pragma once

#include "host/utils/config.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

/// A configuration that knows four keys, and a file to load it from.
class ConfigFile : public testing::Test
{
protected:
    ConfigFile()
    {
        using Type = ConfigKey::Type;
        m_config.declare({
            {QStringLiteral("Service:password"), Type::Text, QStringLiteral("the till's password")},
            {QStringLiteral("Service:timeout"), Type::Integer, QStringLiteral("seconds, such as 10")},
            {QStringLiteral("Service:enabled"), Type::Boolean, QStringLiteral("whether it is asked")},
            {QStringLiteral("Service:proxy:host"), Type::Text, QStringLiteral("the proxy's name")},
        });
    }

    void load(const QByteArray& content)
    {
        QFile file(m_fileName);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        ASSERT_EQ(file.write(content), content.size());
        file.close();
        m_config.load(m_fileName);
    }

    /// What load() complains of, with "FILE" for the file's name; empty when it takes the content.
    std::string complaint(const QByteArray& content)
    {
        try {
            load(content);
        } catch (const ConfigError& error) {
            return QString::fromUtf8(error.what()).replace(m_fileName, QStringLiteral("FILE")).toStdString();
        }
        return {};
    }

    [[nodiscard]] QString password() const
    {
        return m_config.getString(QStringLiteral("Service:password"), {});
    }
    [[nodiscard]] int timeout() const { return m_config.getInt(QStringLiteral("Service:timeout"), -7); }

    QTemporaryDir m_dir;
    QString m_fileName = m_dir.filePath(QStringLiteral("host 100%1.toml"));
    Config m_config;
};
