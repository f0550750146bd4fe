// A file of goods.
#include "tests/fuzz/fuzz.h"
#include "till/goods/goodsfile.h"

void fuzz::prepare() {}

void fuzz::decode(const QByteArray& bytes)
{
    const till::GoodsReading reading = till::readGoods(bytes);
    require(reading.goods.isEmpty() || reading.problems.isEmpty(), "goods or problems, not both");
    for (const till::GoodsProblem& problem : reading.problems)
        require(!problem.text.isEmpty() && problem.line >= 0, "a problem has a text and a place");
}
