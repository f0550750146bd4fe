#include "tests/support/steps.h"

#include <QJsonArray>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace story {

namespace {

QJsonArray sold(const QList<Goods>& positions)
{
    QJsonArray array;
    for (const Goods& goods : positions) {
        QJsonObject position{{u"articul"_s, goods.articul},
                             {u"name"_s, goods.name},
                             {u"price"_s, goods.price},
                             {u"quantity"_s, goods.quantity}};
        if (goods.discount != 0)
            position.insert(u"discount"_s, goods.discount);
        array.append(position);
    }
    return array;
}

QJsonArray back(const QList<Back>& positions)
{
    QJsonArray array;
    for (const Back& position : positions)
        array.append(QJsonObject{{u"posnum"_s, position.posnum}, {u"quantity"_s, position.quantity}});
    return array;
}

} // namespace

Step Step::with(QAnyStringView member, const QJsonValue& value) const
{
    Step step = *this;
    step.m_members.insert(member.toString(), value);
    return step;
}

QByteArray Step::json() const { return QJsonDocument(m_members).toJson(QJsonDocument::Compact); }

Step openSale(QAnyStringView id, const QList<Goods>& positions)
{
    return Step("openSale").with("id", id.toString()).with("positions", sold(positions));
}

Step openReturn(QAnyStringView id, QAnyStringView of, const QList<Back>& positions)
{
    return Step("openReturn")
        .with("id", id.toString())
        .with("of", of.toString())
        .with("positions", back(positions));
}

Step setPositions(const QList<Goods>& positions)
{
    return Step("setPositions").with("positions", sold(positions));
}

QByteArray scenario(const Steps& steps, const QJsonObject& config, QAnyStringView name)
{
    QJsonArray array;
    for (const Step& step : steps.list())
        array.append(step.members());
    QJsonObject file{{u"config"_s, config}, {u"steps"_s, array}};
    if (!name.isEmpty())
        file.insert(u"name"_s, name.toString());
    return QJsonDocument(file).toJson();
}

} // namespace story
