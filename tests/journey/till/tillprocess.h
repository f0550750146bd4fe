#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace tilltest {

/// How a till that ran to its end went.
struct Ran
{
    int status = -1; ///< -1: it did not end by itself
    QByteArray out;
    QByteArray err;
};

/// Starts the till with the stand that the tests were built with.
void start(QProcess& till, const QStringList& arguments);

/// Runs the till to its end, with that on its standard input.
Ran run(const QStringList& arguments, const QByteArray& input = {});

/// The same with these variables set, "NAME=value" each.
Ran runWith(const QStringList& variables, const QStringList& arguments, const QByteArray& input = {});

/// Runs a scenario of these steps; what it says on its standard output is JSON.
Ran runJson(const QByteArray& scenario, const QStringList& arguments = {});

/// The lines of JSON that a till wrote.
QList<QJsonObject> linesOf(const Ran& ran);

/// The line that the shell answers a step with.
QJsonObject play(QProcess& shell, const QByteArray& step);

/// Files for one test.
class Files
{
public:
    /// The path of a new file with that content.
    [[nodiscard]] QString write(const QString& name, const QByteArray& content) const;
    [[nodiscard]] QString path(const QString& name) const { return m_directory.filePath(name); }

private:
    QTemporaryDir m_directory;
};

/// A scenario of these steps.
QByteArray scenarioOfSteps(const QByteArray& steps, const QByteArray& config = "{}");

/// A scenario that opens a receipt and then does that.
QByteArray scenarioOf(const QByteArray& steps, const QByteArray& config = "{}");

constexpr int patienceMs = 30'000;

} // namespace tilltest
