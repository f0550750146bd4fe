#include "stand/http/later.h"

#include <QTimer>

namespace stand {

void later(std::chrono::milliseconds delay, QObject* context, std::function<void()> task)
{
    auto* timer = new QTimer(context);
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer); // a coarse one may come early
    QObject::connect(timer, &QTimer::timeout, context, [timer, task = std::move(task)] {
        timer->deleteLater();
        task();
    });
    timer->start(delay);
}

} // namespace stand
