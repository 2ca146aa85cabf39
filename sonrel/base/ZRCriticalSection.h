// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>

#include "sonrel/base/Export.h"

namespace zrtl::thread {

/// A lock.
class SONREL_EXPORT ZRLockTypeBase {
public:
    virtual ~ZRLockTypeBase() = default;
    virtual void Lock() = 0;    ///< waits for the lock and takes it
    virtual void Unlock() = 0;  ///< releases the lock
};

/// A recursive lock: a thread that holds it may take it again, and releases it as many times as it
/// took it. The lock is stored in the object. The class is header-only.
class SONREL_EXPORT ZRCriticalSection : public ZRLockTypeBase {
public:
    ZRCriticalSection() = default;
    ~ZRCriticalSection() override = default;
    ZRCriticalSection(const ZRCriticalSection&) = delete;
    ZRCriticalSection& operator=(const ZRCriticalSection&) = delete;

    void Lock() override { mutex_.lock(); }      ///< waits for the lock and takes it
    void Unlock() override { mutex_.unlock(); }  ///< releases the lock

private:
    std::recursive_mutex mutex_;
};

/// Holds a lock until the end of a scope and releases it on every way out.
class ZRScopedLock {
public:
    explicit ZRScopedLock(ZRLockTypeBase& lock) : lock_(lock) { lock_.Lock(); }  ///< takes the lock
    ~ZRScopedLock() { lock_.Unlock(); }
    ZRScopedLock(const ZRScopedLock&) = delete;
    ZRScopedLock& operator=(const ZRScopedLock&) = delete;

private:
    ZRLockTypeBase& lock_;
};

}  // namespace zrtl::thread
