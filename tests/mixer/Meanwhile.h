// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <functional>
#include <thread>
#include <utility>

namespace sonrel_tests {

/// Runs work on its own thread, over and over, until the scope ends.
class Meanwhile {
public:
    explicit Meanwhile(std::function<void(int)> work)
        : thread_([this, work = std::move(work)] {
              for (int i = 0; !done_; ++i) {
                  work(i);
                  turns_ = i + 1;
                  std::this_thread::yield();
              }
          }) {}
    ~Meanwhile() {
        done_ = true;
        thread_.join();
    }
    int Turns() const { return turns_; }

private:
    std::atomic<bool> done_ = false;
    std::atomic<int> turns_ = 0;
    std::thread thread_;
};

}  // namespace sonrel_tests
