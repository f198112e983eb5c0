#ifndef QUORVEX_PLATFORM_MEMORY_H
#define QUORVEX_PLATFORM_MEMORY_H

// The general heap, behind a table that a test can make fail. Every block whose failure has a
// status of its own, and every table that a client gets, comes from here.

#include <cstddef>
#include <cstdint>

struct ZVK_MemoryTable
{
    void *(*allocate)(size_t bytes);  // null when there is no room; contents undefined
    void (*release)(void *block);     // null is harmless
};

const ZVK_MemoryTable &Memory();               // the table in use
void UseMemory(const ZVK_MemoryTable *table);  // null: malloc and free

// Room for `count` values, all bytes zero. A negative count gives room for none. Null when the size
// overflows or memory is exhausted. A count of 0 gives a block all the same, so that null always
// means failure.
void *AllocateZeroed(int64_t count, size_t valueSize);
// The same with contents undefined, for a large array that is written whole at once.
void *AllocateUnset(int64_t count, size_t valueSize);

template <class T>
T *AllocateArray(int64_t count)
{
    return static_cast<T *>(AllocateZeroed(count, sizeof(T)));
}

// Frees the block and clears the pointer.
template <class T>
void Release(T *&block)
{
    Memory().release(block);
    block = nullptr;
}

#endif
