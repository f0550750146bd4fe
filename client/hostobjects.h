#pragma once

#include "host/utils/singleton.h"

/// The host's process-wide object of type T: the one that is there, else a new one that is stored for
/// everybody.
template <class T>
T& hostObject()
{
    if (!Singleton<T>::instance)
        Singleton<T>::instance = new T;
    return *Singleton<T>::instance;
}
