#include "platform/memory.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

static void *HeapAllocate(size_t bytes) { return std::malloc(bytes); }

static void HeapRelease(void *block) { std::free(block); }

static const ZVK_MemoryTable kHeap = {HeapAllocate, HeapRelease};
static std::atomic<const ZVK_MemoryTable *> s_memory{&kHeap};

const ZVK_MemoryTable &Memory() { return *s_memory.load(std::memory_order_acquire); }

void UseMemory(const ZVK_MemoryTable *table)
{
    s_memory.store(table ? table : &kHeap, std::memory_order_release);
}

// 0 when the size overflows.
static size_t BytesOf(int64_t count, size_t valueSize)
{
    const size_t values = count > 0 ? static_cast<size_t>(count) : 0;
    size_t bytes = 0;
    if (__builtin_mul_overflow(values, valueSize, &bytes)) return 0;
    return bytes > 0 ? bytes : 1;
}

void *AllocateZeroed(int64_t count, size_t valueSize)
{
    void *block = AllocateUnset(count, valueSize);
    if (block) std::memset(block, 0, BytesOf(count, valueSize));
    return block;
}

void *AllocateUnset(int64_t count, size_t valueSize)
{
    const size_t bytes = BytesOf(count, valueSize);
    return bytes > 0 ? Memory().allocate(bytes) : nullptr;
}
