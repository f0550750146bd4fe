#include "till/window/scans.h"

#include "host/utils/masking.h"
#include "host/utils/tr.h"
#include "till/goods/weightcode.h"
#include "till/window/dialogs/question.h"
#include "till/window/sound.h"
#include "till/window/widgets.h"

#include <QApplication>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace till::window {

Scans::Scans(CheckoutModel& model, const Waiting& waiting, ScanSettings settings)
    : m_model(model)
    , m_waiting(waiting)
    , m_settings(std::move(settings))
{
    // Not at once: whoever ran the request is not done with its answer yet.
    connect(&waiting, &Waiting::changed, this, &Scans::addKept, Qt::QueuedConnection);
}

bool Scans::isCard(const QString& code) const
{
    const Catalogue& goods = m_model.catalogue();
    if (goods.find(code))
        return false;
    const qsizetype shortest = goods.isWeightCode(code) ? weightPrefixLength + 1 : 1;
    const auto fits = [&](const QString& prefix) {
        return prefix.size() >= shortest && code.startsWith(prefix);
    };
    return std::any_of(m_settings.cardPrefixes.begin(), m_settings.cardPrefixes.end(), fits);
}

void Scans::take(const QString& code)
{
    if (auto* dialog = QApplication::activeModalWidget()) {
        soundRefusal();
        if (auto* question = qobject_cast<Question*>(dialog))
            question->refuseScan();
        return;
    }
    const Sought sought = isCard(code) ? Sought{} : m_model.catalogue().lookUp(code);
    if (m_waiting.underWay())
        takeLater(code, sought);
    else if (sought.goods)
        m_model.addGoods(*sought.goods, sought.quantity);
    else if (!sought.refusal.isEmpty())
        m_model.say(Notice::Kind::Bad, sought.refusal);
    else if (isCard(code))
        m_model.identify(code, CheckoutModel::Means::Card);
    else
        m_model.say(Notice::Kind::Bad, tr::shown(u"windowScanUnknown"_s,
                                                 u"Код %1 не принят: такого товара нет, и это не карта"_s)
                                           .arg(utils::maskWhole(code)));
}

void Scans::takeLater(const QString& code, const Sought& sought)
{
    if (sought.goods && m_model.receipt()) {
        m_kept.append({m_model.receipt()->getIdentifier(), sought});
        Q_EMIT told(tr::shown(u"windowScanKept"_s, u"%1: будет в чеке после ответа"_s)
                        .arg(shortened(sought.goods->name, 60)));
        return;
    }
    soundRefusal();
    if (!sought.refusal.isEmpty())
        return Q_EMIT told(sought.refusal);
    Q_EMIT told(isCard(code)
                    ? tr::shown(u"windowCardTooEarly"_s, u"Карта не принята: отсканируйте её после ответа"_s)
                    : tr::shown(u"windowScanTooEarly"_s, u"Код не принят: подождите ответа"_s));
}

void Scans::addKept()
{
    if (m_waiting.underWay())
        return;
    const QList<Kept> kept = std::exchange(m_kept, {});
    for (const Kept& one : kept) {
        const auto receipt = m_model.receipt();
        const bool isSame = receipt && receipt->getIdentifier() == one.receipt;
        if (isSame && m_model.can(Action::SetLines))
            m_model.addGoods(*one.sought.goods, one.sought.quantity);
        else
            m_model.say(Notice::Kind::Bad,
                        tr::shown(u"windowScanTooLate"_s, u"%1 — не в чеке. %2"_s)
                            .arg(one.sought.goods->name,
                                 isSame ? m_model.checkout().obstacleTo(Action::SetLines)
                                        : tr::shown(u"windowScanAgain"_s,
                                                    u"Тот чек закончен: отсканируйте ещё раз"_s)));
    }
}

} // namespace till::window
