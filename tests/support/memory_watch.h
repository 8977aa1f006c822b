// Stands in for the library's memory functions: every block ends at an unreadable page, blocks that are still
// alive are counted, and a chosen allocation can be made to fail.
#pragma once

#include <initializer_list>

namespace test {

class MemoryWatch {
 public:
    // failAt: the allocation to fail, counted from 1, and every later one too if forGood; 0 fails none.
    explicit MemoryWatch(int failAt = 0, bool forGood = false);
    ~MemoryWatch();
    MemoryWatch(const MemoryWatch&) = delete;
    MemoryWatch& operator=(const MemoryWatch&) = delete;

    int allocations() const;
    int live() const;  // blocks not yet released
    bool failed() const { return allocations() >= failAt_ && failAt_ > 0; }

 private:
    int failAt_;
};

// Runs call() with its first, second, third ... allocation failing, until it runs through without one
// failing. check(n, forGood) is called after each failure, with the watch that has seen it.
template <class Call, class Check>
int failEveryAllocation(Call call, Check check) {
    for (int n = 1;; n++) {
        for (const bool forGood : {false, true}) {
            MemoryWatch watch(n, forGood);
            const int result = call();
            if (!watch.failed()) return n - 1;
            check(n, result, watch);
        }
    }
}

}  // namespace test
