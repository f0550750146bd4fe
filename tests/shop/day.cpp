#include "tests/shop/day.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QThread>

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;
using namespace story;

namespace shopday {

namespace {

constexpr int atATime = 4;
constexpr int deliveries = 3;
constexpr qint64 patience = 60'000;
constexpr qint64 rest = 300;
constexpr int failovers = 2;

void end(QProcess& process)
{
    process.kill();
    process.waitForFinished(static_cast<int>(patience));
}

/// What passes when it is tried again: the database is away, or what is taken back has not moved on yet.
bool passes(const QString& error)
{
    return error.contains(u"База магазина"_s) || error.contains(u"Возврат не возможен"_s) ||
           error.contains(u"Другая касса"_s) || error.contains(u"нет среди закрытых"_s);
}

/// What was to be taken back, another till has taken back.
bool isOutrunBy(const QString& error)
{
    return error.contains(u"уже возвращено"_s) || error.contains(u"уже оформлен другой возврат"_s);
}

/// Whether it is given up cannot be known before the database is asked.
bool mayBeClosed(const QString& error) { return error.contains(u"уже оплачивается"_s); }

} // namespace

Day::Day(tilltest::ShopWorld& world, const QList<Receipt>& plan, Disturbance disturbance)
    : m_world(world)
    , m_plan(plan)
    , m_disturbance(std::move(disturbance))
    , m_isBegun(plan.size(), false)
    , m_isDone(plan.size(), false)
    , m_primary(&world.database)
{
    m_world.setApart(std::chrono::hours(1));
    if (!m_disturbance.isQuiet()) {
        m_other = m_primary->makeStandby();
        m_standby = m_other.get();
        m_world.findDatabaseAt(m_primary->addressWith(*m_standby));
    }
    for (qsizetype i = 0; i < plan.size(); ++i) {
        while (static_cast<int>(m_tills.size()) <= plan[i].till) {
            Till& till = m_tills.emplace_back();
            till.name = QString::number(m_tills.size());
            till.hasService = m_tills.size() % 4 == 0;
            till.since.start();
        }
        m_tills[plan[i].till].receipts.append(static_cast<int>(i));
    }
}

Day::~Day()
{
    for (Till& till : m_tills) {
        for (auto* process : {till.run.get(), till.service.get()}) {
            if (process)
                end(*process);
        }
    }
}

QString Day::sql(const QString& statements) const { return m_primary->sql(statements); }

bool Day::play()
{
    for (int i = 0; i < deliveries; ++i)
        m_deliveries.push_back(&m_world.startDelivery());
    m_sinceKill.start();
    m_sinceProgress.start();
    while (!m_hasFailed && !isOver()) {
        goOn();
        disturb();
    }
    QElapsedTimer waited;
    waited.start();
    QString left;
    while (!m_hasFailed && waited.elapsed() < patience) {
        left = sql(u"SELECT receipt, text, error, parked FROM kyr.queued"_s);
        if (left.isEmpty())
            return true;
        QThread::msleep(20);
    }
    ADD_FAILURE() << "left in the queue: " << left.toStdString();
    return false;
}

void Day::goOn()
{
    for (Till& till : m_tills) {
        if (till.run)
            look(till);
        else if (m_underWay < atATime && till.since.elapsed() >= till.restAfter &&
                 (mayPlay(till) || till.hasLeft))
            begin(till);
    }
    if (m_sinceProgress.elapsed() > patience)
        fail(*std::find_if(m_tills.begin(), m_tills.end(), [](const Till& till) { return till.isBeforeEnd; }),
             u"nothing goes on"_s);
    QCoreApplication::processEvents();
    QThread::msleep(2);
}

bool Day::isOver() const
{
    return std::none_of(m_tills.begin(), m_tills.end(),
                        [](const Till& till) { return till.run || till.isBeforeEnd; });
}

bool Day::mayPlay(const Till& till) const
{
    if (!till.isBeforeEnd)
        return false;
    if (till.next == till.receipts.size())
        return true; // what is left moves on
    const Receipt& receipt = m_plan[till.receipts[till.next]];
    if (till.played > 0) // both are open before either is paid
        return receipt.rival < 0 || m_isBegun[receipt.rival];
    return receipt.after < 0 || m_isDone[receipt.after];
}

QList<Step> Day::stepsOf(const Till& till) const
{
    if (till.onlyMoves)
        return {deliver()};
    const Receipt& receipt = m_plan[till.receipts[till.next]];
    QList<Step> steps = receipt.steps.list().sliced(till.played);
    if (till.isOutrun)
        steps = {rollback().mayFail()};
    else if (receipt.rival >= 0)
        steps = {steps.first()};
    if (till.isInDoubt)
        steps.first() = steps.first().mayFail();
    if (!till.hasService)
        steps += deliver().mayFail();
    return steps;
}

void Day::begin(Till& till)
{
    const bool isLast = till.next == till.receipts.size();
    till.onlyMoves = isLast || !mayPlay(till);
    till.hasLeft = true;
    if (till.service && isLast) {
        end(*till.service);
        till.service.reset();
    }
    till.steps = stepsOf(till);
    till.run = std::make_unique<QProcess>();
    m_world.beginRun(*till.run, till.name,
                     m_world.files.write(u"scenario%1.json"_s.arg(till.name), scenario(till.steps)));
    till.since.start();
    till.restAfter = 0;
    till.killAfter = m_disturbance.happens(4) ? m_disturbance.momentOf(m_longest) : -1;
    ++m_underWay;
    ++m_runs;
    if (till.hasService && !till.service && !isLast)
        startService(till);
}

void Day::startService(Till& till)
{
    till.service = std::make_unique<QProcess>();
    tilltest::start(*till.service, QStringList{u"deliver"_s} + m_world.of(till.name));
}

void Day::look(Till& till)
{
    if (till.run->state() == QProcess::NotRunning) {
        --m_underWay;
        judge(till);
        till.run.reset();
        till.since.start();
    } else if (till.killAfter >= 0 && till.since.elapsed() >= till.killAfter) {
        till.run->kill();
    } else if (till.since.elapsed() > patience) {
        fail(till, u"does not end"_s);
        end(*till.run);
    }
}

void Day::judge(Till& till)
{
    const bool isKilled = till.run->exitStatus() == QProcess::CrashExit;
    if (isKilled)
        ++m_kills.tills;
    else
        m_longest = (3 * m_longest + till.since.elapsed()) / 4;
    const qsizetype before = till.played;
    const int done = m_done;
    for (const QByteArray& line : till.run->readAllStandardOutput().split('\n')) {
        const QJsonObject step = QJsonDocument::fromJson(line).object();
        if (!step.contains(u"step"))
            continue;
        const bool isOk = step[u"ok"].toBool();
        if (step[u"do"] == u"deliver"_s) {
            till.hasLeft = !isOk;
            till.restAfter = isOk || !till.onlyMoves ? 0 : rest;
            continue;
        }
        if (!judgeStep(till, step))
            break;
    }
    const bool goesOn = till.played > before || m_done > done;
    if (goesOn || !till.hasLeft)
        m_sinceProgress.start();
    if (till.onlyMoves) {
        if (till.next == till.receipts.size())
            till.isBeforeEnd = till.hasLeft;
    } else if (isKilled && m_done == done) {
        till.isInDoubt = true;
    } else if (!isKilled && !goesOn && till.restAfter == 0 && !m_hasFailed) {
        fail(till, u"ended early: "_s + QString::fromUtf8(till.run->readAllStandardError()));
    }
}

bool Day::judgeStep(Till& till, const QJsonObject& step)
{
    const int index = till.receipts[till.next];
    const bool isOk = step[u"ok"].toBool();
    const QString error = step[u"error"].toString();
    if (!isOk && (passes(error) || (till.isOutrun && mayBeClosed(error)))) {
        till.isInDoubt = !till.isOutrun;
        till.restAfter = rest;
        return false;
    }
    if (till.isOutrun) { // and has given it up
        ++m_outrun;
        finishReceipt(till);
        return false;
    }
    if (!isOk && m_plan[index].rival >= 0 && isOutrunBy(error)) {
        till.isOutrun = true;
        till.isInDoubt = false;
        till.restAfter = 1;
        return false;
    }
    if (!isOk && !till.isInDoubt) {
        fail(till, QString::fromUtf8(QJsonDocument(step).toJson(QJsonDocument::Compact)));
        return false;
    }
    till.isInDoubt = false;
    m_isBegun[index] = true;
    if (++till.played == m_plan[index].steps.list().size())
        finishReceipt(till);
    return true;
}

void Day::finishReceipt(Till& till)
{
    till.played = 0;
    till.isInDoubt = false;
    till.isOutrun = false;
    const int index = till.receipts[till.next++];
    m_isBegun[index] = true;
    m_isDone[index] = true;
    ++m_done;
}

void Day::disturb()
{
    if (m_disturbance.isQuiet())
        return;
    if (m_kills.databases < failovers && m_done >= m_plan.size() * (m_kills.databases + 1) / (failovers + 1))
        loseDatabase();
    if (m_sinceKill.elapsed() < m_longest)
        return;
    m_sinceKill.start();
    if (m_disturbance.happens(3)) {
        auto& dying = m_deliveries[static_cast<size_t>(m_disturbance.momentOf(deliveries))];
        end(*dying);
        dying = &m_world.startDelivery();
        ++m_kills.deliveries;
    }
    for (Till& till : m_tills) {
        if (till.service && m_disturbance.happens(6)) {
            end(*till.service);
            startService(till);
            ++m_kills.services;
        }
    }
}

/// It is away for a while, which the tills go on in. Then its standby takes its place, and later has one.
void Day::loseDatabase()
{
    m_primary->kill();
    ++m_kills.databases;
    QElapsedTimer away;
    away.start();
    const qint64 longest = 1 + m_disturbance.momentOf(2000);
    while (away.elapsed() < longest) {
        goOn();
    }
    m_standby->promote();
    std::swap(m_primary, m_standby);
    if (m_kills.databases < failovers)
        m_standby->comeBackAsStandbyOf(*m_primary);
}

void Day::fail(const Till& till, const QString& why)
{
    m_hasFailed = true;
    const QString receipt =
        till.next < till.receipts.size() ? m_plan[till.receipts[till.next]].identifier : u"the end"_s;
    ADD_FAILURE() << "till " << till.name.toStdString() << ", " << receipt.toStdString() << ": "
                  << why.toStdString();
}

} // namespace shopday
