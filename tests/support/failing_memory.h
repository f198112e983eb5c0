#ifndef QUORVEX_TESTS_FAILING_MEMORY_H
#define QUORVEX_TESTS_FAILING_MEMORY_H

// A general heap that fails when told and counts the blocks that are out. It is in use as long as
// the object lives.
//
//     FailingMemory memory;
//     memory.FailAt(2);                      // the second allocation from here on
//     EXPECT_EQ(ZVK_..., ZVK_..._NO_MEMORY);
//     EXPECT_TRUE(memory.Failed());
//     EXPECT_EQ(memory.Live(), 0);

#include <cstdint>

class FailingMemory
{
public:
    FailingMemory();
    ~FailingMemory();
    FailingMemory(const FailingMemory &) = delete;
    FailingMemory &operator=(const FailingMemory &) = delete;

    // Lets the nth allocation from now fail, 1 being the next one; 0: none.
    void FailAt(int64_t nth);
    // Whether the allocation that was to fail has been asked for.
    bool Failed() const;

    int64_t Allocations() const;  // asked for so far, with those that failed
    int64_t Live() const;         // blocks given and not released
};

#endif
