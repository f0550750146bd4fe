#include "host/utils/serder.h"

#include <QDateTime>
#include <QObject>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace Fruit {
enum Kind : int { Apple = 0, Pear = 7 };
} // namespace Fruit

class Label
{
    Q_GADGET
    Q_PROPERTY(QString text MEMBER text)
    Q_PROPERTY(int size MEMBER size)

public:
    QString text;
    int size = 12;
    bool operator==(const Label&) const = default;
};

class Crate
{
    Q_GADGET
    Q_PROPERTY(QString name MEMBER name)
    Q_PROPERTY(double weight MEMBER weight)
    Q_PROPERTY(bool sealed MEMBER sealed)
    Q_PROPERTY(QDateTime packed MEMBER packed)
    Q_PROPERTY(Fruit::Kind kind MEMBER kind)
    Q_PROPERTY(QVariant anything MEMBER anything)
    Q_PROPERTY(Label label MEMBER label)

public:
    QString name = u"unnamed"_s;
    double weight = 1.5;
    bool sealed = true;
    QDateTime packed;
    Fruit::Kind kind = Fruit::Apple;
    QVariant anything;
    Label label;
    bool operator==(const Crate&) const = default;
};

class SpecialCrate : public Crate
{};

namespace {

using CrateSerder = serder::default_serder_type<Crate>;

Crate fullCrate()
{
    Crate crate;
    crate.name = u"Груши"_s;
    crate.weight = 0.333;
    crate.sealed = false;
    crate.packed = QDateTime::fromString(u"2024-02-29T12:30:15.250Z"_s, Qt::ISODateWithMs);
    crate.kind = Fruit::Pear;
    crate.anything = 42;
    crate.label.text = u"осторожно"_s;
    crate.label.size = 20;
    return crate;
}

TEST(Serder, WritesAGadgetAsAMapFromPropertyNameToValue)
{
    const QVariantMap expected{{u"name"_s, u"Груши"_s},
                               {u"weight"_s, 0.333},
                               {u"sealed"_s, false},
                               {u"packed"_s, fullCrate().packed},
                               {u"kind"_s, 7},
                               {u"anything"_s, 42},
                               {u"label"_s, QVariantMap{{u"text"_s, u"осторожно"_s}, {u"size"_s, 20}}}};
    const QVariant written = CrateSerder::serialize(fullCrate());
    EXPECT_EQ(written.metaType(), QMetaType::fromType<QVariantMap>());
    EXPECT_EQ(written.toMap(), expected);
}

TEST(Serder, WritesPlainTypesOnly)
{
    const QVariantMap written = CrateSerder::serialize(fullCrate()).toMap();
    EXPECT_EQ(written[u"kind"_s].metaType(), QMetaType::fromType<int>());
    EXPECT_EQ(written[u"label"_s].metaType(), QMetaType::fromType<QVariantMap>());
}

TEST(Serder, ReadsBackTheGadgetThatItWrote)
{
    EXPECT_EQ(CrateSerder::deserialize(CrateSerder::serialize(fullCrate())), fullCrate());
    EXPECT_EQ(CrateSerder::deserialize(CrateSerder::serialize(Crate())), Crate());
}

TEST(Serder, LeavesAPropertyThatTheMapLacks)
{
    const Crate crate = CrateSerder::deserialize(QVariantMap{{u"weight"_s, 2.0}});
    EXPECT_EQ(crate.weight, 2.0);
    EXPECT_EQ(crate.name, u"unnamed"_s);
    EXPECT_TRUE(crate.sealed);

    Crate full = fullCrate();
    serder::deserializeGadget(Crate::staticMetaObject, &full,
                              QVariantMap{{u"label"_s, QVariantMap{{u"size"_s, 8}}}});
    EXPECT_EQ(full.label.size, 8);
    full.label.size = 20;
    EXPECT_EQ(full, fullCrate());
}

TEST(Serder, IgnoresAMemberThatTheClassDoesNotHave)
{
    EXPECT_EQ(CrateSerder::deserialize(QVariantMap{{u"colour"_s, u"green"_s}, {u"Name"_s, u"x"_s}}), Crate());
}

TEST(Serder, IgnoresAValueThatThePropertyCannotTake)
{
    const Crate crate = CrateSerder::deserialize(
        QVariantMap{{u"weight"_s, QVariantList{1, 2}}, {u"label"_s, 5}, {u"packed"_s, QVariantMap()}});
    EXPECT_EQ(crate, Crate());
}

TEST(Serder, ReadsADefaultGadgetFromWhatIsNoMap)
{
    for (const QVariant& value : {QVariant(), QVariant(5), QVariant(u"text"_s), QVariant(QVariantList{1})})
        EXPECT_EQ(CrateSerder::deserialize(value), Crate());
}

TEST(Serder, TreatsADerivedClassWithoutPropertiesAsItsBase)
{
    SpecialCrate special;
    special.name = u"особый"_s;
    const QVariant written = serder::default_serder_type<SpecialCrate>::serialize(special);
    EXPECT_EQ(CrateSerder::deserialize(written).name, u"особый"_s);
    EXPECT_EQ(serder::default_serder_type<SpecialCrate>::deserialize(written).name, u"особый"_s);
}

TEST(Serder, WritesAPlainValueAsItself)
{
    EXPECT_EQ(serder::default_serder_type<QString>::serialize(u"текст"_s), QVariant(u"текст"_s));
    EXPECT_EQ(serder::default_serder_type<int>::serialize(5), QVariant(5));
    EXPECT_EQ(serder::default_serder_type<int>::deserialize(QVariant(5)), 5);
    const auto when = QDateTime::fromString(u"2024-02-29T01:02:03.004Z"_s, Qt::ISODateWithMs);
    EXPECT_EQ(serder::default_serder_type<QDateTime>::deserialize(
                  serder::default_serder_type<QDateTime>::serialize(when)),
              when);
}

TEST(Serder, WritesAListOfTextsInItsOrder)
{
    using Serder = serder::default_serder_type<QList<QString>>;
    const QList<QString> texts{u"б"_s, u"а"_s, {}, u"б"_s};
    const QVariant written = Serder::serialize(texts);
    EXPECT_EQ(written.metaType(), QMetaType::fromType<QVariantList>());
    EXPECT_EQ(written.toList(), (QVariantList{u"б"_s, u"а"_s, QString(), u"б"_s}));
    EXPECT_EQ(Serder::deserialize(written), texts);
    EXPECT_EQ(Serder::deserialize(Serder::serialize({})), QList<QString>());
}

TEST(Serder, WritesAListOfGadgetsAsAListOfMaps)
{
    using Serder = serder::default_serder_type<QList<Crate>>;
    const QList<Crate> crates{fullCrate(), Crate(), fullCrate()};
    const QVariantList written = Serder::serialize(crates).toList();
    ASSERT_EQ(written.size(), 3);
    EXPECT_EQ(written[0].metaType(), QMetaType::fromType<QVariantMap>());
    EXPECT_EQ(Serder::deserialize(written), crates);
}

TEST(Serder, WritesAListOfLists)
{
    using Serder = serder::default_serder_type<QList<QList<int>>>;
    const QList<QList<int>> lists{{1, 2}, {}, {3}};
    EXPECT_EQ(Serder::deserialize(Serder::serialize(lists)), lists);
}

TEST(Serder, ReadsAnEmptyListFromWhatIsNoList)
{
    EXPECT_TRUE(serder::default_serder_type<QList<int>>::deserialize(QVariant(5)).isEmpty());
    EXPECT_TRUE(serder::default_serder_type<QList<Crate>>::deserialize(QVariant()).isEmpty());
}

} // namespace

#include "serder_test.moc"
