// The service's answers to each operation, good ones and refusals, as the client understands them.
#include "tests/fuzz/clientworld.h"
#include "tests/fuzz/fuzz.h"

#include <cmath>

namespace {

void perform(fuzz::ClientWorld& world, int operation)
{
    const OpenClient& client = world.client;
    switch (operation) {
    case 0:
        client.getUserInfo(world.card);
        fuzz::require(std::isfinite(world.card->getBonusBalance().toDouble()), "a balance is a number");
        break;
    case 1:
        (void)client.prePayment(10);
        break;
    case 2:
        fuzz::require(!client.forcePayment(10).isNull(), "a spending comes with its discount");
        break;
    case 3:
        (void)client.payment(10);
        break;
    case 4:
        fuzz::require(!client.confirmPayment(7, QStringLiteral("1234"), 10).isNull(),
                      "a spending comes with its discount");
        break;
    case 5:
        (void)client.earnPoints(true);
        break;
    case 6:
        client.cancel(true);
        break;
    case 7:
        (void)client.getCardNumbers(QStringLiteral("79001234567"));
        break;
    default: {
        const int status = client.getCardStatus(QStringLiteral("2000000000017"));
        fuzz::require(status == 0 || status == 1 || status == 3, "a card's status is one of three");
    }
    }
}

} // namespace

void fuzz::prepare() {}

void fuzz::decode(const QByteArray& bytes)
{
    constexpr int operations = 9;
    QByteArray left = bytes;
    const int operation = choice(left, operations);
    ClientWorld world;
    for (int answers = 0; answers < 3; ++answers) { // no operation asks more often; bytes of 0 part them
        const qsizetype end = left.indexOf('\0');
        QByteArray answer = left.left(end);
        left = end < 0 ? QByteArray() : left.mid(end + 1);
        const bool isRefusal = choice(answer, 2) == 1;
        world.service.answer(answer, isRefusal ? 422 : 0);
    }
    try {
        perform(world, operation);
    } catch (const KyrLoyaltyException& failure) {
        require(!failure.tr().ru().contains(password), "no text holds the password");
    }
}
