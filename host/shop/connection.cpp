#include "host/shop/connection.h"

#include "host/utils/logging.h"

#include <QByteArray>
#include <QStringList>

#include <libpq-fe.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace shop {

namespace {

using Clock = std::chrono::steady_clock;

// Numbers of PostgreSQL's own types, the same in each database.
constexpr Oid booleanType = 16;
constexpr Oid bytesType = 17;
constexpr std::array<Oid, 3> wholeTypes{20, 21, 23};

tr::Tr textOf(Fault fault, const QString& words)
{
    switch (fault) {
    case Fault::Away:
        return tr::Tr(u"hostShopAway"_s, u"База магазина недоступна: %1"_s).arg(words);
    case Fault::Refused:
        return tr::Tr(u"hostShopRefused"_s, u"База магазина отказала: %1"_s).arg(words);
    case Fault::Conflict:
        return tr::Tr(u"hostShopConflict"_s,
                      u"Другая касса только что изменила то же самое, попробуйте ещё раз: %1"_s)
            .arg(words);
    }
    return {};
}

/// libpq's words as one line.
QString wordsOf(const char* message) { return QString::fromUtf8(message).simplified(); }

Fault faultOf(const QString& state)
{
    if (state.startsWith(u"40"_s) || state == u"55P03")
        return Fault::Conflict; // a deadlock, or a lock that somebody holds for too long
    // The server is going down, was a standby all along, or gave up on the statement.
    const bool isAway = state.startsWith(u"08"_s) || state.startsWith(u"57"_s) || state == u"25006" ||
                        state.startsWith(u"53"_s) || state.isEmpty();
    return isAway ? Fault::Away : Fault::Refused;
}

QVariant valueOf(const PGresult* result, int row, int column)
{
    if (PQgetisnull(result, row, column) != 0)
        return {};
    const char* text = PQgetvalue(result, row, column);
    const Oid type = PQftype(result, column);
    if (type == bytesType) // "\x" and two digits a byte
        return QByteArray::fromHex(QByteArray::fromRawData(text + 2, PQgetlength(result, row, column) - 2));
    if (type == booleanType)
        return *text == 't';
    if (std::find(wholeTypes.begin(), wholeTypes.end(), type) != wholeTypes.end())
        return QByteArray(text).toLongLong();
    return QString::fromUtf8(text);
}

QByteArray written(const QVariant& value)
{
    if (value.typeId() == QMetaType::QByteArray)
        return value.toByteArray();
    if (value.typeId() == QMetaType::Bool)
        return value.toBool() ? "true" : "false";
    return value.toString().toUtf8();
}

bool waitFor(int descriptor, short what, std::chrono::milliseconds longest)
{
    pollfd waited{descriptor, what, 0};
    return poll(&waited, 1, static_cast<int>(std::max<std::chrono::milliseconds::rep>(0, longest.count()))) >
           0;
}

} // namespace

DatabaseError::DatabaseError(Fault fault, const QString& words, const QString& state)
    : BasicException(textOf(fault, words))
    , m_fault(fault)
    , m_state(state)
{}

struct Connection::Link
{
    explicit Link(PGconn* made)
        : connection(made)
    {}
    ~Link() { PQfinish(connection); }
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    PGconn* connection;
};

Connection::Connection(QString address, Patience patience)
    : m_address(std::move(address))
    , m_patience(patience)
{}

Connection::~Connection() = default;

QString Connection::where() const
{
    QStringList parts;
    const std::unique_ptr<PQconninfoOption, decltype(&PQconninfoFree)> options(
        PQconninfoParse(m_address.toUtf8().constData(), nullptr), &PQconninfoFree);
    for (const PQconninfoOption* option = options.get(); option && option->keyword; ++option) {
        const QLatin1StringView name(option->keyword);
        if (option->val && (name == "host"_L1 || name == "port"_L1 || name == "dbname"_L1))
            parts.append(QString::fromUtf8(option->val));
    }
    return parts.join(u' ');
}

void Connection::connect()
{
    if (m_link)
        return;
    if (Clock::now() < m_awayUntil)
        throw DatabaseError(Fault::Away, m_whyAway);
    const QByteArray address = m_address.toUtf8();
    // What comes later goes over what came before: the address may say otherwise.
    const std::array<const char*, 10> keys{"connect_timeout",
                                           "tcp_user_timeout",
                                           "keepalives_idle",
                                           "keepalives_interval",
                                           "keepalives_count",
                                           "client_encoding",
                                           "target_session_attrs",
                                           "application_name",
                                           "dbname",
                                           nullptr};
    const std::array<const char*, 10> values{
        "2", "5000", "5", "2", "2", "UTF8", "read-write", "kyr-loyalty", address.constData(), nullptr};
    auto made = std::make_unique<Link>(PQconnectdbParams(keys.data(), values.data(), 1));
    PGconn* connection = made->connection;
    if (PQstatus(connection) != CONNECTION_OK)
        lose(wordsOf(PQerrorMessage(connection)));
    PQsetNoticeProcessor(
        connection,
        [](void* /*nobody*/, const char* words) {
            utils::logger(u"shop"_s)->debug(u"Database: "_s + wordsOf(words));
        },
        nullptr);
    m_link = std::move(made);
    m_listensTo.clear();
    // Who waits for somebody else's lock is to hear of it, not that the statement took too long.
    const auto longest = m_patience.statement.count();
    runAll(u"SET search_path = kyr; SET statement_timeout = %1; SET lock_timeout = %2; "
           "SET idle_in_transaction_session_timeout = '10min'"_s.arg(longest)
               .arg(longest * 3 / 4));
}

void Connection::lose(const QString& words)
{
    m_link.reset();
    m_whyAway = words.isEmpty() ? u"no answer"_s : words;
    m_awayUntil = Clock::now() + m_patience.pause;
    throw DatabaseError(Fault::Away, m_whyAway);
}

Connection::Result Connection::run(const QString& sql, const QVariantList& values)
{
    if (m_inTransaction && !m_link)
        throw DatabaseError(Fault::Away, m_whyAway);
    connect();
    std::vector<QByteArray> bytes;
    std::vector<const char*> pointers;
    std::vector<int> lengths;
    std::vector<int> formats;
    for (const QVariant& value : values) {
        bytes.push_back(written(value));
        lengths.push_back(static_cast<int>(bytes.back().size()));
        formats.push_back(value.typeId() == QMetaType::QByteArray ? 1 : 0);
    }
    for (qsizetype i = 0; i < values.size(); ++i)
        pointers.push_back(!values[i].isNull() ? bytes[i].constData() : nullptr);
    if (PQsendQueryParams(m_link->connection, sql.toUtf8().constData(), static_cast<int>(values.size()),
                          nullptr, pointers.data(), lengths.data(), formats.data(), 0) == 0)
        lose(wordsOf(PQerrorMessage(m_link->connection)));
    return take();
}

void Connection::runAll(const QString& sql)
{
    connect();
    if (PQsendQuery(m_link->connection, sql.toUtf8().constData()) == 0)
        lose(wordsOf(PQerrorMessage(m_link->connection)));
    static_cast<void>(take());
}

// The server ends a statement in time by itself; one that stands still, or a network that swallows, does not.
Connection::Result Connection::take()
{
    constexpr std::chrono::milliseconds forItsAnswer(1000);
    const auto deadline = Clock::now() + m_patience.statement + forItsAnswer;
    Result result;
    QString failure;
    QString state;
    for (;;) {
        PGconn* connection = m_link->connection;
        while (PQisBusy(connection) != 0) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
            if (left.count() <= 0 || !waitFor(PQsocket(connection), POLLIN, left))
                lose(u"no answer in time"_s);
            if (PQconsumeInput(connection) == 0)
                lose(wordsOf(PQerrorMessage(connection)));
        }
        const std::unique_ptr<PGresult, decltype(&PQclear)> got(PQgetResult(connection), &PQclear);
        if (!got)
            break;
        const ExecStatusType status = PQresultStatus(got.get());
        if (status != PGRES_TUPLES_OK && status != PGRES_COMMAND_OK) {
            if (failure.isEmpty()) {
                failure = wordsOf(PQresultErrorMessage(got.get()));
                state = QString::fromLatin1(PQresultErrorField(got.get(), PG_DIAG_SQLSTATE));
            }
            continue;
        }
        for (int row = 0; row < PQntuples(got.get()); ++row) {
            QVariantList values;
            for (int column = 0; column < PQnfields(got.get()); ++column)
                values.append(valueOf(got.get(), row, column));
            result.rows.append(values);
        }
        result.changed += QByteArray(PQcmdTuples(got.get())).toLongLong();
    }
    if (failure.isEmpty())
        return result;
    const Fault fault = faultOf(state);
    if (PQstatus(m_link->connection) != CONNECTION_OK || fault == Fault::Away)
        lose(failure); // whoever can't serve now may be a standby: the next connection looks for another
    throw DatabaseError(fault, failure, state);
}

void Connection::begin()
{
    run(u"BEGIN"_s);
    m_inTransaction = true;
}

// After a failure that somebody caught, the server would answer COMMIT by undoing everything.
void Connection::commit()
{
    if (m_link && PQtransactionStatus(m_link->connection) == PQTRANS_INERROR) {
        rollback();
        throw DatabaseError(Fault::Refused, u"a part of it failed"_s);
    }
    run(u"COMMIT"_s);
    m_inTransaction = false;
}

void Connection::rollback() noexcept
{
    if (!std::exchange(m_inTransaction, false) || !m_link)
        return;
    try {
        run(u"ROLLBACK"_s);
    } catch (const DatabaseError&) {
        m_link.reset(); // which undoes it as well
    }
}

void Connection::write() { run(u"SELECT pg_logical_emit_message(true, 'kyr', '')"_s); }

void Connection::waitForNotice(const QString& channel, std::chrono::milliseconds longest,
                               const std::stop_token& stop)
{
    connect();
    if (m_listensTo != channel) {
        run(u"LISTEN "_s + channel);
        m_listensTo = channel;
        return;
    }
    const int wakeup = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    {
        const std::stop_callback wake(stop, [wakeup] { eventfd_write(wakeup, 1); });
        std::array<pollfd, 2> waited{pollfd{PQsocket(m_link->connection), POLLIN, 0},
                                     pollfd{wakeup, POLLIN, 0}};
        bool noticed = false;
        while (PGnotify* notice = PQnotifies(m_link->connection)) { // came with an answer
            noticed = true;
            PQfreemem(notice);
        }
        if (!noticed)
            poll(waited.data(), waited.size(), static_cast<int>(longest.count()));
    }
    close(wakeup);
    if (PQconsumeInput(m_link->connection) == 0)
        lose(wordsOf(PQerrorMessage(m_link->connection)));
    while (PGnotify* notice = PQnotifies(m_link->connection))
        PQfreemem(notice);
}

QString clientVersion()
{
    const int version = PQlibVersion();
    return u"%1.%2"_s.arg(version / 10000).arg(version % 10000);
}

QString faultOfDatabaseAddress(const QString& address)
{
    if (!address.startsWith(u"postgresql://"_s) && !address.startsWith(u"postgres://"_s))
        return u"expected an address such as \"postgresql://till@db.example.com/shop\""_s;
    char* words = nullptr;
    const std::unique_ptr<PQconninfoOption, decltype(&PQconninfoFree)> options(
        PQconninfoParse(address.toUtf8().constData(), &words), &PQconninfoFree);
    if (!options) { // its words may repeat the password
        PQfreemem(words);
        return u"expected an address such as \"postgresql://till@db.example.com/shop\""_s;
    }
    for (const PQconninfoOption* option = options.get(); option->keyword; ++option) {
        if (QLatin1StringView(option->keyword) == "password"_L1 && option->val)
            return u"holds a password; put it into a file of its own and name that: \"?passfile=/etc/…\""_s;
    }
    return {};
}

} // namespace shop
