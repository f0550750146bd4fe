#include "host/core/activitynotifier.h"
#include "host/core/dialog.h"
#include "host/core/document.h"
#include "host/core/session.h"
#include "host/utils/config.h"
#include "host/utils/currenttime.h"
#include "promise.h"

#include <QThread>

using namespace Qt::StringLiterals;

namespace {

class Listener : public BaseActivityListener
{
    Q_OBJECT

public:
    QList<int> codes;
    QString message;
    QThread* thread = nullptr;

    void handleEvent(const Event& event) override
    {
        codes.append(event.getCode());
        message = event.getArgument(u"message"_s).value<tr::Tr>().ru();
        thread = QThread::currentThread();
    }
};

Event processMessage()
{
    Event event(EActivityListener::ProcessMessage);
    event.addArgument(u"message"_s, tr::Tr(u"probe"_s, u"Проба"_s));
    return event;
}

/// A cashier who closes what is closable, and types nothing.
class Absent : public DialogFrontend
{
public:
    QString title;
    QStringList items;
    int chooseFromList(const ChoiceRequest& request) override
    {
        title = request.title.ru();
        for (const tr::Tr& item : request.items)
            items.append(item.ru());
        return -1;
    }
    core::BasicDialog::Result inputText(const TextInputRequest& request) override
    {
        title = request.title.ru();
        return core::BasicDialog::Result::cancelled();
    }
};

} // namespace

QList<Promise> services()
{
    return {
        {u"Config gives the default for a key that is absent, and the value of one that is there"_s,
         u"the plug-in works with settings that nobody made"_s,
         [] {
             Config config;
             config.declare({{u"KYRLoyalty:user"_s, ConfigKey::Type::Text, {}},
                             {u"KYRLoyalty:timeout"_s, ConfigKey::Type::Integer, {}},
                             {u"KYRLoyalty:smsVerification"_s, ConfigKey::Type::Boolean, {}}});
             require(config.getString(u"KYRLoyalty:user"_s, u"nobody"_s) == u"nobody"_s &&
                         config.getInt(u"KYRLoyalty:timeout"_s, 10) == 10 &&
                         config.getBool(u"KYRLoyalty:smsVerification"_s, true),
                     u"an absent key has another value than its default"_s);
             config.set(u"KYRLoyalty:user"_s, u"shop 7"_s);
             config.set(u"KYRLoyalty:timeout"_s, 3);
             config.set(u"KYRLoyalty:smsVerification"_s, false);
             require(config.getString(u"KYRLoyalty:user"_s, {}) == u"shop 7"_s &&
                         config.getInt(u"KYRLoyalty:timeout"_s, 10) == 3 &&
                         !config.getBool(u"KYRLoyalty:smsVerification"_s, true),
                     u"a value is not what it was set to"_s);
         }},
        {u"Session gives the document that is worked on, and the shop's code"_s,
         u"an event finds no receipt, or receipts go to the service under another shop"_s,
         [] {
             Session session;
             require(session.getDocument().isNull(), u"there is a document from the start"_s);
             const auto receipt = QSharedPointer<Document>::create(SaleReceipt, u"R-1"_s);
             session.setDocument(receipt);
             session.getRegistry()->setShopCode(u"0042"_s);
             require(session.getDocument() == receipt, u"it is another document"_s);
             require(session.getRegistry()->getShopCode() == u"0042"_s, u"it is another code"_s);
         }},
        {u"CurrentTime tells the time of now"_s, u"receipts are dated wrongly"_s,
         [] {
             const auto told = MockFactory<CurrentTime>::create()->currentDateTime();
             require(told.isValid() && qAbs(told.msecsTo(QDateTime::currentDateTimeUtc())) < 5000,
                     u"it is %1"_s.arg(told.toString(Qt::ISODateWithMs)));
         }},
        {u"notify() calls each listener at once, on the caller's thread, with the event's arguments"_s,
         u"a receipt without a card is reported after it is gone, or not at all"_s,
         [] {
             ActivityNotifier notifier;
             Listener listener;
             notifier.subscribe(&listener);
             notifier.notify(processMessage());
             notifier.notify(Event(EActivityListener::ReceiptClosed));
             require(listener.codes == QList<int>{72, 10},
                     u"it heard %1 of 2 events"_s.arg(listener.codes.size()));
             require(listener.thread == QThread::currentThread(), u"on another thread"_s);
         }},
        {u"an event's argument arrives as it was added"_s,
         u"the cashier is told nothing while a request runs"_s,
         [] {
             ActivityNotifier notifier;
             Listener listener;
             notifier.subscribe(&listener);
             notifier.notify(processMessage());
             require(listener.message == u"Проба"_s, u"the text is \"%1\""_s.arg(listener.message));
         }},
        {u"Event is a metatype whose values compare"_s, u"the plug-in's slot cannot be called by name"_s,
         [] {
             Listener listener;
             require(QMetaObject::invokeMethod(&listener, "handleEvent", Q_ARG(Event, processMessage())) &&
                         listener.codes == QList<int>{72} && listener.message == u"Проба"_s,
                     u"a slot called with an event by its name does not get it"_s);
             require(Event(EActivityListener::ReceiptClosed) == Event(EActivityListener::ReceiptClosed) &&
                         Event(EActivityListener::ReceiptClosed) != Event(EActivityListener::ProcessMessage),
                     u"equal events differ, or different ones are equal"_s);
         }},
        {u"the codes of events, documents, flags and systems have their values"_s,
         u"the plug-in misses what is meant for it"_s,
         [] {
             require(int(EActivityListener::ReceiptClosed) == 10 &&
                         int(EActivityListener::ProcessMessage) == 72 &&
                         int(EActivityListener::BeforeModalDialog) == 73,
                     u"events are not 10, 72 and 73"_s);
             require(int(SaleReceipt) == 1 && int(ReturnReceipt) == 25, u"documents are not 1 and 25"_s);
             require(int(LoyaltyCardPresented) == 254, u"the flag is not 254"_s);
             require(int(KyrLoyaltySystem) == 12, u"the kind of the card is not 12"_s);
             require(int(ECard::RegistrationIncomplete) == 0 && int(ECard::Active) == 1 &&
                         int(ECard::Blocked) == 2,
                     u"states of a card are not 0, 1 and 2"_s);
         }},
        {u"a closed list is -1, and a closed entry is cancelled"_s,
         u"points are spent, or a card is taken, that the cashier did not choose"_s,
         [] {
             Absent cashier;
             const auto registered = Dialog::registerFrontend(cashier);
             ChoiceRequest request;
             request.title = tr::Tr::untranslated(u"Номера карт"_s);
             request.items = tr::TrList({u"1"_s, u"2"_s});
             require(MockFactory<Dialog>::create()->chooseFromList(request) == -1, u"another index"_s);
             require(cashier.title == u"Номера карт"_s && cashier.items == QStringList({u"1"_s, u"2"_s}),
                     u"the cashier saw another question"_s);
             const TextInputRequest entry(tr::Tr(u"a"_s, u"Код"_s), tr::Tr(u"b"_s, u"Введите"_s));
             require(MockFactory<Dialog>::create()->inputText(entry).canceled(),
                     u"a closed entry is an answer"_s);
         }},
        {u"an entry that was not cancelled has the text that was typed"_s,
         u"the code of the customer is lost"_s,
         [] {
             const auto entered = core::BasicDialog::Result::entered(u"0123"_s);
             require(!entered.canceled() && entered.getData() == u"0123"_s,
                     u"it is \"%1\""_s.arg(entered.getData()));
         }},
        {u"a request for a text has the host's defaults"_s, u"the dialog has no captions"_s,
         [] {
             const TextInputRequest entry(tr::Tr(u"a"_s, u"Код"_s), tr::Tr(u"b"_s, u"Введите"_s));
             require(entry.okCaption.ru() == u"ОК"_s && entry.cancelCaption.ru() == u"Отмена"_s,
                     u"captions are others"_s);
             require(entry.scanErrorText.ru() == u"Ошибка разбора введенных данных, повторите сканирование"_s,
                     u"the word on a bad scan is another"_s);
         }},
        {u"texts keep identifier and words, take values, and come back from a variant"_s,
         u"the cashier reads \"%1\", or nothing"_s,
         [] {
             const tr::Tr text(u"probe"_s, u"Нет карт для телефона '%1'"_s);
             const auto filled = QVariant(text.arg(u"79001234567"_s)).value<tr::Tr>();
             require(filled.id() == u"probe"_s && filled.ru() == u"Нет карт для телефона '79001234567'"_s,
                     u"it is \"%1\""_s.arg(filled.ru()));
             const tr::TrList list(QList<QString>{u"один"_s, u"два"_s});
             require(list.size() == 2 && list[1].ru() == u"два"_s, u"a list of texts is another"_s);
         }},
    };
}

#include "services.moc"
