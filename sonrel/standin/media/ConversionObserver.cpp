// SPDX-License-Identifier: MIT
#include "sonrel/standin/media/ConversionObserver.h"

#include <utility>

namespace zrh::media {
namespace {

thread_local ConversionObserver* innermost = nullptr;

}  // namespace

ConversionObserver::ConversionObserver(Function function)
    : function_(std::move(function)), outer_(innermost) {
    innermost = this;
}

ConversionObserver::~ConversionObserver() {
    innermost = outer_;
}

bool ConversionObserver::Notify(long long doneFrames, long long totalFrames) {
    if (innermost == nullptr || !innermost->function_) return true;
    return innermost->function_(doneFrames, totalFrames);
}

}  // namespace zrh::media
