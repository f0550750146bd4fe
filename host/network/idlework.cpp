#include "host/network/idlework.h"

#include <QtGlobal>

#include <utility>

namespace {

thread_local const IdleWork* ofThisThread = nullptr;

} // namespace

IdleWork::IdleWork(std::function<void()> work)
    : m_work(std::move(work))
{
    Q_ASSERT(!ofThisThread);
    ofThisThread = this;
}

IdleWork::~IdleWork() { ofThisThread = nullptr; }

const IdleWork* IdleWork::current() { return ofThisThread; }
