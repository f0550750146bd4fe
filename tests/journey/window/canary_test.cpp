// The password and the codes, looked for in all that the window's parts hold, be it on the screen or not:
// texts, tool tips, names for a screen reader, lists. Only the field in which a code is typed may hold that
// code.

#include "tests/journey/window/cashier.h"
#include "tests/support/httpserver.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QLineEdit>
#include <QMetaProperty>

using namespace Qt::StringLiterals;
using test_support::HttpAnswer;
using test_support::HttpServer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace windowtest {

namespace {

const QString canaryPassword = u"secret-of-the-shop"_s; // of every cashier whose service is named
const QString canaryCard = u"2000000000055"_s;
const QString goodCode = u"73190264"_s;
const QString badCode = u"84019375"_s;

void collect(const QObject& object, QStringList& texts)
{
    for (int i = 0; i < object.metaObject()->propertyCount(); ++i)
        texts.append(object.metaObject()->property(i).read(&object).toString());
    for (const QByteArray& name : object.dynamicPropertyNames())
        texts.append(object.property(name.constData()).toString());
    const auto* view = qobject_cast<const QAbstractItemView*>(&object);
    const QAbstractItemModel* model = view ? view->model() : nullptr;
    for (int row = 0; model && row < model->rowCount(); ++row) {
        for (int column = 0; column < model->columnCount(); ++column) {
            for (const QVariant& value : model->itemData(model->index(row, column)))
                texts.append(value.toString());
        }
    }
}

/// What holds a secret, by class and name.
std::vector<std::string> holders()
{
    std::vector<std::string> found;
    for (const QWidget* top : QApplication::topLevelWidgets()) {
        QObjectList objects = top->findChildren<QObject*>();
        objects.append(const_cast<QWidget*>(top));
        for (const QObject* object : objects) {
            QStringList texts;
            collect(*object, texts);
            const QString all = texts.join(u'\n');
            const QString userinfo = QString::fromLatin1(("shop:" + canaryPassword.toUtf8()).toBase64());
            for (const QString& secret : {canaryPassword, userinfo, goodCode, badCode}) {
                if (all.contains(secret, Qt::CaseInsensitive))
                    found.push_back(object->metaObject()->className() + (u": "_s + secret).toStdString());
            }
        }
    }
    return found;
}

/// Types the code where it is asked for.
void enter(Cashier& cashier, const QString& code)
{
    cashier.atDialog([&cashier, code](QDialog& dialog) {
        EXPECT_THAT(holders(), IsEmpty());
        cashier.type(code);
        EXPECT_THAT(holders(), testing::Each(HasSubstr("QLineEdit: " + code.toStdString())));
        EXPECT_EQ(dialog.findChild<QLineEdit*>()->text(), code);
        cashier.press(Qt::Key_Return);
    });
}

} // namespace

TEST(WindowCanary, IsFoundInWhateverHoldsIt)
{
    Cashier cashier;
    EXPECT_THAT(holders(), IsEmpty());
    cashier.window().setToolTip(u"the password is "_s + canaryPassword);
    EXPECT_THAT(holders(), ElementsAre("QMainWindow: secret-of-the-shop"));
    cashier.window().setToolTip({});
    cashier.model().say(till::window::Notice::Kind::Plain, u"the code is "_s + goodCode);
    EXPECT_THAT(holders(), testing::Not(IsEmpty()));
}

TEST(WindowCanary, IsNowhereWhateverTheServiceSaysAgain)
{
    HttpServer server;
    const auto answer = [&server](const QByteArray& data) {
        server.enqueue(HttpAnswer::status(200, R"({"data":)" + data + '}'));
    };
    const auto echo = [&server](int status, const QString& code = {}) {
        const QByteArray told = "Basic " + ("shop:" + canaryPassword.toUtf8()).toBase64() + " is " +
                                canaryPassword.toUtf8() + ", code " + code.toUtf8();
        server.enqueue(HttpAnswer::status(status, R"({"data":[{"message":")" + told + R"("}]})"));
    };
    const auto limit = [&answer] {
        answer(R"({"receipt_details":[{"parameters":{"max_payment_bonus":200}}]})");
    };
    answer(R"({"card_data":{"status":3}})");
    answer(R"({"user_data":{"mobile":"79001234567"},"accounts_data":[{"avialable":"300"}]})");
    limit();
    for (const QString& code : {badCode, goodCode}) {
        limit();
        answer(R"({"approve_id":1})");
        echo(422, code);
    }
    echo(503); // the earning, which waits
    echo(422); // and is parked then, with the service's words
    Cashier cashier({.smsVerification = true, .serverUrl = server.url().toString()});
    cashier.sell(canaryCard);
    for (const QString& code : {badCode, goodCode}) {
        enter(cashier, code);
        cashier.spend(u"100"_s);
        EXPECT_THAT(cashier.notice().toStdString(), HasSubstr("Basic *** is ***, code ***"));
        EXPECT_THAT(holders(), IsEmpty());
    }
    EXPECT_EQ(cashier.dialogs(), 2);
    cashier.press(Qt::Key_F9); // paid without points; the earning waits
    EXPECT_THAT(holders(), IsEmpty());
    cashier.press(Qt::Key_F12);
    EXPECT_THAT(linesOf(cashier, u"Очередь отправки"_s), HasSubstr("начисление"));
    cashier.touch(u"Отправить сейчас"_s);
    EXPECT_THAT(holders(), IsEmpty()) << linesOf(cashier, u"Очередь отправки"_s);
    cashier.press(Qt::Key_F12);
    EXPECT_THAT(linesOf(cashier, u"Ход чека"_s), HasSubstr("начисление: отклонено службой"));
    EXPECT_THAT(holders(), IsEmpty());
    EXPECT_EQ(server.requests().size(), 11);
}

} // namespace windowtest
