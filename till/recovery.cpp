#include "host/core/session.h"
#include "host/core/storage.h"
#include "till/hostobjects.h"
#include "till/till.h"

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
        const RequestGuard::Hurry hurry(*m_guard); // a cashier waits for the start
        return name + (abandon() ? u" отменялся: отмена завершена"_s
                                 : u" отменялся: завершите отмену (шаг rollback)"_s);
    }
    if (!unknownSpending())
        applyImpacts();
    else if (!loyalty().getBonusImpacts().isEmpty())
        finishSpending(); // the answer had come
    return foundOpen();
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
