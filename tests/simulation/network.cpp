#include "tests/simulation/network.h"

#include "tests/simulation/beside.h"
#include "tests/simulation/fate.h"

#include "stand/http/answers.h"

#include <QJsonDocument>

#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace simulation {

namespace {

Network* present = nullptr;

QByteArray headOf(int status, const QByteArray& type, qsizetype length, const QByteArray& more = {})
{
    return "HTTP/1.1 " + QByteArray::number(status) + " Said\r\nContent-Type: " + type +
           "\r\nContent-Length: " + QByteArray::number(length) + "\r\n" + more + "\r\n";
}

QByteArray wordsOf(const stand::Request& request)
{
    return request.method + ' ' + request.path + ' ' + request.body;
}

/// What the request is about, which stays the same when it is repeated: the service knows by its number what
/// it has done.
QByteArray subjectOf(const stand::Request& request)
{
    const QString number =
        QJsonDocument::fromJson(request.body).object().value(u"receipt_number"_s).toString();
    return request.method + ' ' + request.path + ' ' + (number.isEmpty() ? request.body : number.toUtf8());
}

Heard said(int status, const QByteArray& body, const QByteArray& more = {})
{
    return {CURLE_OK, headOf(status, "application/json", body.size(), more), body};
}

/// As the service refuses for good.
Heard refused(int status) { return said(status, stand::failure(status, u"Операция отклонена"_s).body); }

} // namespace

/// A request of the program that asks, until it has its answer.
class Network::UnderWay
{
public:
    UnderWay(Network& network, const stand::Request& request)
        : m_network(network)
    {
        own() = wordsOf(request);
        if (network.m_underWay[0] == network.m_underWay[1])
            network.m_crossed.append(QString::fromUtf8(request.method + ' ' + request.path));
    }
    ~UnderWay() { own().clear(); }
    UnderWay(const UnderWay&) = delete;
    UnderWay& operator=(const UnderWay&) = delete;

private:
    QByteArray& own() { return m_network.m_underWay[beside::isSecond()]; }

    Network& m_network;
};

Network::Network(Service& service, test_support::StillClock& clock)
    : m_service(service)
    , m_clock(clock)
{
    present = this;
}

Network::~Network() { present = nullptr; }

Network& Network::one() { return *present; }

Heard Network::carry(const stand::Request& request, std::chrono::milliseconds patience)
{
    Fate& fate = Fate::one();
    fate.moment();
    if (fate.isDead())
        return {CURLE_COULDNT_CONNECT, {}, {}};
    const UnderWay underWay(*this, request);
    m_clock.move(40ms);
    ++m_sent[wordsOf(request)];
    if (m_isDown)
        return {CURLE_COULDNT_CONNECT, {}, {}};
    const auto inVain = [&] {
        m_clock.move(patience);
        return Heard{CURLE_OPERATION_TIMEDOUT, {}, {}};
    };
    Heard heard;
    if (const auto trouble = fate.ofRequest()) {
        switch (*trouble) {
        case Trouble::RequestLost:
            return inVain();
        case Trouble::AnswerLost:
            served(request);
            fate.moment();
            return inVain();
        case Trouble::ArrivesLate:
            m_late.append(request);
            return inVain();
        case Trouble::ConnectionCut:
            heard = served(request);
            heard.body.chop(heard.body.size() / 2);
            heard.outcome = CURLE_PARTIAL_FILE;
            break;
        case Trouble::Doubled:
            served(request);
            heard = served(request);
            break;
        case Trouble::Refused:
            return {CURLE_COULDNT_CONNECT, {}, {}};
        case Trouble::BrokenBefore:
            return said(500, {});
        case Trouble::BrokenAfter:
            served(request);
            heard = said(502, "{}");
            break;
        case Trouble::Busy:
            return said(503, {}, "Retry-After: 30\r\n");
        case Trouble::Portal: {
            const QByteArray page = "<html>Welcome</html>";
            return {CURLE_OK, headOf(200, "text/html", page.size()), page};
        }
        case Trouble::Empty:
            served(request);
            heard = said(200, {});
            break;
        case Trouble::Slow:
            m_clock.move(patience * 9 / 10);
            heard = served(request);
            break;
        case Trouble::Rejected:
            letArrive(); // what the service refuses now it would refuse later
            if (m_done.contains(subjectOf(request))) {
                heard = served(request);
                break;
            }
            m_refused.insert(wordsOf(request));
            return refused(422);
        case Trouble::Forbidden:
            m_refused.insert(wordsOf(request));
            return refused(403);
        default:
            break;
        }
    } else {
        heard = served(request);
    }
    letArrive();
    fate.moment(); // the service has acted, and the till does not know it yet
    return fate.isDead() ? Heard{CURLE_GOT_NOTHING, {}, {}} : heard;
}

int Network::sent(const stand::Request& request) const { return m_sent.value(wordsOf(request)); }

bool Network::wasRefusedByChance(const stand::Request& request) const
{
    return m_refused.contains(wordsOf(request));
}

int Network::settle(stand::Request request)
{
    request.headers.insert("authorization", m_service.authorization());
    return m_service.answer(request, serviceTime()).status;
}

void Network::letArrive()
{
    for (const stand::Request& request : std::exchange(m_late, {}))
        served(request);
}

Heard Network::served(const stand::Request& request)
{
    stand::Answer answer; // the service's books are one thread's
    beside::atHome([&] { answer = m_service.answer(request, serviceTime()); });
    if (answer.status < 300)
        m_done.insert(subjectOf(request));
    return said(answer.status, answer.body);
}

} // namespace simulation
