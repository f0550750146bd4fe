#pragma once

#include "tests/journey/till/tillprocess.h"
#include "tests/stand/standprocess.h"

#include <QStringList>

#include <memory>

namespace tilltest {

/// A service, and a till's data directory on a disk that can be made small or read-only for one program.
class Place
{
public:
    Place();

    /// Why nothing can be mounted here, in English; empty when it can.
    [[nodiscard]] static QString mountingFault();

    void startShell(QProcess& shell) const;
    /// The disk is the shell's alone, and empty.
    void startShellOnSmallDisk(QProcess& shell, const QString& size = QStringLiteral("2m")) const;
    /// The folder of that shell's data as this process sees it.
    [[nodiscard]] QString smallDisk(const QProcess& shell) const;
    void startReadOnly(QProcess& till, const QStringList& command) const;

    /// What the books say but for the openings, "spending 100", and of receipts without a card, "POST R-2".
    [[nodiscard]] QStringList operations() const;
    [[nodiscard]] qint64 lastExchange() const;
    /// The methods of the exchanges behind that one.
    [[nodiscard]] QStringList asked(qint64 after) const;

private:
    [[nodiscard]] QVariantMap page(const QString& name) const;
    [[nodiscard]] QStringList with(const QStringList& command) const;
    void startMounted(QProcess& till, const QString& mount, const QStringList& command) const;
    [[nodiscard]] QString folder() const { return m_files.path(QStringLiteral("data")); }

    Files m_files;
    QString m_url;
    std::unique_ptr<standtest::StandProcess> m_stand;
    QString m_config;
};

/// While it lives, there is no room on the disk of that folder.
class FilledDisk
{
public:
    explicit FilledDisk(const QString& folder);
    ~FilledDisk();
    FilledDisk(const FilledDisk&) = delete;
    FilledDisk& operator=(const FilledDisk&) = delete;

private:
    QString m_filler;
};

/// While it lives, every such system call of the program says that there is no room, from the `first`-th on.
class FailingCall
{
public:
    FailingCall(const QProcess& program, const QString& call, int first = 1);
    ~FailingCall();
    FailingCall(const FailingCall&) = delete;
    FailingCall& operator=(const FailingCall&) = delete;

    /// Why programs can't be traced here, in English; empty when they can.
    [[nodiscard]] static QString fault();

private:
    QProcess m_tracer;
};

} // namespace tilltest
