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
        return tr::shown(u"windowNoCustomer"_s, u"Покупатель не указан"_s);
    if (!model.balanceTime().isValid())
        return model.checkout().hasSpentPoints()
                   ? tr::shown(u"windowBalanceBefore"_s, u"Баланс — до списания"_s)
                   : tr::shown(u"windowBalanceOld"_s, u"Баланс прежний, не проверен"_s);
    return tr::shown(u"windowBalanceAt"_s, u"Баланс на "_s) + model.balanceTime().toString(u"HH:mm"_s);
}

/// Without a customer nothing is earned or spent, now or later.
QString lineText(const ServiceWatch& watch, bool hasCustomer)
{
    if (!hasCustomer && watch.line() != ServiceWatch::Line::Unknown)
        return watch.line() == ServiceWatch::Line::Up
                   ? tr::shown(u"windowHasLine"_s, u"связь со службой есть"_s)
                   : tr::shown(u"windowNoLine"_s, u"связи со службой нет: карту не найти"_s);
    switch (watch.line()) {
    case ServiceWatch::Line::Unknown:
        return tr::shown(u"windowLineUnknown"_s, u"связь со службой ещё не проверена"_s);
    case ServiceWatch::Line::Up:
        return tr::shown(u"windowLineUp"_s, u"начисление сразу, списание доступно"_s);
    case ServiceWatch::Line::Down:
        break;
    }
    return tr::shown(u"windowLineDown"_s, u"начисление уйдёт позже, списание недоступно"_s);
}

QString operationText(const QString& operation)
{
    static const QHash<QString, tr::Tr> names{
        {u"card-info"_s, {u"windowOperationCardInfo"_s, u"карта"_s}},
        {u"user-info"_s, {u"windowOperationUserInfo"_s, u"покупатель"_s}},
        {u"pre-payment"_s, {u"windowOperationPrePayment"_s, u"предел списания"_s}},
        {u"payment-b2c"_s, {u"windowOperationEarning"_s, u"начисление"_s}},
        {u"payment-c2b"_s, {u"windowOperationSpendWithCode"_s, u"списание с кодом"_s}},
        {u"confirm-payment-c2b"_s, {u"windowOperationConfirm"_s, u"код списания"_s}},
        {u"force-payment-c2b"_s, {u"windowOperationSpend"_s, u"списание"_s}},
        {u"refuse-payment"_s, {u"windowOperationRefuse"_s, u"возврат"_s}},
        {u"cancel-payment"_s, {u"windowOperationCancel"_s, u"отмена списания"_s}},
        {u"receipt"_s, {u"windowOperationReceipt"_s, u"чек без карты"_s}},
    };
    return names.value(operation, {u"windowOperationOther"_s, u"запрос"_s}).shown();
}

QString eventText(const QString& event)
{
    static const QHash<QString, tr::Tr> names{
        {u"opened"_s, {u"windowEventOpened"_s, u"чек открыт"_s}},
        {u"request"_s, {u"windowEventRequest"_s, u"запрос ушёл, ответа нет"_s}},
        {u"queued"_s, {u"windowEventQueued"_s, u"в очередь"_s}},
        {u"attempt"_s, {u"windowEventAttempt"_s, u"не отправлено"_s}},
        {u"delivered"_s, {u"windowEventDelivered"_s, u"отправлено"_s}},
        {u"parked"_s, {u"windowEventParked"_s, u"отклонено службой"_s}},
        {u"retried"_s, {u"windowEventRetried"_s, u"снова в очереди"_s}},
        {u"readdressed"_s, {u"windowEventReaddressed"_s, u"другой адрес службы"_s}},
        {u"dropped"_s, {u"windowEventDropped"_s, u"снято с очереди"_s}},
        {u"closed"_s, {u"windowEventClosed"_s, u"чек закрыт"_s}},
        {u"abandoned"_s, {u"windowEventAbandoned"_s, u"чек отменён"_s}},
        {u"recovered"_s, {u"windowEventRecovered"_s, u"найден после перезапуска"_s}},
        {u"unknown"_s, {u"windowEventUnknown"_s, u"исход неизвестен"_s}},
    };
    return names.value(event, tr::Tr({}, event)).shown();
}

/// What became of a request.
QString answerText(int code, qint64 milliseconds)
{
    using enum network::ExchangeOutcome;
    switch (network::outcomeOf(code)) {
    case Accepted:
        return tr::shown(u"windowAnswered"_s, u"ответ за %1 мс"_s).arg(milliseconds);
    case Rejected:
    case Unauthorized:
    case Forbidden:
    case Denied:
    case Unfinished:
    case Throttled:
        return tr::shown(u"windowRejected"_s, u"отказ службы, код %1"_s).arg(code);
    case Failing:
        return tr::shown(u"windowFailing"_s, u"сбой службы, код %1"_s).arg(code);
    case Unsendable:
    case NeverSent:
    case NoAnswer:
    case NotTheService:
        break;
    }
    return tr::shown(u"windowNoAnswer"_s, u"нет ответа"_s);
}

} // namespace

Status statusOf(CheckoutModel& model)
{
    using enum Status::State;
    Status status;
    try {
        if (model.state() == State::SpendingUnknown)
            return {Bad, tr::shown(u"windowSpendingUnknown"_s,
                                   u"Исход списания неизвестен: повторите списание или отмените чек"_s)};
        const auto warnings = tillWarnings(model.till().queue(), hostObject<Config>());
        if (!warnings.isEmpty())
            return {Bad, warnings.first().text.shown()};
        status.text =
            balanceText(model) + u", "_s + lineText(model.watch(), !model.checkout().card().isNull());
        status.state = model.watch().line() == ServiceWatch::Line::Down ? Warning : Well;
        const int waiting = model.till().queue().waitingCount();
        if (waiting > 0)
            status.text += tr::shown(u"windowWaitingMessages"_s, u", ждут отправки: %1"_s).arg(waiting);
    } catch (const BasicException& failure) {
        status = {Bad, failure.tr().shown()};
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
                event =
                    tr::shown(u"windowUnsendable"_s, u"отправить нельзя"_s); // the service has not seen it
            QString line = entry.time.toLocalTime().toString(u"HH:mm:ss  "_s);
            line += entry.operation.isEmpty() ? event : operationText(entry.operation) + u": "_s + event;
            lines.append(line);
        }
    } catch (const BasicException& failure) {
        lines.append(failure.tr().shown());
    }
    return lines;
}

QStringList queueLines(const MessageQueue& queue)
{
    QStringList lines;
    for (const QueuedMessage& message : queue.messages(shownMessages)) {
        QString line =
            message.enqueued.toLocalTime().toString(u"HH:mm  "_s) + operationText(message.operation());
        if (!message.group.isEmpty())
            line += tr::shown(u"windowOfReceipt"_s, u", чек "_s) + message.group;
        if (message.damaged)
            line += tr::shown(u"windowRowDamaged"_s, u"\nповреждено"_s);
        else if (message.state == QueuedMessage::State::Parked)
            line += tr::shown(u"windowRowParked"_s, u"\nотклонено службой"_s);
        else if (message.attempts > 0)
            line += tr::shown(u"windowRowAttempts"_s, u"\nпопыток: %1"_s).arg(message.attempts);
        lines.append(line);
    }
    return lines;
}

} // namespace till::window
