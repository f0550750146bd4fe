#pragma once

#include "host/storage/datadirectory.h"
#include "host/storage/store.h"
#include "host/utils/basicexception.h"
#include "tests/support/hostworld.h"
#include "tests/support/rawdatabase.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <csignal>
#include <cstdlib>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace test_support {

/// A data directory of its own for each test, not made yet, under a umask of 0, which keeps nothing private
/// by itself.
class Storage : public HostWorld
{
protected:
    Storage() { storage::setDataDirectory(path()); }
    ~Storage() override
    {
        storage::setDataDirectory({});
        umask(m_umask);
    }

    [[nodiscard]] QString path(const QString& name = {}) const
    {
        const QString directory = m_directory.filePath(QStringLiteral("data"));
        return name.isEmpty() ? directory : directory + u'/' + name;
    }
    [[nodiscard]] QByteArray bytes(const QString& name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    void overwrite(const QString& name, const QByteArray& content) const
    {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        ASSERT_EQ(file.write(content), content.size());
    }
    /// The permission bits of a file there, 0 when there is none.
    [[nodiscard]] static unsigned mode(const QString& file)
    {
        struct stat found = {};
        return stat(QFile::encodeName(file).constData(), &found) == 0 ? found.st_mode & 0777U : 0U;
    }
    /// Everything in the folder with its mode: "till.sqlite 600".
    [[nodiscard]] QStringList modes() const
    {
        QStringList result;
        for (const QFileInfo& file : QDir(path()).entryInfoList(QDir::Files | QDir::Hidden, QDir::Name))
            result.append(file.fileName() + u' ' + QString::number(mode(file.filePath()), 8));
        return result;
    }
    /// The identifier of the text that the call fails with; empty when it does not.
    template <class Call>
    static QString failure(Call call)
    {
        try {
            call();
        } catch (const BasicException& exception) {
            EXPECT_NE(exception.tr().ru(), QString());
            return exception.tr().id();
        }
        return {};
    }
    /// Makes that folder its owner's alone.
    static void makePrivate(const QString& directory)
    {
        QDir().mkpath(directory);
        ASSERT_EQ(chmod(QFile::encodeName(directory).constData(), 0700), 0);
    }
    /// Of the sealed content in the store.
    void flipABit(const QString& table, const QString& column, const QString& condition) const
    {
        test_support::flipABit(path(QStringLiteral("till.sqlite")), table, column, condition);
    }
    [[nodiscard]] const QTemporaryDir& outer() const { return m_directory; }

private:
    QTemporaryDir m_directory;
    mode_t m_umask = umask(0);
};

/// Lets no file of this process grow beyond that size while it lives: what a full disk looks like.
class FullDisk
{
public:
    explicit FullDisk(qint64 bytes)
    {
        getrlimit(RLIMIT_FSIZE, &m_before);
        rlimit limit = m_before;
        limit.rlim_cur = static_cast<rlim_t>(bytes);
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk()
    {
        setrlimit(RLIMIT_FSIZE, &m_before);
        static_cast<void>(std::signal(SIGXFSZ, m_handler));
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    rlimit m_before{};
    void (*m_handler)(int) = std::signal(SIGXFSZ, SIG_IGN);
};

/// While it lives, this process is nobody in particular: root itself is refused nothing, so a test run by
/// root would prove nothing.
class Nobody
{
public:
    Nobody()
    {
        if (geteuid() == 0)
            m_changed = seteuid(65534) == 0;
    }
    ~Nobody()
    {
        if (m_changed && seteuid(0) != 0)
            std::abort();
    }
    Nobody(const Nobody&) = delete;
    Nobody& operator=(const Nobody&) = delete;

private:
    bool m_changed = false;
};

} // namespace test_support
