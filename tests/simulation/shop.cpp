#include "tests/simulation/shop.h"

#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "host/storage/store.h"
#include "tests/simulation/beside.h"
#include "tests/simulation/chance.h"
#include "tests/simulation/fate.h"
#include "tests/simulation/monotonic.h"
#include "till/setup/hostobjects.h"
#include "till/setup/settings.h"

#include <QDir>

#include <array>
#include <exception>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace simulation {

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
    for (int i = 0; i < story.tills; ++i)
        QDir().mkpath(folder + u"/%1"_s.arg(i));
}

Shop::~Shop()
{
    endBeside();
    stop();
}

QStringList Shop::play()
{
    for (const Episode& episode : m_story.episodes) {
        play(episode);
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
    case Episode::ClockJump: {
        note(u"the clock jumps"_s);
        m_clock.move(std::chrono::minutes(dice.between(1, 60 * 24 * 3)));
        break;
    }
    case Episode::Evening:
        m_clock.move(10h);
        break;
    case Episode::Backup:
        backUp(dice);
        break;
    case Episode::Restore:
        restore(dice);
        break;
    }
}

void Shop::die(const Trouble& end)
{
    if (end.kind == Trouble::Killed && beside::isSecond()) {
        ++m_deathsBeside;
        note(u"the delivery is killed"_s);
        return;
    }
    if (end.kind == Trouble::PowerCut)
        m_left = Disk::filesAfterPowerCut(directory(), end.dice);
    else if (!beside::isOn()) // who lives on goes on with the files
        m_left = Disk::filesOf(directory());
    ++m_deaths;
    note(end.kind == Trouble::Killed ? u"killed"_s : u"power cut"_s);
}

void Shop::revive()
{
    stop();
    storage::setDataDirectory(directory());
    if (m_left) {
        endBeside();
        Disk::restore(directory(), *m_left);
        m_left.reset();
    }
    storage::forgetStore(); // a new process does not know the file of the last
    Fate::one().end();
    m_clock.move(30s);
    try {
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
        checkBooks();
    }
    for (const QString& violation : m_service.violations())
        find(u"the service's books: "_s + violation);
}

void Shop::sendAll()
{
    MessageQueue& queue = m_till->queue();
    for (int i = 0; i < 30 && queue.waitingCount() > 0; ++i) {
        static_cast<void>(m_till->deliver());
        m_clock.move(1h);
    }
    if (queue.waitingCount() > 0 && m_dropped.isEmpty()) // else each is looked at below
        find(u"%1 messages wait though they could go"_s.arg(queue.waitingCount()));
    for (auto message = queue.after(0); message; message = queue.after(message->id)) {
        if (!m_dropped.contains(message->group)) // else it may follow what the service never heard of
            find(u"message %1 about %2 is left: %3"_s.arg(message->id)
                     .arg(message->group, message->lastError));
    }
}

} // namespace simulation
