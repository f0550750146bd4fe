#include "till/window/upkeep.h"

#include <QCoreApplication>
#include <QEvent>

using namespace std::chrono_literals;

namespace till::window {

Upkeep::Upkeep(const CheckoutModel& model, const Waiting& waiting, const storage::KeepingTimes& times)
    : m_model(model)
    , m_waiting(waiting)
    , m_retention(times)
{
    m_touched.start();
    QCoreApplication::instance()->installEventFilter(this);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        if (isQuiet())
            m_retention.step();
    });
    m_timer.start(1s);
}

void Upkeep::setQuietTime(std::chrono::milliseconds time)
{
    m_quietTime = time;
    m_timer.start(std::min<std::chrono::milliseconds>(time, 1s));
}

bool Upkeep::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::KeyPress:
    case QEvent::MouseButtonPress:
    case QEvent::Wheel:
    case QEvent::TouchBegin:
        m_touched.start();
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

bool Upkeep::isQuiet() const
{
    const auto receipt = m_model.receipt();
    const bool isEmpty = !receipt || (m_model.state() == State::Sale && receipt->getGoodsItems().isEmpty() &&
                                      !m_model.checkout().card());
    return isEmpty && !m_waiting.underWay() && untouchedFor() >= m_quietTime.count();
}

} // namespace till::window
