// SPDX-License-Identifier: MIT
#include "sonrel/base/ZRCriticalSection.h"

namespace zrtl::thread {

ZRLockTypeBase::~ZRLockTypeBase() = default;

ZRCriticalSection::ZRCriticalSection() = default;
ZRCriticalSection::~ZRCriticalSection() = default;

void ZRCriticalSection::Lock() {
    mutex_.lock();
}
void ZRCriticalSection::Unlock() {
    mutex_.unlock();
}

}  // namespace zrtl::thread
