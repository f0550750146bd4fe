#include "till/window/status.h"

#include "host/network/exchangeoutcome.h"
#include "host/storage/journal.h"
#include "host/utils/basicexception.h"
#include "till/audit/queuewarnings.h"
#include "till/setup/hostobjects.h"

#include <QHash>

using namespace Qt::StringLiterals;

namespace till::window {

namespace {

constexpr int shownMessages = 50;

QString balanceText(const CheckoutModel& model)
{
    if (!model.checkout().card())
        return u"Покупатель не указан"_s;
    if (!model.balanceTime().isValid())
        return model.checkout().hasSpentPoints() ? u"Баланс — до списания"_s
                                                 : u"Баланс прежний, не проверен"_s;
    return u"Баланс на "_s + model.balanceTime().toString(u"HH:mm"_s);
}

/// Without a customer nothing is earned or spent, now or later.
QString lineText(const ServiceWatch& watch, bool hasCustomer)
{
    if (!hasCustomer && watch.line() != ServiceWatch::Line::Unknown)
        return watch.line() == ServiceWatch::Line::Up ? u"связь со службой есть"_s
                                                      : u"связи со службой нет: карту не найти"_s;
    switch (watch.line()) {
    case ServiceWatch::Line::Unknown:
        return u"связь со службой ещё не проверена"_s;
    case ServiceWatch::Line::Up:
        return u"начисление сразу, списание доступно"_s;
    case ServiceWatch::Line::Down:
        break;
    }
    return u"начисление уйдёт позже, списание недоступно"_s;
}

QString operationText(const QString& operation)
{
    static const QHash<QString, QString> names{
        {u"card-info"_s, u"карта"_s},
        {u"user-info"_s, u"покупатель"_s},
        {u"pre-payment"_s, u"предел списания"_s},
        {u"payment-b2c"_s, u"начисление"_s},
        {u"payment-c2b"_s, u"списание с кодом"_s},
        {u"confirm-payment-c2b"_s, u"код списания"_s},
        {u"force-payment-c2b"_s, u"списание"_s},
        {u"refuse-payment"_s, u"возврат"_s},
        {u"cancel-payment"_s, u"отмена списания"_s},
        {u"receipt"_s, u"чек без карты"_s},
    };
    return names.value(operation, u"запрос"_s);
}

QString eventText(const QString& event)
{
    static const QHash<QString, QString> names{
        {u"opened"_s, u"чек открыт"_s},
        {u"request"_s, u"запрос ушёл, ответа нет"_s},
        {u"queued"_s, u"в очередь"_s},
        {u"attempt"_s, u"не отправлено"_s},
        {u"delivered"_s, u"отправлено"_s},
        {u"parked"_s, u"отклонено службой"_s},
        {u"retried"_s, u"снова в очереди"_s},
        {u"dropped"_s, u"снято с очереди"_s},
        {u"closed"_s, u"чек закрыт"_s},
        {u"abandoned"_s, u"чек отменён"_s},
        {u"recovered"_s, u"найден после перезапуска"_s},
        {u"unknown"_s, u"исход неизвестен"_s},
    };
    return names.value(event, event);
}

/// What became of a request.
QString answerText(int code, qint64 milliseconds)
{
    using enum network::ExchangeOutcome;
    switch (network::outcomeOf(code)) {
    case Accepted:
        return u"ответ за %1 мс"_s.arg(milliseconds);
    case Rejected:
    case Unauthorized:
    case Forbidden:
    case Denied:
    case Unfinished:
    case Throttled:
        return u"отказ службы, код %1"_s.arg(code);
    case Failing:
        return u"сбой службы, код %1"_s.arg(code);
    case Unsendable:
    case NeverSent:
    case NoAnswer:
    case NotTheService:
        break;
    }
    return u"нет ответа"_s;
}

} // namespace

Status statusOf(CheckoutModel& model)
{
    using enum Status::State;
    Status status;
    try {
        if (model.state() == State::SpendingUnknown)
            return {Bad, u"Исход списания неизвестен: повторите списание или отмените чек"_s};
        const auto warnings = queueWarnings(model.till().queue(), hostObject<Config>());
        if (!warnings.isEmpty())
            return {Bad, warnings.first().russian};
        status.text =
            balanceText(model) + u", "_s + lineText(model.watch(), !model.checkout().card().isNull());
        status.state = model.watch().line() == ServiceWatch::Line::Down ? Warning : Well;
        const int waiting = model.till().queue().waitingCount();
        if (waiting > 0)
            status.text += u", ждут отправки: %1"_s.arg(waiting);
    } catch (const BasicException& failure) {
        status = {Bad, failure.tr().ru()};
    }
    return status;
}

QStringList timelineOf(const QString& receipt)
{
    QStringList lines;
    try {
        const auto entries = storage::Journal().of(receipt);
        for (qsizetype i = 0; i < entries.size(); ++i) {
            const auto& entry = entries[i];
            const bool isAnswered =
                entry.event == u"request"_s && i + 1 < entries.size() && entries[i + 1].event == u"answer"_s;
            if (isAnswered)
                continue; // the answer tells of both
            QString event = entry.event == u"answer"_s ? answerText(entry.code, entry.milliseconds)
                                                       : eventText(entry.event);
            if (entry.event == u"parked"_s && !network::isErrorStatus(entry.code))
                event = u"отправить нельзя"_s; // the service has not seen it
            QString line = entry.time.toLocalTime().toString(u"HH:mm:ss  "_s);
            line += entry.operation.isEmpty() ? event : operationText(entry.operation) + u": "_s + event;
            lines.append(line);
        }
    } catch (const BasicException& failure) {
        lines.append(failure.tr().ru());
    }
    return lines;
}

QStringList queueLines(const MessageQueue& queue)
{
    QStringList lines;
    for (const QueuedMessage& message : queue.messages(shownMessages)) {
        const QString operation = message.message.value(u"url"_s).toString().section(u'/', -1);
        QString line = message.enqueued.toLocalTime().toString(u"HH:mm  "_s) + operationText(operation);
        if (!message.group.isEmpty())
            line += u", чек "_s + message.group;
        if (message.damaged)
            line += u"\nповреждено"_s;
        else if (message.state == QueuedMessage::State::Parked)
            line += u"\nотклонено службой"_s;
        else if (message.attempts > 0)
            line += u"\nпопыток: %1"_s.arg(message.attempts);
        lines.append(line);
    }
    return lines;
}

} // namespace till::window
