#include "host/core/activitynotifier.h"

template class Singleton<ActivityNotifier>;

BaseActivityListener::BaseActivityListener(QObject* parent)
    : QObject(parent)
{
    qRegisterMetaType<Event>(); // so that the slot is reached by the name of its argument's type as well
}

ActivityNotifier::~ActivityNotifier() = default;

void ActivityNotifier::subscribe(BaseActivityListener* listener)
{
    if (!m_listeners.contains(listener))
        m_listeners.append(listener);
}

void ActivityNotifier::notify(const Event& event)
{
    m_listeners.removeAll(nullptr);
    // A copy, because a listener may subscribe another one, or destroy itself, while it handles the event.
    const auto listeners = m_listeners;
    for (const auto& listener : listeners) {
        if (listener)
            QMetaObject::invokeMethod(listener, "handleEvent", Qt::DirectConnection, Q_ARG(Event, event));
    }
}
