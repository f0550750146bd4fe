#include "tests/accessibility/screenreader.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;

namespace {

// Of X.
constexpr unsigned keyReturn = 0xff0d;
constexpr unsigned keyTab = 0xff09;
constexpr unsigned keyF2 = 0xffbf;
constexpr unsigned keyF3 = 0xffc0;
constexpr unsigned keyF9 = 0xffc6;

/// Roles that a person does something with.
const QStringList controls{u"push button"_s, u"button"_s, u"radio button"_s,  u"text"_s,
                           u"table"_s,       u"list"_s,   u"toggle button"_s, u"check box"_s};

/// The control of that name; null: there is none.
const reader::Item* find(const QList<reader::Item>& items, const QString& name)
{
    const auto found = std::find_if(items.begin(), items.end(), [&](const reader::Item& item) {
        return item.name == name && controls.contains(item.role);
    });
    return found == items.end() ? nullptr : &*found;
}

} // namespace

TEST(Accessibility, EveryControlTellsItsRoleAndItsName)
{
    const reader::Window window({u"--demo"_s});
    const auto items = window.items();
    int seen = 0;
    for (const reader::Item& item : items) {
        if (!controls.contains(item.role))
            continue;
        ++seen;
        EXPECT_FALSE(item.name.isEmpty()) << item.role.toStdString() << ' ' << item.description.toStdString();
    }
    EXPECT_GE(seen, 20);
    // What has no other way to it is reached by a key that is told.
    const std::initializer_list<std::tuple<QString, QString, QString>> expected{
        {u"Товары в чеке"_s, u"table"_s, {}},
        {u"Артикул товара"_s, u"text"_s, u"F2"_s},
        {u"Карта или телефон покупателя"_s, u"text"_s, u"F3"_s},
        {u"Количество"_s, u"button"_s, u"F4"_s},
        {u"Скидка"_s, u"button"_s, u"F5"_s},
        {u"Удалить"_s, u"button"_s, u"F6"_s},
        {u"Сколько баллов списать"_s, u"text"_s, u"F7"_s},
        {u"Отменить чек"_s, u"button"_s, u"F8"_s},
        {u"Оплатить"_s, u"button"_s, u"F9"_s},
        {u"Возврат"_s, u"button"_s, u"F10"_s},
    };
    for (const auto& [name, role, key] : expected) {
        const auto* item = find(items, name);
        ASSERT_TRUE(item) << name.toStdString();
        EXPECT_TRUE(item->role.endsWith(role)) << name.toStdString() << ": " << item->role.toStdString();
        EXPECT_TRUE(item->description.contains(key))
            << name.toStdString() << ": " << item->description.toStdString();
    }
}

TEST(Accessibility, AReceiptIsSoldByKeysOfXAndTold)
{
    reader::Window window;
    window.press(keyF2);
    ASSERT_TRUE(window.hasFocus(u"Артикул товара"_s));
    window.type(u"4601"_s);
    window.press(keyReturn);
    EXPECT_TRUE(window.shows(u"1. Молоко 3,2 %"_s));
    window.press(keyF3);
    ASSERT_TRUE(window.hasFocus(u"Карта или телефон покупателя"_s));
    window.type(u"2000000000055"_s);
    window.press(keyReturn);
    EXPECT_TRUE(window.shows(u"Баланс: 300,00"_s));
    window.press(keyF9);
    EXPECT_TRUE(window.shows(u"Чек оплачен и закрыт"_s));
}

TEST(Accessibility, TabGoesThroughTheControlsInTheOrderInWhichTheyAreRead)
{
    reader::Window window({u"--demo"_s});
    window.press(keyF2);
    ASSERT_TRUE(window.hasFocus(u"Артикул товара"_s));
    window.press(keyTab);
    EXPECT_TRUE(window.hasFocus(u"Добавить"_s));
    for (const QString& name : {u"Покупатель"_s, u"Карта или телефон покупателя"_s}) {
        for (int i = 0; i < 5; ++i) {
            const auto* item = find(window.items(), name);
            if (item && item->focused)
                break;
            window.press(keyTab);
        }
        EXPECT_TRUE(window.hasFocus(name));
    }
}
