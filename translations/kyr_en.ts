<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="ru">
<context>
    <name></name>
    <message id="windowBalanceLeft"><source>Осталось: %1</source><translation>Left: %1</translation></message>
    <message id="windowCodeAgain"><source>Отправить ещё раз</source><translation>Send again</translation></message>
    <message id="windowCodeIsNew"><source>Это новый код, прежний не подойдёт. Попытка одна</source><translation>This is a new code, the earlier one will not do. One try</translation></message>
    <message id="windowCodeOneTry"><source>Попытка одна: потом придёт новый код</source><translation>One try: after that a new code is sent</translation></message>
    <message id="windowCodePoints"><source>Списать баллов: %1</source><translation>Points to spend: %1</translation></message>
    <message id="windowCodeRefused"><source>%1. Enter — ещё раз: придёт новый код</source><translation>%1. Enter tries again: a new code is sent</translation></message>
    <message id="windowCodeSent"><source>Код отправлен покупателю, телефон служба не назвала</source><translation>The code went to the customer; the service did not name the phone</translation></message>
    <message id="windowCodeSentTo"><source>Код отправлен на %1</source><translation>The code went to %1</translation></message>
    <message id="windowExpected"><source>После чека: %1</source><translation>After the receipt: %1</translation></message>
    <message id="windowExpectedUnknown"><source>После чека: неизвестно, баланс не проверен</source><translation>After the receipt: not known, the balance was not checked</translation></message>
    <message id="windowExpectedWithoutEarning"><source>После чека: %1 и начисление (неизвестно)</source><translation>After the receipt: %1 and what it earns (not known)</translation></message>
    <message id="windowKeyEnter"><source>Ввод</source><translation>Enter</translation></message>
    <message id="windowKeyErase"><source>Стереть</source><translation>Erase</translation></message>
    <message id="windowKeypadClose"><source>Убрать клавиши</source><translation>Put the keys away</translation></message>
    <message id="windowKnownBalance"><source>%1 на %2</source><translation>%1 at %2</translation></message>
    <message id="windowLimitBalance"><source>Больше нет на карте</source><translation>The card has no more</translation></message>
    <message id="windowLimitBlocked"><source>Карта заблокирована: списать нельзя</source><translation>The card is blocked: nothing can be spent</translation></message>
    <message id="windowLimitNoPoints"><source>На карте нет баллов</source><translation>The card has no points</translation></message>
    <message id="windowLimitReceipt"><source>Больше чек не стоит</source><translation>The receipt costs no more</translation></message>
    <message id="windowLimitRegistration"><source>Регистрация покупателя не завершена: списать нельзя</source><translation>The customer's registration is not complete: nothing can be spent</translation></message>
    <message id="windowLimitService"><source>Больше служба не разрешает</source><translation>The service allows no more</translation></message>
    <message id="windowPointsField"><source>Баллы F7</source><translation>Points F7</translation></message>
    <message id="windowSpend"><source>Списать</source><translation>Spend</translation></message>
    <message id="windowSpendAll"><source>Все</source><translation>All</translation></message>
    <message id="windowSpendAllKey"><source>Клавиши Shift+F7</source><translation>Keys Shift+F7</translation></message>
    <message id="windowSpendAllName"><source>Списать все баллы</source><translation>Spend all points</translation></message>
    <message id="Номера карт"><source>Номера карт</source><translation>Card numbers</translation></message>
</context>
</TS>
