// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>

#include "sonrel/base/Export.h"

namespace zrtl::thread {

/// A lock.
class SONREL_EXPORT ZRLockTypeBase {
public:
    virtual ~ZRLockTypeBase();
    virtual void Lock() = 0;
    virtual void Unlock() = 0;
};

/// A recursive lock, held in the object itself: a thread that holds it may take it again and gives
/// it back as often.
class SONREL_EXPORT ZRCriticalSection : public ZRLockTypeBase {
public:
    ZRCriticalSection();
    ~ZRCriticalSection() override;
    ZRCriticalSection(const ZRCriticalSection&) = delete;
    ZRCriticalSection& operator=(const ZRCriticalSection&) = delete;

    void Lock() override;
    void Unlock() override;

private:
    std::recursive_mutex mutex_;
};

/// Holds a lock for the length of a scope and releases it on every way out.
class ZRScopedLock {
public:
    explicit ZRScopedLock(ZRLockTypeBase& lock) : lock_(lock) { lock_.Lock(); }
    ~ZRScopedLock() { lock_.Unlock(); }
    ZRScopedLock(const ZRScopedLock&) = delete;
    ZRScopedLock& operator=(const ZRScopedLock&) = delete;

private:
    ZRLockTypeBase& lock_;
};

}  // namespace zrtl::thread
