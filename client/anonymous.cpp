#include "client/kyrloyaltyinterface.h"
#include "plugin/kyrloyaltyexception.h"

using namespace Qt::StringLiterals;

void KyrLoyaltyInterface::anonymousReceipt() const
{
    throw KyrLoyaltyException(
        tr::Tr(u"kyrAnonymousNotSupported"_s, u"Чек без карты не передан: эта версия их не передаёт"_s));
}
