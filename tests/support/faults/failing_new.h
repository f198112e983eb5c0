#ifndef QUORVEX_TESTS_FAILING_NEW_H
#define QUORVEX_TESTS_FAILING_NEW_H

// Lets a chosen C++ allocation fail. Programs below tests/faults have operator new replaced for
// this; the general heap's table (failing_memory.h) is another thing, and is not counted here.

#include <cstdint>

class FailingNew
{
public:
    enum Reach
    {
        THIS_THREAD,  // allocations of other threads are neither counted nor failed
        ALL_THREADS
    };

    // As long as the object lives, the nth allocation from here on fails once, 1 being the next
    // one. One object at a time.
    explicit FailingNew(int64_t nth, Reach reach = THIS_THREAD);
    ~FailingNew();
    FailingNew(const FailingNew &) = delete;
    FailingNew &operator=(const FailingNew &) = delete;

    // Whether the allocation that was to fail has been asked for.
    bool Failed() const;
};

// C++ blocks of all threads that are out: a difference of two readings shows a leak.
int64_t LiveNewBlocks();

// Counts this thread's C++ allocations, as long as the object lives, but for those that one outside
// library asks for. The C library's own heap calls are not seen. One object at a time.
class AllocationsBut
{
public:
    // A part of the library's file name, such as "libopencv".
    explicit AllocationsBut(const char *library);
    ~AllocationsBut();
    AllocationsBut(const AllocationsBut &) = delete;
    AllocationsBut &operator=(const AllocationsBut &) = delete;

    int64_t Count() const;
};

// Runs `call` with the first C++ allocation of this thread failing, then the second, and so on,
// until none fails. `check`, a function of a bool, sees after each run whether one failed. Gives
// the number of allocations. Nothing of the test itself belongs into `call`.
//
//     FailEachAllocation([&] { status = ZVK_...; },
//                        [&](bool failed) { EXPECT_EQ(status, failed ? ZVK_..._NO_MEMORY : 0); });
template <class Call, class Check>
int FailEachAllocation(Call call, Check check)
{
    for (int nth = 1;; ++nth) {
        bool failed = false;
        {
            const FailingNew allocations(nth);
            call();
            failed = allocations.Failed();
        }
        check(failed);
        if (!failed) return nth - 1;
    }
}

#endif
