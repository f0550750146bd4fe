#include "tests/faultmatrix/scene.h"

#include "host/storage/documents.h"
#include "host/storage/journal.h"
#include "tests/crash/books.h"
#include "tests/stand/http.h"
#include "till/setup/hostobjects.h"
#include "till/setup/settings.h"

#include <QDeadlineTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QThread>

#include <gmock/gmock.h>

#include <array>
#include <limits>
#include <optional>

using namespace Qt::StringLiterals;

namespace faulttest {

namespace {

constexpr int patienceMs = 20'000;
constexpr unsigned long glanceMs = 10;
const QString smsCode = u"1234"_s;

QString nameOf(till::State state)
{
    constexpr std::array names{"Idle",   "Sale",    "Discounted", "Return", "SpendingUnknown",
                               "Paying", "Settled", "Abandoned"};
    return QString::fromLatin1(names.at(static_cast<std::size_t>(state)));
}

QString amount(double value) { return QString::number(value, 'f', 2); }

QStringList operationsIn(const QJsonObject& ledger)
{
    QStringList lines;
    const QJsonArray operations = ledger[u"operations"_s].toArray();
    for (const auto& operation : operations) {
        if (operation[u"operation"_s] != u"opening"_s)
            lines.append(operation[u"operation"_s].toString() + u' ' +
                         amount(operation[u"points"_s].toDouble()));
    }
    const QJsonArray reports = ledger[u"anonymous"_s].toArray();
    for (const auto& report : reports)
        lines.append(report[u"method"_s].toString() + u' ' + report[u"receipt_number"_s].toString() +
                     u" of "_s + amount(report[u"receipt"_s][u"receipt_amount"_s].toDouble()));
    return lines;
}

double balanceIn(const QJsonObject& ledger)
{
    const QJsonArray accounts = ledger[u"accounts"_s].toArray();
    for (const auto& account : accounts) {
        if (account[u"card"_s] == Scene::card && account[u"kind"_s] == u"customer"_s)
            return account[u"balance"_s].toDouble();
    }
    return std::numeric_limits<double>::quiet_NaN();
}

} // namespace

const QString Scene::card = u"2000000000055"_s;

QString Seen::line() const
{
    QStringList parts{ok ? u"done"_s : u"failed"_s, nameOf(state)};
    if (!text.isEmpty())
        parts.append(u'"' + text + u'"');
    if (waiting > 0)
        parts.append(u"%1 waiting"_s.arg(waiting));
    if (parked > 0)
        parts.append(u"%1 parked"_s.arg(parked));
    if (isSuspended)
        parts.append(u"credentials refused"_s);
    return parts.join(u", "_s);
}

int Customer::chooseFromList(const ChoiceRequest& /*request*/) { return 0; }

core::BasicDialog::Result Customer::inputText(const TextInputRequest& /*request*/)
{
    return core::BasicDialog::Result::entered(smsCode);
}

Scene::Scene(bool asksForCode)
    : m_stand({u"--sms-code"_s, smsCode})
    , m_url(m_stand.url())
    , m_observing(RestClient::observe([this](const RestExchange& exchange) { m_exchanges.append(exchange); }))
    , m_till(std::make_unique<till::Till>(till::Parts{.pluginFile = QStringLiteral(PLUGIN_FILE),
                                                      .standProgram = {},
                                                      .dataDirectory = m_directory.path()},
                                          settings(asksForCode), m_customer))
{}

Config Scene::settings(bool asksForCode) const
{
    Config config = till::loadSettings({});
    till::setServerUrl(config, QString::fromLatin1(m_url) + u'/');
    till::setCredentials(config, u"shop"_s, u"secret-of-the-shop"_s);
    config.set(u"KYRLoyalty:timeout"_s, timeLimitMs / 1000);
    config.set(u"KYRLoyalty:smsVerification"_s, asksForCode);
    return config;
}

void Scene::expectDone(const till::Result& result) { EXPECT_TRUE(result.ok) << result.error.toStdString(); }

void Scene::sell()
{
    expectDone(
        checkout().openSale(u"R"_s, {{.articul = u"1"_s, .name = u"Чай"_s, .price = 150, .quantity = 2},
                                     {.articul = u"2"_s, .name = u"Мёд"_s, .price = 100, .quantity = 1}}));
}

void Scene::sellOnCard()
{
    sell();
    expectDone(identify(card));
}

Tried Scene::identify(const QString& number) const
{
    Tried tried{checkout().identifyByCard(number)};
    if (checkout().card())
        tried.told = amount(checkout().card()->getBonusBalance().toDouble());
    return tried;
}

Tried Scene::identifyByPhone(const QString& phone) const
{
    Tried tried{checkout().identifyByPhone(phone)};
    if (checkout().card())
        tried.told = amount(checkout().card()->getBonusBalance().toDouble());
    return tried;
}

Tried Scene::requestLimit() const
{
    Tried tried{checkout().requestLimit()};
    tried.told = amount(m_till->loyalty().currentPointsForSpend());
    return tried;
}

Tried Scene::tryToPay() const
{
    const till::Payment payment = checkout().pay();
    Tried tried{payment};
    if (payment.earning == till::Payment::Earning::Queued)
        tried.told = u"later"_s;
    else if (payment.earned)
        tried.told = amount(*payment.earned);
    return tried;
}

void Scene::takeBack(const QList<till::ReturnLine>& lines)
{
    m_clock.move(std::chrono::minutes(1)); // the service tells receipts apart by the second
    expectDone(checkout().openReturn(u"V"_s, u"R"_s, lines));
}

void Scene::deliverAll() const
{
    const auto messages = queue().messages(std::numeric_limits<int>::max());
    for (const QueuedMessage& message : messages) {
        if (message.state == QueuedMessage::State::Parked) {
            EXPECT_TRUE(queue().retry(message.id));
        }
    }
    expectDone(deliver());
}

void Scene::arm(const QString& fault) const
{
    const auto faults = QJsonArray{fault};
    const auto reply = standtest::send(
        {.url = m_url + "/stand/faults", .method = "POST", .body = QJsonDocument(faults).toJson()});
    ASSERT_EQ(reply.status, 201) << reply.body.constData();
}

int Scene::fired() const { return page("faults")[u"faults"_s][0][u"fired"_s].toInt(); }

void Scene::disarm() const { standtest::send({.url = m_url + "/stand/faults", .method = "DELETE"}); }

int Scene::codeOf(const QString& path) const
{
    std::optional<int> last;
    for (const RestExchange& exchange : m_exchanges) {
        if (exchange.url.path().contains(path))
            last = exchange.errorCode;
    }
    EXPECT_TRUE(last) << "nobody asked for " << path.toStdString();
    return last.value_or(0);
}

QString Scene::noted(const QString& operation) const
{
    QString last;
    const auto entries = storage::Journal().of(u"R"_s);
    for (const storage::JournalEntry& entry : entries) {
        if (entry.operation == operation && entry.event != u"queued"_s)
            last = u"%1 %2"_s.arg(entry.event).arg(entry.code);
    }
    return last;
}

Seen Scene::seen(const Tried& tried) const
{
    return {.ok = tried.ok,
            .text = tried.ok ? tried.told : tried.error,
            .state = checkout().state(),
            .waiting = queue().waitingCount(),
            .parked = queue().parkedCount(),
            .isSuspended = queue().suspension().has_value()};
}

void Scene::waitForWhatComesLate() const
{
    const QDeadlineTimer patience(patienceMs);
    while (!patience.hasExpired()) {
        const QJsonArray exchanges = page("exchanges")[u"exchanges"_s].toArray();
        for (const auto& exchange : exchanges) {
            if (exchange[u"fault"_s] == u"late"_s)
                return;
        }
        QThread::msleep(glanceMs);
    }
    ADD_FAILURE() << "it never came";
}

QString Scene::books() const
{
    const QJsonObject ledger = page("ledger");
    QStringList lines = operationsIn(ledger);
    lines.append(u"balance "_s + amount(balanceIn(ledger)));
    if (const auto sale = till::hostObject<DocumentsDao>().loadDocument(u"R"_s, false)) {
        QStringList discounts;
        const auto items = sale->getGoodsItems();
        for (const auto& item : items)
            discounts.append(amount(item->getBonusImpactSum()));
        lines.append(u"R paid, less "_s + discounts.join(u" and "_s));
    }
    return lines.join(u", "_s);
}

QStringList Scene::differences()
{
    m_till.reset();
    return crashtest::differences(m_directory.path(), QString::fromLatin1(m_url) + u'/') +
           page("invariants")[u"violations"_s].toVariant().toStringList();
}

QJsonObject Scene::page(const QByteArray& name) const
{
    const QDeadlineTimer patience(patienceMs);
    auto reply = standtest::send({.url = m_url + "/stand/" + name});
    while (reply.status == 0 && !patience.hasExpired()) { // a closed port is one of the faults
        QThread::msleep(glanceMs);
        reply = standtest::send({.url = m_url + "/stand/" + name});
    }
    return reply.json().toObject();
}

} // namespace faulttest
