<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="ru">
<context>
    <name></name>
    <message id="Номера карт"><source>Номера карт</source><translation>Card numbers</translation></message>
</context>
</TS>
