#ifndef QUORVEX_TESTS_FAILING_NEW_H
#define QUORVEX_TESTS_FAILING_NEW_H

// Lets a chosen C++ allocation fail. Programs below tests/faults have operator new replaced for
// this; the general heap's table (failing_memory.h) is another thing, and is not counted here.
//
//     bool failed = true;
//     for (int nth = 1; failed; ++nth) {
//         int32_t status = 0;
//         {
//             FailingNew allocations(nth);
//             status = ZVK_...;            // nothing of the test itself in here
//             failed = allocations.Failed();
//         }
//         EXPECT_EQ(status, failed ? ZVK_..._NO_MEMORY : 0);
//     }

#include <cstdint>

class FailingNew
{
public:
    enum Reach
    {
        THIS_THREAD, // allocations of other threads are neither counted nor failed
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

#endif
