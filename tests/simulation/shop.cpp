#include "tests/simulation/shop.h"

#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "host/storage/store.h"
#include "tests/simulation/beside.h"
#include "tests/simulation/chance.h"
#include "tests/simulation/fate.h"
#include "tests/simulation/folders.h"
#include "tests/simulation/monotonic.h"
#include "till/setup/hostobjects.h"
#include "till/setup/settings.h"

#include <QDir>

#include <array>
#include <exception>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace simulation {

namespace {

/// Whether operations may get numbers in it.
bool isNumbered(Episode::Kind kind)
{
    return kind == Episode::Sale || kind == Episode::Return || kind == Episode::Restart ||
           kind == Episode::Backup || kind == Episode::Restore;
}

} // namespace

/// Answers what the till asks, as thrown.
class Shop::Cashier : public DialogFrontend
{
public:
    Cashier(Service& service, Dice dice)
        : m_service(service)
        , m_dice(dice)
    {}

    int chooseFromList(const ChoiceRequest& request) override
    {
        return m_dice.below(static_cast<int>(request.items.size()) + 1) - 1;
    }
    core::BasicDialog::Result inputText(const TextInputRequest& /*request*/) override
    {
        using core::BasicDialog;
        if (m_dice.oneIn(6))
            return BasicDialog::Result::cancelled();
        return BasicDialog::Result::entered(m_dice.oneIn(6) ? u"0000"_s : m_service.lastCode());
    }

private:
    Service& m_service;
    Dice m_dice;
};

Shop::Shop(const Story& story, const QString& folder, bool isServiceForgetful)
    : m_story(story)
    , m_folder(folder)
    , m_service(isServiceForgetful)
    , m_cashier(std::make_unique<Cashier>(m_service, Dice(story.seed)))
    , m_knownPassword(m_service.password())
{
    beginSpans();
    beginChance(story.seed);
    for (m_at = story.tills; m_at-- > 0;) {
        QDir().mkpath(directory());
        QDir().mkpath(backups());
    }
    m_at = 0;
    Folders::watch(folder);
}

Shop::~Shop()
{
    endBeside();
    stop();
    Folders::watch({});
}

QStringList Shop::play()
{
    for (const Episode& episode : m_story.episodes) {
        if (isNumbered(episode.kind))
            waitForUnusedTime();
        const QDateTime begin = m_clock.now();
        play(episode);
        if (isNumbered(episode.kind))
            m_used.add(begin, m_clock.now());
        if (!m_findings.isEmpty())
            return m_findings;
    }
    comeToRest();
    return m_findings;
}

void Shop::play(const Episode& episode)
{
    const auto died = [this](const Trouble& end) { die(end); };
    m_clock.move(std::chrono::seconds(5));
    try {
        if (episode.till != m_at) {
            stop();
            m_at = episode.till;
        }
        Fate::one().begin(episode.troubles, died);
        beginBeside(episode);
        start();
        requireAlive();
        act(episode);
        requireAlive();
        endBeside();
        requireAlive();
        Fate::one().end();
    } catch (const Died&) {
        revive();
    } catch (const std::exception& failure) {
        if (Fate::one().isDead()) {
            revive();
            return;
        }
        note(u"the till gives up: "_s + QString::fromUtf8(failure.what()));
        if (!hasDiskTrouble(episode))
            find(u"the till gave up with a disk that works"_s);
        Fate::one().end();
        endBeside();
        stop();
        finishRestore();
    }
}

void Shop::act(const Episode& episode)
{
    Dice dice(episode.dice);
    switch (episode.kind) {
    case Episode::Sale:
        sell(dice);
        break;
    case Episode::Return:
        giveBack(dice);
        break;
    case Episode::Delivery:
        m_network.setDown(false);
        deliver(dice);
        break;
    case Episode::Restart:
        m_knownPassword = m_service.password();
        note(u"restart"_s);
        stop();
        start();
        break;
    case Episode::Outage:
        note(u"the service is down"_s);
        m_network.setDown(true);
        break;
    case Episode::Password:
        note(u"another password"_s);
        m_service.setPassword(u"secret-%1"_s.arg(dice.below(1000)));
        break;
    case Episode::ClockJump:
        setClock(dice);
        break;
    case Episode::Evening:
        m_clock.move(10h);
        break;
    case Episode::Backup:
        backUp(dice);
        break;
    case Episode::Restore:
        restore(dice);
        break;
    case Episode::Administration:
        administrate(dice);
        break;
    case Episode::Delivering:
        keepDelivering(dice);
        break;
    }
}

void Shop::die(const Trouble& end)
{
    const bool isKill = end.kind == Trouble::Killed;
    if (isKill && beside::isSecond()) {
        ++m_deathsBeside;
        note(u"the delivery is killed"_s);
        return;
    }
    if (!isKill || !beside::isOn()) { // else the delivery goes on with the files
        for (const QString& folder : {directory(), backups()})
            m_left.insert(folder,
                          isKill ? Disk::filesOf(folder) : Disk::filesAfterPowerCut(folder, end.dice));
    }
    ++m_deaths;
    note(isKill ? u"killed"_s : u"power cut"_s);
}

void Shop::revive()
{
    stop();
    storage::setDataDirectory(directory());
    if (!m_left.isEmpty()) {
        endBeside();
        for (auto folder = m_left.cbegin(); folder != m_left.cend(); ++folder)
            Disk::restore(folder.key(), *folder);
        m_left.clear();
    }
    storage::forgetStore(); // a new process does not know the file of the last
    Fate::one().end();
    m_clock.move(30s);
    try {
        finishRestore();
        start();
        checkAfterDeath();
        endBeside();
    } catch (const std::exception& failure) {
        find(u"the till does not come back: "_s + QString::fromUtf8(failure.what()));
    }
}

Config Shop::config() const
{
    static const Config usual = till::loadSettings({});
    Config config = usual;
    till::setServerUrl(config, u"http://service.example/"_s);
    till::setCredentials(config, m_service.user(), m_knownPassword);
    config.set(u"KYRLoyalty:smsVerification"_s, m_story.withCodes);
    return config;
}

void Shop::start()
{
    if (m_till)
        return;
    m_till = std::make_unique<till::Till>(till::Parts{QStringLiteral(PLUGIN_FILE), {}, directory()}, config(),
                                          *m_cashier);
    if (!m_till->found().isEmpty())
        note(u"found: "_s + m_till->found().ru());
}

void Shop::stop() { m_till.reset(); }

void Shop::requireAlive() const
{
    if (Fate::one().isDead())
        throw Died();
}

void Shop::note(const QString& line)
{
    const QString time = m_clock.now().toString(u"MM-dd hh:mm:ss"_s);
    m_log.append(u"%1 till %2: %3"_s.arg(time).arg(m_at + 1).arg(toldAnywhere(line)));
}

void Shop::find(const QString& finding)
{
    note(u"FINDING: "_s + finding);
    m_findings.append(toldAnywhere(finding));
}

/// Where the files lie is another place each time.
QString Shop::toldAnywhere(QString line) const { return line.replace(m_folder, u"…"_s); }

void Shop::checkAfterDeath()
{
    checkDecisions();
    const till::Checkout& checkout = m_till->checkout();
    const QString open = checkout.receipt() ? checkout.receipt()->getIdentifier() : QString();
    auto& documents = till::hostObject<DocumentsDao>();
    for (const Seen& seen : m_seen) {
        if (seen.till != m_at)
            continue;
        const bool isClosed = !documents.loadDocument(seen.identifier, false).isNull();
        if (seen.paid && !isClosed)
            find(u"%1 was paid, and is not closed"_s.arg(seen.identifier));
        if (seen.gone && (isClosed || open == seen.identifier))
            find(u"%1 was rolled back, and is there again"_s.arg(seen.identifier));
        if (seen.spent && !seen.paid && !seen.leaving && !isClosed && open != seen.identifier)
            find(u"%1 had points spent, and is not there any more"_s.arg(seen.identifier));
    }
}

void Shop::comeToRest()
{
    Fate::one().end();
    m_network.setDown(false);
    m_network.letArrive();
    m_knownPassword = m_service.password();
    m_clock.move(1h);
    Dice dice(m_story.seed);
    for (int till = 0; till < m_story.tills; ++till) {
        waitForUnusedTime();
        stop();
        m_at = till;
        try {
            start();
            for (int i = 0; i < 5 && m_till->checkout().state() != till::State::Idle; ++i)
                finish(dice);
            if (m_till->checkout().state() != till::State::Idle)
                find(u"a receipt cannot be ended"_s);
            sendAll();
        } catch (const std::exception& failure) {
            find(u"the till does not work: "_s + QString::fromUtf8(failure.what()));
        }
    }
    for (int till = 0; till < m_story.tills && m_findings.isEmpty(); ++till) {
        stop();
        m_at = till;
        start();
        settleDropped();
    }
    for (int till = 0; till < m_story.tills && m_findings.isEmpty(); ++till) {
        stop();
        m_at = till;
        start();
        checkBooks();
    }
    for (const QString& violation : m_service.violations())
        find(u"the service's books: "_s + violation);
}

void Shop::sendAll()
{
    MessageQueue& queue = m_till->queue();
    QSet<qint64> retried;
    do {
        const auto isAnyToSend = [&] { return queue.nextDue(m_clock.now().addDays(2), m_clock.now()); };
        for (int i = 0; i < 30 && isAnyToSend(); ++i) {
            static_cast<void>(m_till->deliver());
            m_clock.move(1h);
        }
    } while (lookAfterParked(retried));
    if (queue.waitingCount() > 0)
        find(u"%1 messages wait though they could go"_s.arg(queue.waitingCount()));
    for (auto message = queue.after(0); message; message = queue.after(message->id))
        find(u"message %1 about %2 is left: %3"_s.arg(message->id).arg(message->group, message->lastError));
}

} // namespace simulation
