#pragma once

#include "tests/pages/page.h"
#include "tests/stand/standprocess.h"
#include "tests/support/postgres.h"
#include "tests/support/steps.h"

#include <QProcess>
#include <QTemporaryDir>

#include <memory>
#include <utility>

namespace pagetest {

/// What is around somebody who follows a page: a clean folder with this build's programs at hand, and in the
/// place of the folders and ports that a page names some of the moment.
class World
{
public:
    World();
    ~World() { endTill(); }
    Q_DISABLE_COPY_MOVE(World)

    /// In the clean folder, where what is typed runs; /etc/kyr-loyalty of the pages.
    [[nodiscard]] QString path(const QString& name) const { return m_folder.filePath(name); }
    /// /var/lib/kyr-loyalty of the pages.
    [[nodiscard]] QString data(const QString& name = {}) const;
    [[nodiscard]] QString url() const { return m_here + QString::number(m_port); }
    void write(const QString& name, const QString& content) const;

    /// A till.toml for the service, named to each command by KYR_CONFIG and the data directory by
    /// KYR_DATA_DIR.
    void configureTill(const QString& more = {});

    /// A server with an empty database "shop", db.example.com of the pages; psql finds it by itself.
    void startDatabase();
    /// As configureTill(); the till is "7" of a shop with such a database, which has a standby,
    /// db2.example.com of the pages.
    void joinShop();
    /// The first of the two fails for good.
    void loseDatabase() { m_database->kill(); }

    /// At the same address each time.
    void startStand(const QStringList& arguments = {});
    void stopStand() { m_stand.reset(); }
    QString tellStand(const QString& page, const QString& json);

    /// What a page names is something else here, such as the day of a transcript.
    void call(const QString& ofPage, const QString& here) { m_names.append({ofPage, here}); }
    /// What each typed command is preceded by: functions that take the place of what cannot be here.
    void prepend(const QString& script) { m_before += script + u'\n'; }
    /// What programs say on both of their outputs, in the page's words.
    QString type(const QString& script) const;
    /// Types the commands of a block: what was said to each exchange, and a last empty one. Fewer when a
    /// command failed whose failure is not what the page shows.
    [[nodiscard]] QStringList typeBlock(const Block& block) const;

    /// Plays steps at a till that goes on until endTill(); what the last step answered.
    QString play(const story::Steps& steps);
    void endTill();

private:
    [[nodiscard]] QString ours(QString page) const;
    [[nodiscard]] QString pages(QString ours) const;
    void surround(QProcess& process) const;

    const QString m_here = QStringLiteral("http://127.0.0.1:");
    QTemporaryDir m_folder;
    int m_port;
    QList<std::pair<QString, QString>> m_names; ///< as pages have them, and here
    bool m_isConfigured = false;
    QString m_before;
    std::unique_ptr<standtest::StandProcess> m_stand;
    std::unique_ptr<test_support::Postgres> m_database;
    std::unique_ptr<test_support::Postgres> m_standby;
    QProcess m_till;
};

} // namespace pagetest
