#include "failing_memory.h"

#include "platform/memory.h"

#include <atomic>
#include <cstdlib>

struct MemoryRecord
{
    std::atomic<int64_t> allocations{0};
    std::atomic<int64_t> live{0};
    std::atomic<int64_t> failAt{0};  // as a count of all allocations; 0: none
    std::atomic<bool> failed{false};
};

static MemoryRecord s_record;

static void *AllocateOrFail(size_t bytes)
{
    const int64_t number = ++s_record.allocations;
    if (number == s_record.failAt) {
        s_record.failed = true;
        return nullptr;
    }
    void *block = std::malloc(bytes);
    if (block) ++s_record.live;
    return block;
}

static void ReleaseAndCount(void *block)
{
    if (block) --s_record.live;
    std::free(block);
}

static constexpr ZVK_MemoryTable kTable = {.allocate = AllocateOrFail, .release = ReleaseAndCount};

FailingMemory::FailingMemory()
{
    s_record.allocations = 0;
    s_record.live = 0;
    FailAt(0);
    UseMemory(&kTable);
}

FailingMemory::~FailingMemory() { UseMemory(nullptr); }

void FailingMemory::FailAt(int64_t nth)
{
    s_record.failAt = nth > 0 ? s_record.allocations + nth : 0;
    s_record.failed = false;
}

bool FailingMemory::Failed() const { return s_record.failed; }

int64_t FailingMemory::Allocations() const { return s_record.allocations; }

int64_t FailingMemory::Live() const { return s_record.live; }
