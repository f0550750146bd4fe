#include "tests/journey/till/tillprocess.h"

#include <QFile>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

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

QString Files::write(const QString& name, const QByteArray& content) const
{
    QString path = m_directory.filePath(name);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write a test's file");
    return path;
}

Ran runJson(const QByteArray& scenario, const QStringList& arguments)
{
    const Files files;
    return run(QStringList{u"run"_s, files.write(u"s.json"_s, scenario), u"--json"_s} + arguments);
}

QList<QJsonObject> linesOf(const Ran& ran)
{
    QList<QJsonObject> lines;
    for (const QByteArray& line : ran.out.trimmed().split('\n'))
        lines.append(QJsonDocument::fromJson(line).object());
    return lines;
}

QJsonObject play(QProcess& shell, const QByteArray& step)
{
    shell.write(step + '\n');
    while (!shell.canReadLine()) {
        if (!shell.waitForReadyRead(patienceMs))
            return {};
    }
    return QJsonDocument::fromJson(shell.readLine()).object();
}

QByteArray scenarioOfSteps(const QByteArray& steps, const QByteArray& config)
{
    return R"({ "config": )" + config + R"(, "steps": [ )" + steps + " ] }";
}

QByteArray scenarioOf(const QByteArray& steps, const QByteArray& config)
{
    return R"({ "config": )" + config + R"(, "steps": [ { "do": "openSale", "id": "R-1", "positions": [ )" +
           R"({ "articul": "1", "name": "Чай", "price": 10, "quantity": 1 } ] }, )" + steps + " ] }";
}

} // namespace tilltest
