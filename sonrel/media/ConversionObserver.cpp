// SPDX-License-Identifier: MIT
#include "sonrel/media/ConversionObserver.h"

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

void ConversionObserver::NoteFailure(const std::string& reason) {
    if (innermost != nullptr) innermost->failure_ = reason;
}

}  // namespace zrh::media
