#pragma once

#include "host/utils/tr.h"

/// What the client tells the cashier: translation identifiers and Russian texts.
namespace texts {

using namespace Qt::StringLiterals;

inline tr::Tr requestFailed() { return {u"loyaltyErrorRequest"_s, u"Ошибка обращения к серверу"_s}; }
inline tr::Tr incorrectAnswer() { return {u"requestIncorrectAnswer"_s, u"Некорректный ответ от сервера"_s}; }
inline tr::Tr cardStatusNotFound()
{
    return {u"kyrCardStatusNotFound"_s, u"Не удалось получить статус карты"_s};
}
inline tr::Tr cardBlocked() { return {u"cardExceptionBlocked"_s, u"Карта заблокирована"_s}; }
inline tr::Tr balanceNotFound()
{
    return {u"loyaltyBalanceNotFound"_s, u"В ответе от сервера не найден баланс карты"_s};
}
inline tr::Tr returnNotPossible() { return {u"kyrBackNotPossible"_s, u"Возврат не возможен"_s}; }
inline tr::Tr saleNotLoaded()
{
    return {u"kyrDocumentSaleNotLoaded"_s, u"Не удалось загрузить документ продажи"_s};
}
/// Mistakes of the till's, told instead of crashing it.
inline tr::Tr documentMissing() { return {u"kyrDocumentMissing"_s, u"Нет открытого документа"_s}; }
inline tr::Tr cardRecordMissing()
{
    return {u"kyrCardRecordMissing"_s, u"В документе нет карты системы лояльности KYRLoyalty"_s};
}

} // namespace texts
