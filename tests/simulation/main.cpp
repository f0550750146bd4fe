// Years of shops in minutes: stories told by a seed, played by the real till, plug-in, queue and store and
// the service's own books, in one process and on a clock, a network and a disk of the simulation's.

#include "tests/simulation/disk.h"
#include "tests/simulation/fate.h"
#include "tests/simulation/shop.h"
#include "tests/support/nosettings.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QHashSeed>
#include <QLoggingCategory>
#include <QTemporaryDir>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

int played = 0;
int receipts = 0;
int deaths = 0;

QStringList play(const simulation::Story& story, const QString& root, bool isTold)
{
    const QTemporaryDir folder(root + u"/shop-XXXXXX"_s);
    simulation::Shop shop(story, folder.path());
    QStringList findings = shop.play();
    ++played;
    receipts += shop.receipts();
    deaths += shop.deaths();
    if (isTold) {
        for (const QString& line : shop.log())
            std::printf("%s\n", qPrintable(line));
    }
    return findings;
}

/// The shortest story that still goes wrong: what can be left out is.
simulation::Story shortened(simulation::Story story, const QString& root)
{
    for (qsizetype chunk = story.episodes.size() / 2; chunk > 0; chunk /= 2) {
        for (qsizetype begin = 0; begin < story.episodes.size();) {
            simulation::Story shorter = story;
            shorter.episodes.remove(begin, std::min(chunk, shorter.episodes.size() - begin));
            if (play(shorter, root, false).isEmpty())
                begin += chunk;
            else
                story = shorter;
        }
    }
    for (qsizetype i = 0; i < story.episodes.size(); ++i) {
        for (qsizetype trouble = story.episodes[i].troubles.size() - 1; trouble >= 0; --trouble) {
            simulation::Story calmer = story;
            calmer.episodes[i].troubles.removeAt(trouble);
            if (!play(calmer, root, false).isEmpty())
                story = calmer;
        }
    }
    return story;
}

qint64 numberFrom(QStringList& arguments, const QString& option, qint64 usual)
{
    const qsizetype at = arguments.indexOf(option);
    if (at < 0 || at + 1 >= arguments.size())
        return usual;
    const qint64 value = arguments.at(at + 1).toLongLong();
    arguments.remove(at, 2);
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
    const qint64 seed = numberFrom(arguments, u"--seed"_s, 1);
    const qint64 stories = numberFrom(arguments, u"--stories"_s, 1);
    const qint64 seconds = numberFrom(arguments, u"--seconds"_s, 0);
    const qint64 episodes = numberFrom(arguments, u"--episodes"_s, 100);
    const bool isTold = arguments.removeAll(u"--tell"_s) > 0;
    if (!arguments.isEmpty()) {
        std::fprintf(stderr,
                     "usage: simulation [--seed S] [--stories N | --seconds N] [--episodes N] [--tell]\n");
        return 2;
    }
    const QTemporaryDir root(u"/dev/shm/simulation-XXXXXX"_s);
    simulation::Disk::install(root.path());
    QElapsedTimer clock;
    clock.start();
    for (qint64 i = 0; seconds > 0 ? clock.elapsed() < seconds * 1000 : i < stories; ++i) {
        const simulation::Story story =
            simulation::storyOf(static_cast<std::uint64_t>(seed + i), static_cast<int>(episodes));
        const QStringList findings = play(story, root.path(), isTold);
        if (findings.isEmpty())
            continue;
        std::printf("seed %lld, %lld episodes:\n%s\n", static_cast<long long>(seed + i),
                    static_cast<long long>(episodes), qPrintable(findings.join(u'\n')));
        const simulation::Story shorter = shortened(story, root.path());
        std::printf("the same, shortened:\n%s\nas it happened:\n",
                    qPrintable(simulation::told(shorter).join(u'\n')));
        std::printf("%s\n", qPrintable(play(shorter, root.path(), true).join(u'\n')));
        return 1;
    }
    std::printf("%d stories, %d receipts, %d deaths in %.1f s\n", played, receipts, deaths,
                static_cast<double>(clock.elapsed()) / 1000);
    for (int kind = 0; kind < simulation::Trouble::kinds; ++kind)
        std::printf("%d ", simulation::Fate::one().struck(static_cast<simulation::Trouble::Kind>(kind)));
    std::printf("\n");
    return 0;
}
