// SPDX-License-Identifier: MIT
#include "sonrel/media/ConversionObserver.h"

#include <utility>

#include "sonrel/media/input/ThreadScopes.h"

namespace zrh::media {

using detail::ThreadScopes;

ConversionObserver::ConversionObserver(Function function)
    : function_(std::move(function)),
      outer_(std::exchange(ThreadScopes::Current().conversion, this)) {}

ConversionObserver::~ConversionObserver() {
    ThreadScopes::Current().conversion = outer_;
}

bool ConversionObserver::Notify(long long doneFrames, long long totalFrames) {
    const ConversionObserver* observer = ThreadScopes::Current().conversion;
    if (observer == nullptr || !observer->function_) return true;
    return observer->function_(doneFrames, totalFrames);
}

void ConversionObserver::NoteFailure(const std::string& reason) {
    ConversionObserver* observer = ThreadScopes::Current().conversion;
    if (observer != nullptr) observer->failure_ = reason;
}

}  // namespace zrh::media
