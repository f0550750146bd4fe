#pragma once

#include "host/core/event.h"
#include "host/utils/export.h"
#include "host/utils/singleton.h"

#include <QList>
#include <QObject>
#include <QPointer>

/// Base of whoever wants to hear of the till's events.
class HOST_EXPORT BaseActivityListener : public QObject
{
    Q_OBJECT

public:
    /// Hears nothing before it is subscribed. The parent, if any, owns it.
    explicit BaseActivityListener(QObject* parent = nullptr);

public Q_SLOTS:
    /// Called for every event once subscribed, on the thread of whoever notifies.
    virtual void handleEvent(const Event& event) = 0;
};

/// Tells all subscribed listeners what happens.
class HOST_EXPORT ActivityNotifier
{
public:
    virtual ~ActivityNotifier();

    /// From now on the listener hears every event; subscribing again changes nothing. The listener stays its
    /// owner's and drops out by itself when it is destroyed.
    virtual void subscribe(BaseActivityListener* listener);

    /// Calls the slot `handleEvent(Event)` of each listener, in the order of subscription, through the
    /// meta-object system, and returns when all have been called. An exception of a listener passes to the
    /// caller.
    virtual void notify(const Event& event);

private:
    QList<QPointer<BaseActivityListener>> m_listeners;
};

extern template class HOST_EXPORT Singleton<ActivityNotifier>;
