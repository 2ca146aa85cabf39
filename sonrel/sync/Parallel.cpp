// SPDX-License-Identifier: MIT
#include "sonrel/sync/detail/Parallel.h"

#include <algorithm>
#include <thread>
#include <vector>

namespace orlo::sonrel::detail {
namespace {

unsigned long long ChunkCount(unsigned long long count, const ChunkPlan& plan) {
    const unsigned long long concurrency = std::max(1U, plan.concurrency);
    if (plan.smallestChunk == 0) return std::max(1ULL, std::min(count, concurrency));
    return std::min(concurrency, std::max(1ULL, count / plan.smallestChunk));
}

}  // namespace

unsigned int HardwareConcurrency() {
    static const unsigned int CONCURRENCY = std::max(1U, std::thread::hardware_concurrency());
    return CONCURRENCY;
}

void RunInParallel(unsigned long long count, const ChunkWork& work, const ChunkPlan& plan) {
    const unsigned long long chunks = ChunkCount(count, plan);
    const unsigned long long size = count / chunks;
    std::vector<std::future<void>> tasks;
    tasks.reserve(chunks - 1);
    for (unsigned long long chunk = 0; chunk + 1 < chunks; ++chunk) {
        tasks.push_back(std::async(plan.launch, std::cref(work), chunk * size, (chunk + 1) * size));
    }
    work((chunks - 1) * size, count);
    for (std::future<void>& task : tasks) task.get();
}

void RunInParallel(unsigned long long count, const ChunkWork& work, unsigned int smallestChunk) {
    ChunkPlan plan;
    plan.smallestChunk = smallestChunk;
    RunInParallel(count, work, plan);
}

}  // namespace orlo::sonrel::detail
