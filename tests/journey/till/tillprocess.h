#pragma once

#include "tests/support/steps.h"

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

/// Runs a scenario of these steps.
Ran runSteps(const story::Steps& steps, const QStringList& arguments = {}, const QJsonObject& config = {});

/// The same; what it says on its standard output is JSON.
Ran runJson(const story::Steps& steps, const QStringList& arguments = {}, const QJsonObject& config = {});

/// The lines of JSON that a till wrote.
QList<QJsonObject> linesOf(const Ran& ran);

/// The line of the last step, which the summary follows.
QJsonObject lastStep(const Ran& ran);

/// The same of these steps, about which the till has nothing to say besides.
QJsonObject lastStep(const story::Steps& steps, const QJsonObject& config = {});

/// Why the step of that line failed; empty when it did not.
std::string errorOf(const QJsonObject& line);

/// Expects that the step of that line failed, and why.
void expectFailure(const QJsonObject& line, const char* error);

/// The line that the shell answers a step with, or whatever is typed.
QJsonObject play(QProcess& shell, const story::Step& step);
QJsonObject play(QProcess& shell, const QByteArray& typed);

/// Files for one test.
class Files
{
public:
    Files();
    /// The path of a new file with that content.
    [[nodiscard]] QString write(const QString& name, const QByteArray& content) const;
    [[nodiscard]] QString path(const QString& name) const { return m_directory.filePath(name); }

private:
    QTemporaryDir m_directory;
};

// The receipt that most tests play, and the card, with 300 points on it.
inline const story::Step sale = story::openSale("R-1", {story::tea(300)});
inline const story::Step card = story::identifyByCard("2000000000055");
inline const story::Step spend = story::spendPoints(100);

/// A receipt of several goods, with a discount of the till's own.
inline const story::Step largeSale = story::openSale("R-1", {story::tea(300).less(20), story::honey(250, 2)});

/// All of a file; nothing when it cannot be read.
QByteArray contentOf(const QString& path);

constexpr int patienceMs = 30'000;

} // namespace tilltest
