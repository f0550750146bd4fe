#include "host/utils/printable.h"
#include "till/admin/tool.h"
#include "till/cli/commandline.h"
#include "till/cli/standardoutput.h"
#include "till/commands.h"
#include "till/setup/versions.h"

#include <QCoreApplication>
#include <QTextStream>

#include <sys/resource.h>

using namespace Qt::StringLiterals;

namespace {

/// A crash leaves no core file, which would hold the password. One byte is less than any core has; a limit of
/// none would not be heeded where the system hands cores to a program.
void leaveNoCore()
{
    constexpr rlimit least{1, 1};
    setrlimit(RLIMIT_CORE, &least);
}

void tell(const QString& text) { QTextStream(stdout) << text << Qt::endl; }

int run(int& argc, char** argv)
{
    QCoreApplication::setApplicationName(u"till"_s);
    QCoreApplication::setApplicationVersion(QStringLiteral(TILL_VERSION));
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    const auto read = till::readCommandLine(till::commands(), arguments);
    if (const auto* text = std::get_if<till::Text>(&read)) {
        tell(text->text);
        return till::exitWell;
    }
    const auto* call = std::get_if<till::Call>(&read);
    if (call && call->command->graphical)
        return call->command->run(call->invocation);
    const QCoreApplication application(argc, argv);
    if (call)
        return call->command->run(call->invocation);
    tell(till::versionText());
    return till::exitWell;
}

int guardedRun(int& argc, char** argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception& error) { // UsageError, ConfigError: the text says where and what
        QTextStream(stderr) << utils::printableLines(till::administratorsText(error)) << Qt::endl;
        return till::exitMisused;
    }
}

} // namespace

int main(int argc, char* argv[])
{
    leaveNoCore();
    till::guardStandardStreams();
    return till::statusOfOutput(guardedRun(argc, argv));
}
