<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="ru">
<context>
    <name></name>
    <message id="tillWeightMisread"><source>Код весов прочитан с ошибкой: отсканируйте ещё раз или взвесьте заново</source><translation>The scales' code was misread: scan it again or weigh anew</translation></message>
    <message id="tillWeightNone"><source>Код весов: %1 без веса, взвесьте заново</source><translation>Scales' code: %1 without a weight, weigh anew</translation></message>
    <message id="tillWeightNotWeighed"><source>Код весов: %1 продаётся не на вес</source><translation>Scales' code: %1 is not sold by weight</translation></message>
    <message id="tillWeightUnknown"><source>Код весов: артикула %1 нет</source><translation>Scales' code: there is no article %1</translation></message>
    <message id="windowArticle"><source>арт. %1</source><translation>art. %1</translation></message>
    <message id="windowArticleField"><source>Артикул или название  F2</source><translation>Article or name  F2</translation></message>
    <message id="windowArticleKeys"><source>Клавиша F2; Enter добавляет товар, стрелки выбирают из найденных</source><translation>Key F2; Enter adds the goods, arrows choose among those found</translation></message>
    <message id="windowArticleUnknown"><source>Товара «%1» нет: введите другой артикул или часть названия</source><translation>There are no goods “%1”: enter another article or a part of the name</translation></message>
    <message id="windowByPoints"><source>Баллами</source><translation>In points</translation></message>
    <message id="windowCardNumber"><source>Карта %1</source><translation>Card %1</translation></message>
    <message id="windowDiscounts"><source>Скидки</source><translation>Discounts</translation></message>
    <message id="windowDisplayCode"><source>Назовите кассиру код из СМС</source><translation>Please tell the cashier the code from the SMS</translation></message>
    <message id="windowDisplayDiscount"><source>скидка −%1</source><translation>discount −%1</translation></message>
    <message id="windowDisplayEarned"><source>Начислено баллов: %1</source><translation>Points earned: %1</translation></message>
    <message id="windowDisplayEarnsLater"><source>Баллы будут начислены позже</source><translation>The points will be added later</translation></message>
    <message id="windowDisplayGreeting"><source>Добро пожаловать!</source><translation>Welcome!</translation></message>
    <message id="windowDisplayReturned"><source>Возврат оформлен</source><translation>The return is done</translation></message>
    <message id="windowDisplaySumPaid"><source>Оплачено %1</source><translation>Paid: %1</translation></message>
    <message id="windowDisplaySumReturned"><source>Возвращено %1</source><translation>Returned: %1</translation></message>
    <message id="windowDisplayThanks"><source>Спасибо за покупку!</source><translation>Thank you for your purchase!</translation></message>
    <message id="windowDisplayTitle"><source>Экран покупателя</source><translation>Customer's screen</translation></message>
    <message id="windowDisplayWait"><source>Подождите, пожалуйста</source><translation>Please wait</translation></message>
    <message id="windowDisplayWillEarn"><source>Будет начислено баллов: %1</source><translation>Points to be earned: %1</translation></message>
    <message id="windowGoods"><source>Товар</source><translation>Goods</translation></message>
    <message id="windowGoodsFound"><source>Найденные товары</source><translation>Goods found</translation></message>
    <message id="windowGoodsFoundMore"><source>Есть и другие: наберите больше букв</source><translation>There are more: type more letters</translation></message>
    <message id="windowGoodsFoundSeveral"><source>Найдено несколько товаров: выберите стрелками или пальцем</source><translation>Several goods were found: choose by arrows or by finger</translation></message>
    <message id="windowSum"><source>Сумма</source><translation>Sum</translation></message>
    <message id="windowToPay"><source>К оплате</source><translation>To pay</translation></message>
    <message id="windowToReturn"><source>К возврату</source><translation>To return</translation></message>
    <message id="windowTraining"><source>Учебный режим</source><translation>Training</translation></message>
    <message id="Номера карт"><source>Номера карт</source><translation>Card numbers</translation></message>
</context>
</TS>
