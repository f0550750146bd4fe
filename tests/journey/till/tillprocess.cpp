#include "tests/journey/till/tillprocess.h"

#include <QFile>
#include <QJsonDocument>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace story;

namespace tilltest {

void start(QProcess& till, const QStringList& arguments)
{
    const QStringList stand{u"--stand"_s, QStringLiteral(STAND_PROGRAM)};
    till.start(QStringLiteral(TILL_PROGRAM),
               arguments.contains(u"--stand"_s) ? arguments : arguments + stand);
}

Ran run(const QStringList& arguments, const QByteArray& input) { return runWith({}, arguments, input); }

Ran runWith(const QStringList& variables, const QStringList& arguments, const QByteArray& input)
{
    QProcess till;
    auto environment = QProcessEnvironment::systemEnvironment();
    for (const QString& variable : variables)
        environment.insert(variable.section(u'=', 0, 0), variable.section(u'=', 1));
    till.setProcessEnvironment(environment);
    start(till, arguments);
    till.write(input);
    till.closeWriteChannel();
    Ran ran;
    if (till.waitForFinished(patienceMs) && till.exitStatus() == QProcess::NormalExit)
        ran.status = till.exitCode();
    ran.out = till.readAllStandardOutput();
    ran.err = till.readAllStandardError();
    return ran;
}

Files::Files() = default; // for those that are const

QString Files::write(const QString& name, const QByteArray& content) const
{
    QString path = m_directory.filePath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write a test's file");
    return path;
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

Ran runSteps(const Steps& steps, const QStringList& arguments, const QJsonObject& config)
{
    const Files files;
    return run(QStringList{u"run"_s, files.write(u"s.json"_s, scenario(steps, config))} + arguments);
}

Ran runJson(const Steps& steps, const QStringList& arguments, const QJsonObject& config)
{
    return runSteps(steps, arguments + QStringList{u"--json"_s}, config);
}

QList<QJsonObject> linesOf(const Ran& ran)
{
    QList<QJsonObject> lines;
    for (const QByteArray& line : ran.out.trimmed().split('\n'))
        lines.append(QJsonDocument::fromJson(line).object());
    return lines;
}

QJsonObject lastStep(const Ran& ran)
{
    const QList<QJsonObject> lines = linesOf(ran);
    if (lines.size() < 2) {
        ADD_FAILURE() << "no step: " << ran.err.toStdString();
        return {};
    }
    return lines[lines.size() - 2];
}

QJsonObject lastStep(const Steps& steps, const QJsonObject& config)
{
    const Ran ran = runJson(steps, {}, config);
    EXPECT_EQ(ran.err, "");
    return lastStep(ran);
}

std::string errorOf(const QJsonObject& line) { return line.value(u"error"_s).toString().toStdString(); }

void expectFailure(const QJsonObject& line, const char* error)
{
    EXPECT_FALSE(line.value(u"ok"_s).toBool(true));
    EXPECT_EQ(errorOf(line), error);
}

QJsonObject play(QProcess& shell, const Step& step) { return play(shell, step.json()); }

QJsonObject play(QProcess& shell, const QByteArray& typed)
{
    shell.write(typed + '\n');
    while (!shell.canReadLine()) {
        if (!shell.waitForReadyRead(patienceMs))
            return {};
    }
    return QJsonDocument::fromJson(shell.readLine()).object();
}

} // namespace tilltest
