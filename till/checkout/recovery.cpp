#include "host/core/session.h"
#include "host/storage/documents.h"
#include "host/utils/currenttime.h"
#include "till/checkout/till.h"
#include "till/setup/hostobjects.h"
#include "till/setup/settings.h"

using namespace Qt::StringLiterals;

namespace till {

// Each way out of a receipt ends with the removal of its file, so whatever was interrupted is found here.
QString Till::recover()
{
    const auto receipt = SaveToFileLogic::loadOpenReceipt();
    if (!receipt)
        return {};
    const QString name = u"Чек "_s + receipt->getIdentifier();
    if (hostObject<DocumentsDao>().loadDocument(receipt->getIdentifier(), false)) {
        m_closed.append(receipt->getIdentifier());
        m_journal.note(receipt->getIdentifier(), u"recovered"_s);
        SaveToFileLogic::removeOpenReceipt();
        return name + u" был оплачен: закрытие завершено"_s;
    }
    m_receipt = receipt;
    m_journal.note(receipt->getIdentifier(), u"recovered"_s);
    hostObject<Session>().setDocument(receipt);
    loyalty().setDocument(receipt);
    loyalty().restoreLoyaltySystem();
    if (stage() == Stage::Abandoned) {
        // A cashier waits for the start; what fails for it goes through the queue.
        const auto hurry = RestClient::guard({.departing = {}, .answered = {}, .secondsAtMost = 1});
        return name + (abandon() ? u" отменялся: отмена завершена"_s
                                 : u" отменялся: завершите отмену (шаг rollback)"_s);
    }
    if (loyalty().getBonusImpacts().size() > appliedImpacts())
        finishAnswered();
    return foundOpen();
}

// The answer had come, and was not yet a discount. Only a receipt of somebody who does not mark spendings
// lacks the mark; what was asked for can then be told from the discount alone.
void Till::finishAnswered()
{
    if (!unknownSpending()) {
        const double points = loyalty().currentPointsForSpend() / worthOf(hostObject<Config>(), 1);
        const QDateTime now = MockFactory<CurrentTime>::create()->currentDateTime();
        setUnknownSpending(*m_receipt, UnknownSpending{.points = points, .wanted = points, .since = now});
    }
    finishSpending(unknownSpending()->points);
}

QString Till::foundOpen() const
{
    QString found = u"Найден открытый чек "_s + m_receipt->getIdentifier();
    if (const auto spending = unknownSpending())
        return found + u": "_s + unknownSpendingText(*spending);
    if (stage() != Stage::Open)
        return found + u": он уже оплачивается, завершите оплату (шаг pay)"_s;
    return found;
}

} // namespace till
