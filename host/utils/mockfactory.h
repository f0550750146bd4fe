#pragma once

#include <QSharedPointer>

#include <functional>

/// Where a host service is obtained that tests replace. One per process, as Singleton.
template <class T>
class MockFactory
{
public:
    /// The registered creator; empty in production.
    static std::function<QSharedPointer<T>()> mocked;

    /// What the registered creator makes, or a new default-constructed T. The caller owns it.
    [[nodiscard]] static QSharedPointer<T> create() { return mocked ? mocked() : QSharedPointer<T>(new T); }
};

template <class T>
std::function<QSharedPointer<T>()> MockFactory<T>::mocked;
