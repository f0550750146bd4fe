// Years of shops in minutes: stories told by a seed, played by the real till, plug-in, queue and store and
// the service's own books, in one process and on a clock, a network and a disk of the simulation's.

#include "tests/simulation/disk.h"
#include "tests/simulation/fate.h"
#include "tests/simulation/shop.h"
#include "tests/support/nosettings.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QHashSeed>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

int played = 0;
int receipts = 0;
int deaths = 0;
int deathsBeside = 0;
bool isForgetful = false; // to see that what goes wrong is found

QStringList play(const simulation::Story& story, const QString& root, bool isTold)
{
    const QTemporaryDir folder(root + u"/shop-XXXXXX"_s);
    simulation::Shop shop(story, folder.path(), isForgetful);
    QStringList findings = shop.play();
    ++played;
    receipts += shop.receipts();
    deaths += shop.deaths();
    deathsBeside += shop.deathsBeside();
    if (isTold) {
        for (const QString& line : shop.log())
            std::printf("%s\n", qPrintable(line));
    }
    return findings;
}

/// What is found without the numbers, which are others in another story.
QString kindOf(const QString& finding)
{
    static const QRegularExpression number(u"[0-9…][0-9.,…-]*"_s);
    return QString(finding).remove(number);
}

/// The shortest story in which the same goes wrong: what can be left out is.
simulation::Story shortened(simulation::Story story, const QString& finding, const QString& root)
{
    const auto goesWrong = [&](const simulation::Story& shorter) {
        const QStringList findings = play(shorter, root, false);
        return std::any_of(findings.cbegin(), findings.cend(),
                           [&](const QString& found) { return kindOf(found) == kindOf(finding); });
    };
    for (qsizetype chunk = story.episodes.size() / 2; chunk > 0; chunk /= 2) {
        for (qsizetype begin = 0; begin < story.episodes.size();) {
            simulation::Story shorter = story;
            shorter.episodes.remove(begin, std::min(chunk, shorter.episodes.size() - begin));
            if (goesWrong(shorter))
                story = shorter;
            else
                begin += chunk;
        }
    }
    for (qsizetype i = 0; i < story.episodes.size(); ++i) {
        if (simulation::Story alone = story; story.episodes[i].isBeside) {
            alone.episodes[i].isBeside = false;
            if (goesWrong(alone))
                story = alone;
        }
        for (qsizetype trouble = story.episodes[i].troubles.size() - 1; trouble >= 0; --trouble) {
            simulation::Story calmer = story;
            calmer.episodes[i].troubles.removeAt(trouble);
            if (goesWrong(calmer))
                story = calmer;
        }
    }
    return story;
}

void tell(const simulation::Story& story, const QStringList& findings, const QString& root)
{
    std::printf("seed %llu, %lld episodes:\n%s\n", static_cast<unsigned long long>(story.seed),
                static_cast<long long>(story.episodes.size()), qPrintable(findings.join(u'\n')));
    const simulation::Story shorter = shortened(story, findings.first(), root);
    std::printf("shortened:\n%s\nas it happens:\n", qPrintable(simulation::told(shorter).join(u'\n')));
    play(shorter, root, true);
}

void sumUp(qint64 seed)
{
    std::printf("from seed %lld: %d stories, %d receipts, %d deaths of a till, %d of a delivery beside one: "
                "nothing is lost, doubled or shown wrongly\n",
                static_cast<long long>(seed), played, receipts, deaths, deathsBeside);
    for (int kind = 0; kind < simulation::Trouble::kinds; ++kind) {
        const auto trouble = static_cast<simulation::Trouble::Kind>(kind);
        std::printf("  %s: %d\n", qPrintable(simulation::nameOf(trouble)),
                    simulation::Fate::one().struck(trouble));
    }
}

qint64 numberFrom(QStringList& arguments, const QString& option, qint64 usual)
{
    const qsizetype at = arguments.indexOf(option);
    if (at < 0 || at + 1 >= arguments.size())
        return usual;
    bool isNumber = false;
    const qint64 value = arguments.at(at + 1).toLongLong(&isNumber);
    if (isNumber && value >= 0)
        arguments.remove(at, 2); // what is left over is told
    return value;
}

} // namespace

int main(int argc, char** argv)
{
    QHashSeed::setDeterministicGlobalSeed();
    test_support::hideSettings();
    const QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(u"*=false"_s);
    QStringList arguments = QCoreApplication::arguments().sliced(1);
    const qint64 today = QDate::currentDate().toString(u"yyyyMMdd"_s).toLongLong() * 1'000'000;
    const qint64 first = numberFrom(arguments, u"--seed"_s, today);
    const qint64 seconds = numberFrom(arguments, u"--seconds"_s, 0);
    const qint64 stories = numberFrom(arguments, u"--stories"_s, seconds > 0 ? 500'000 : 1);
    const qint64 episodes = numberFrom(arguments, u"--episodes"_s, 100);
    const bool isTold = arguments.removeAll(u"--tell"_s) > 0;
    isForgetful = arguments.removeAll(u"--forgetful-service"_s) > 0;
    if (!arguments.isEmpty()) {
        std::fprintf(stderr,
                     "usage: simulation [--seed S] [--stories N] [--seconds N] [--episodes N] [--tell]\n"
                     "                  [--forgetful-service]\n");
        return 2;
    }
    const QTemporaryDir root(QDir::tempPath() + u"/simulation-XXXXXX"_s);
    if (!root.isValid()) {
        std::fprintf(stderr, "simulation: no folder can be made in %s\n", qPrintable(QDir::tempPath()));
        return 2;
    }
    simulation::Disk::install(root.path());
    const qint64 start = QDateTime::currentMSecsSinceEpoch(); // spans are the simulation's
    const auto elapsed = [start] { return QDateTime::currentMSecsSinceEpoch() - start; };
    for (qint64 seed = first; seed < first + stories; ++seed) {
        if (seconds > 0 && elapsed() >= seconds * 1000)
            break;
        const simulation::Story story =
            simulation::storyOf(static_cast<std::uint64_t>(seed), static_cast<int>(episodes));
        const QStringList findings = play(story, root.path(), isTold);
        if (!findings.isEmpty()) {
            tell(story, findings, root.path());
            return 1;
        }
    }
    sumUp(first);
    std::fprintf(stderr, "%.0f receipts a second\n", receipts * 1000.0 / static_cast<double>(elapsed() + 1));
    return 0;
}
