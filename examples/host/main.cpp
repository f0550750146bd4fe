// A host as short as it gets: a receipt for a customer of a loyalty system.
//   example-host PLUGIN CONFIG DATA begin CARD POINTS   opens a receipt, identifies the customer and spends
//   points example-host PLUGIN CONFIG DATA pay                 finds the open receipt again, earns points and
//   closes it
// The second is a process of its own, so whatever it knows of the first has outlived it.
#include "host/core/activitynotifier.h"
#include "host/core/basicloyaltysystem.h"
#include "host/core/document.h"
#include "host/core/session.h"
#include "host/core/terminalfrontend.h"
#include "host/queue/deliveryworker.h"
#include "host/storage/datadirectory.h"
#include "host/storage/documents.h"
#include "host/storage/transaction.h"
#include "host/utils/config.h"

#include <QCoreApplication>
#include <QPluginLoader>
#include <QUuid>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// The host's one object of that class, made by whoever needs it first.
template <class T>
T& the()
{
    if (!Singleton<T>::instance)
        Singleton<T>::instance = new T;
    return *Singleton<T>::instance;
}

void require(bool done, const QString& why)
{
    if (!done)
        throw std::runtime_error(why.toStdString());
}

void require(bool done, const BasicLoyaltySystem& loyalty)
{
    if (!done)
        require(false, loyalty.getLastErrorString().ru());
}

void workOn(BasicLoyaltySystem& loyalty, const QSharedPointer<Document>& receipt)
{
    the<Session>().setDocument(receipt);
    loyalty.setDocument(receipt);
}

/// Spent points are a discount, and it is the host that puts it on the positions. Done anew from all impacts,
/// so that it does not matter where an earlier process was interrupted.
void applyImpacts(const BasicLoyaltySystem& loyalty, const QSharedPointer<Document>& receipt)
{
    for (const auto& item : receipt->getGoodsItems())
        item->setBonusImpactSum(0);
    for (const auto& impact : loyalty.getBonusImpacts()) {
        if (!impact)
            continue; // an empty place in the list is allowed
        for (const auto& [position, sum] : impact->getPositionSums()) {
            const auto item = receipt->getGoodsItemByPosnum(position);
            require(!item.isNull(), u"The discount is for a position that is not on the receipt"_s);
            item->setBonusImpactSum(item->getBonusImpactSum() + sum);
        }
    }
    SaveToFileLogic().save(receipt, {});
}

void begin(BasicLoyaltySystem& loyalty, const QString& number, double points, QTextStream& out)
{
    require(!SaveToFileLogic::loadOpenReceipt(), u"A receipt is open already: pay it first"_s);
    const auto receipt =
        QSharedPointer<Document>::create(SaleReceipt, QUuid::createUuid().toString(QUuid::Id128));
    receipt->addGoodsItem(QSharedPointer<GoodsItem>::create(1, u"4601"_s, u"Молоко 3,2 %"_s, 89.90, 2));
    receipt->addGoodsItem(QSharedPointer<GoodsItem>::create(2, u"4602"_s, u"Хлеб"_s, 45.50, 1));
    workOn(loyalty, receipt);

    auto card = QSharedPointer<DocumentCardRecord>::create(loyalty.getType(), number);
    require(loyalty.identifyByCard(card, ECardNumberType::Typed), loyalty);
    receipt->setCardRecord(card);
    receipt->setFlag(LoyaltyCardPresented);
    out << "balance " << card->getBonusBalance().toDouble() << ", to pay " << receipt->getSum() << Qt::endl;

    require(loyalty.request(receipt), loyalty);
    loyalty.setPointsForSpend(std::min(points, loyalty.currentPointsForSpend()));
    out << "spending " << loyalty.getPointsForSpend(receipt) << Qt::endl;
    require(loyalty.spendPoints(), loyalty);
    applyImpacts(loyalty, receipt);
    out << "to pay " << receipt->getSum() << Qt::endl;
}

void pay(BasicLoyaltySystem& loyalty, QTextStream& out)
{
    const auto receipt = SaveToFileLogic::loadOpenReceipt();
    require(!receipt.isNull(), u"No receipt is open"_s);
    workOn(loyalty, receipt);
    loyalty.restoreLoyaltySystem();
    applyImpacts(loyalty, receipt);
    out << "to pay " << receipt->getSum() << Qt::endl;

    // False is no failure: it earns nothing, or the queue tells the service later.
    if (loyalty.hasPointsForEarn())
        out << "earned " << loyalty.getPointsForEarn() << Qt::endl;
    SaveToFileLogic().save(receipt, {}); // with the numbers that the service knows the earning by

    storage::Transaction closing; // the receipt is closed in every respect, or not at all
    require(loyalty.commit(receipt), loyalty);
    the<DocumentsDao>().store(receipt);
    the<ActivityNotifier>().notify(Event(EActivityListener::ReceiptClosed));
    SaveToFileLogic::removeOpenReceipt();
    closing.commit();
    out << "closed" << Qt::endl;
}

} // namespace

int main(int argc, char** argv)
try {
    const QCoreApplication application(argc, argv);
    const QStringList words = QCoreApplication::arguments();
    const bool begins = words.value(4) == u"begin"_s && words.size() == 7;
    require(begins || (words.value(4) == u"pay"_s && words.size() == 5),
            u"usage: example-host PLUGIN CONFIG DATA begin CARD POINTS | pay"_s);
    QTextStream in(stdin);
    QTextStream out(stdout);
    TerminalFrontend terminal(in, out);
    const auto dialogs = Dialog::registerFrontend(terminal);

    storage::setDataDirectory(words[3]);
    using enum ConfigKey::Type; // a key that nobody declares is a mistake in the file
    the<Config>().declare({{u"KYRLoyalty:serverUrl"_s, Text, u"the service's base URL"_s},
                           {u"KYRLoyalty:user"_s, Text, u"the shop's user name at the service"_s},
                           {u"KYRLoyalty:password"_s, Text, u"the shop's password at the service"_s},
                           {u"KYRLoyalty:smsVerification"_s, Boolean, u"true: spending takes a code"_s}});
    the<Config>().load(words[2]);
    the<Session>().getRegistry()->setShopCode(u"1"_s);

    QPluginLoader loader(words[1]);
    auto* loyalty = qobject_cast<BasicLoyaltySystem*>(loader.instance());
    require(loyalty != nullptr, loader.errorString());
    require(loyalty->init(), u"The loyalty system cannot be used: its log says why"_s);
    const DeliveryWorker delivery; // sends what waits in the queue
    begins ? begin(*loyalty, words[5], words[6].toDouble(), out) : pay(*loyalty, out);
    return 0;
} catch (const std::exception& failure) {
    QTextStream(stderr) << "example-host: " << failure.what() << Qt::endl;
    return 1;
}
