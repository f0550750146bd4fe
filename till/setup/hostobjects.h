#pragma once

#include "host/utils/singleton.h"

namespace till {

/// The host's process-wide object of type T; made when there is none yet.
template <class T>
T& hostObject()
{
    if (!Singleton<T>::instance)
        Singleton<T>::instance = new T;
    return *Singleton<T>::instance;
}

/// Destroys the object, with all that it holds in memory or open; the next user gets a new one.
template <class T>
void dropHostObject()
{
    delete Singleton<T>::instance;
    Singleton<T>::instance = nullptr;
}

} // namespace till
