// SPDX-License-Identifier: MIT
#include "sonrel/mixer/detail/MixBlockPool.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstddef>
#include <new>

namespace orlo::sonrel::detail {
namespace {

constexpr std::size_t BLOCK_BYTES = MixBlockPool::BLOCK_FLOATS * sizeof(float);

/// Fresh pages straight from the system: zero without being touched, whatever state the heap is in.
boost::shared_array<float> AllocateZeroedBlock() {
    void* pages = mmap(nullptr, BLOCK_BYTES, PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (pages == MAP_FAILED) throw std::bad_alloc();
    return boost::shared_array<float>(static_cast<float*>(pages),
                                      [](float* block) { munmap(block, BLOCK_BYTES); });
}

}  // namespace

int MixBlockPool::Take() {
    if (static_cast<std::size_t>(depth_) == blocks_.size()) {
        blocks_.push_back({AllocateZeroedBlock(), 0});
    }
    return depth_++;
}

boost::shared_array<float> MixBlockPool::Zeroed(int taken, int frames) {
    Block& block = blocks_[static_cast<std::size_t>(taken)];
    std::fill_n(block.floats.get(), block.writtenFloats, 0.0f);
    block.writtenFloats = 2 * frames;
    return block.floats;
}

}  // namespace orlo::sonrel::detail
