// Stores that a till has filled and a disk has damaged, and what a rescue takes out of them. How many and
// which are set by KYR_RESCUE_STORES and KYR_RESCUE_SEED, see run; KYR_RESCUE_FIRST goes straight to one that
// failed.

#include "host/storage/datadirectory.h"
#include "host/storage/rescue.h"
#include "host/utils/basicexception.h"
#include "tests/rescue/damage.h"
#include "tests/rescue/keptstore.h"
#include "tests/support/hostworld.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <iostream>

using namespace Qt::StringLiterals;

namespace rescuetest {

namespace {

int numberFrom(const char* variable, int usual)
{
    bool isNumber = false;
    const int number = qEnvironmentVariableIntValue(variable, &isNumber);
    return isNumber && number >= 0 ? number : usual;
}

QByteArray contentOf(const QString& name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// What came of all stores with one kind of damage.
struct Outcome
{
    int stores = 0;
    int reported = 0; ///< as having lost something
    qsizetype rows = 0;
    qsizetype saved = 0;
    qsizetype onHurtPages = 0;
    qsizetype savedFromHurtPages = 0;
    qsizetype altered = 0; ///< beside what a seal vouches for
};

class Trial
{
public:
    Trial(const KeptStore& kept, Damage damage, std::mt19937& random)
        : m_kept(kept)
        , m_damage(damage)
        , m_file(m_folder.filePath(u"damaged.sqlite"_s))
    {
        for (const QString& suffix : {u""_s, u"-wal"_s})
            QFile::copy(kept.file + suffix, m_file + suffix);
        m_hurt = inflict(damage, m_file, random);
    }

    void run(Outcome& outcome)
    {
        const QByteArray before = contentOf(m_file);
        const QByteArray logBefore = contentOf(m_file + u"-wal"_s);
        storage::setDataDirectory(m_folder.filePath(u"sound"_s));
        const storage::Rescued rescued = storage::rescue(m_file);
        const storage::Rescued again = storage::rescue(m_file);
        storage::setDataDirectory({});
        EXPECT_EQ(contentOf(m_file), before) << "it is only read";
        EXPECT_EQ(contentOf(m_file + u"-wal"_s), logBefore) << "it is only read";
        m_saved = rescued.isStore
                      ? rowsOf(m_folder.filePath(u"sound/till.sqlite"_s), m_folder.filePath(u"look"_s))
                      : QMap<QString, QList<Row>>();
        for (const storage::RescuedTable& table : rescued.tables)
            EXPECT_EQ(table.taken, m_saved[table.table].size()) << table.table.toStdString();
        for (const storage::RescuedTable& table : again.tables)
            EXPECT_EQ(table.taken, 0) << "the second time: " << table.table.toStdString();
        expectNothingInvented(outcome);
        expectAllThatLiesOnWholePages(outcome);
        const bool nothingMissing = m_missing <= m_altered; // an altered row is taken, and missed as it was
        // What lies behind the end of a log is not known to have been there.
        const bool isToBeKnown = m_damage != Damage::CutLog && m_damage != Damage::FlippedLog;
        EXPECT_TRUE(nothingMissing || !isToBeKnown || !rescued.lost.isEmpty())
            << m_missing << " rows are lost, and nobody says so";
        ++outcome.stores;
        outcome.reported += rescued.lost.isEmpty() ? 0 : 1;
    }

private:
    void expectNothingInvented(Outcome& outcome)
    {
        for (auto table = m_saved.cbegin(); table != m_saved.cend(); ++table) {
            for (const Row& row : *table) {
                const bool isKept = m_kept.ever[table.key()].contains(row.all);
                EXPECT_TRUE(isKept || m_kept.everVerified[table.key()].contains(row.verified))
                    << "invented: a row of " << table.key().toStdString();
                m_altered += isKept ? 0 : 1;
            }
        }
        // No more than bytes were flipped, or pages that continue a row swapped.
        const bool mayBe = m_damage == Damage::FlippedBytes || m_damage == Damage::SwappedPages;
        EXPECT_LE(m_altered, mayBe ? 20 : 0);
        outcome.altered += m_altered;
    }

    void expectAllThatLiesOnWholePages(Outcome& outcome)
    {
        for (auto table = m_kept.rows.cbegin(); table != m_kept.rows.cend(); ++table) {
            QHash<QByteArray, int> saved;
            for (const Row& row : m_saved[table.key()])
                ++saved[row.all];
            // Of rows that are alike, those on whole pages are the ones that were saved.
            for (const bool isHurt : {false, true}) {
                for (qsizetype i = 0; i < table->size(); ++i) {
                    if (m_kept.pages[table.key()][i].intersects(m_hurt) != isHurt)
                        continue;
                    const bool isSaved = --saved[(*table)[i].all] >= 0;
                    EXPECT_TRUE(isSaved || isHurt)
                        << "not taken: row " << i << " of " << table.key().toStdString();
                    ++outcome.rows;
                    outcome.saved += isSaved ? 1 : 0;
                    outcome.onHurtPages += isHurt ? 1 : 0;
                    outcome.savedFromHurtPages += isHurt && isSaved ? 1 : 0;
                    m_missing += isSaved ? 0 : 1;
                }
            }
        }
    }

    const KeptStore& m_kept;
    Damage m_damage;
    QTemporaryDir m_folder;
    QString m_file;
    QSet<quint32> m_hurt;
    QMap<QString, QList<Row>> m_saved;
    qsizetype m_missing = 0;
    qsizetype m_altered = 0; ///< where no seal covers it
};

std::string inPercent(qsizetype part, qsizetype whole)
{
    return whole == 0
               ? "-"
               : QString::number(100.0 * static_cast<double>(part) / static_cast<double>(whole), 'f', 1)
                         .toStdString() +
                     " %";
}

class DamagedStores : public test_support::HostWorld
{};

} // namespace

TEST_F(DamagedStores, TakesWhatLiesOnWholePagesInventsNothingAndTellsWhatIsLost)
{
    constexpr int likeOne = 25; // stores damaged, of one that was filled
    const int stores = numberFrom("KYR_RESCUE_STORES", 18);
    const auto seed = static_cast<unsigned>(numberFrom("KYR_RESCUE_SEED", 1));
    std::map<Damage, Outcome> outcomes;
    QTemporaryDir folder;
    KeptStore kept;
    for (int i = numberFrom("KYR_RESCUE_FIRST", 0) / likeOne * likeOne; i < stores; ++i) {
        std::mt19937 random(seed * 100'000 + static_cast<unsigned>(i));
        if (i % likeOne == 0) {
            const QString place = folder.filePath(QString::number(i));
            QDir().mkpath(place);
            kept = keepStore(place, random);
        }
        const Damage damage = allDamages[static_cast<std::size_t>(i) % std::size(allDamages)];
        SCOPED_TRACE("store " + std::to_string(i) + ": " + nameOf(damage).toStdString());
        Trial(kept, damage, random).run(outcomes[damage]);
    }
    for (const auto& [damage, outcome] : outcomes)
        std::cout << "  " << nameOf(damage).toStdString() << ": " << outcome.stores << " stores, "
                  << outcome.reported << " with losses told; of " << outcome.rows << " rows "
                  << inPercent(outcome.saved, outcome.rows) << " saved, of the " << outcome.onHurtPages
                  << " on damaged pages " << inPercent(outcome.savedFromHurtPages, outcome.onHurtPages)
                  << "; " << outcome.altered << " altered unseen\n";
}

} // namespace rescuetest
