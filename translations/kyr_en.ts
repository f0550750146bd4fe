<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="ru">
<context>
    <name></name>
    <message id="windowKeyEnter"><source>Ввод</source><translation>Enter</translation></message>
    <message id="windowKeyErase"><source>Стереть</source><translation>Erase</translation></message>
    <message id="windowKeypadClose"><source>Убрать клавиши</source><translation>Put the keys away</translation></message>
    <message id="Номера карт"><source>Номера карт</source><translation>Card numbers</translation></message>
</context>
</TS>
