// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/FailedReadLog.h"

#include <algorithm>
#include <set>
#include <utility>

namespace orlo::sonrel::detail {

unsigned long long FailedReadLog::Mark() {
    const std::lock_guard lock(mutex_);
    return ++mark_;
}

void FailedReadLog::Add(FailedRead read) {
    const std::lock_guard lock(mutex_);
    for (auto record = records_.rbegin(); record != records_.rend(); ++record) {
        if (record->mark != mark_) break;
        if (record->read.conformedPath == read.conformedPath) return;
    }
    if (records_.size() == MAX_RECORDS) {
        if (records_.front().mark == mark_) return;
        records_.pop_front();
    }
    records_.push_back({mark_, std::move(read)});
}

std::vector<FailedRead> FailedReadLog::Since(unsigned long long mark) const {
    const std::lock_guard lock(mutex_);
    const auto first =
        std::partition_point(records_.begin(), records_.end(),
                             [mark](const Record& record) { return record.mark < mark; });
    std::vector<FailedRead> reads;
    std::set<std::wstring> paths;
    for (auto record = first; record != records_.end(); ++record) {
        if (paths.insert(record->read.conformedPath).second) reads.push_back(record->read);
    }
    return reads;
}

}  // namespace orlo::sonrel::detail
