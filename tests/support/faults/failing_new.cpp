#include "failing_new.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

#include <dlfcn.h>

static constinit std::atomic<int64_t> s_live{0};
static constinit std::atomic<int64_t> s_untilFailure{0};  // 0: not armed
static constinit std::atomic<bool> s_allThreads{false};
static constinit std::atomic<bool> s_failed{false};
static constinit thread_local bool t_armedHere = false;

static constinit thread_local const char *t_passOver = nullptr;
static constinit thread_local int64_t t_counted = 0;

// `caller` is an address inside the function that asks.
static void Count(const void *caller)
{
    if (!t_passOver) return;
    Dl_info place{};
    if (dladdr(caller, &place) != 0 && place.dli_fname && std::strstr(place.dli_fname, t_passOver))
        return;
    ++t_counted;
}

static bool MustFail()
{
    if (s_untilFailure.load(std::memory_order_relaxed) <= 0) return false;
    if (!t_armedHere && !s_allThreads) return false;
    if (s_untilFailure.fetch_sub(1) != 1) return false;
    s_failed = true;
    return true;
}

static void *Counted(void *block)
{
    if (!block) throw std::bad_alloc();
    s_live.fetch_add(1, std::memory_order_relaxed);
    return block;
}

static void ReleaseCounted(void *block)
{
    if (block) s_live.fetch_sub(1, std::memory_order_relaxed);
    std::free(block);
}

// The other forms of new and delete are made of these by the language's library.
void *operator new(size_t bytes)
{
    Count(__builtin_return_address(0));
    if (MustFail()) throw std::bad_alloc();
    return Counted(std::malloc(bytes > 0 ? bytes : 1));
}

void *operator new(size_t bytes, std::align_val_t alignment)
{
    Count(__builtin_return_address(0));
    if (MustFail()) throw std::bad_alloc();
    const size_t step = static_cast<size_t>(alignment);
    const size_t rounded = (bytes + step - 1) / step * step;
    return Counted(std::aligned_alloc(step, rounded > 0 ? rounded : step));
}

void *operator new(size_t bytes, const std::nothrow_t &) noexcept
{
    Count(__builtin_return_address(0));
    if (MustFail()) return nullptr;
    return Counted(std::malloc(bytes > 0 ? bytes : 1));
}

void operator delete(void *block) noexcept { ReleaseCounted(block); }

void operator delete(void *block, const std::nothrow_t &) noexcept { ReleaseCounted(block); }

void operator delete(void *block, size_t) noexcept { ReleaseCounted(block); }

void operator delete(void *block, std::align_val_t) noexcept { ReleaseCounted(block); }

void operator delete(void *block, size_t, std::align_val_t) noexcept { ReleaseCounted(block); }

FailingNew::FailingNew(int64_t nth, Reach reach)
{
    s_failed = false;
    s_allThreads = reach == ALL_THREADS;
    t_armedHere = true;
    s_untilFailure = nth;
}

FailingNew::~FailingNew()
{
    s_untilFailure = 0;
    s_allThreads = false;
    t_armedHere = false;
}

bool FailingNew::Failed() const { return s_failed; }

int64_t LiveNewBlocks() { return s_live; }

AllocationsBut::AllocationsBut(const char *library)
{
    t_counted = 0;
    t_passOver = library;
}

AllocationsBut::~AllocationsBut() { t_passOver = nullptr; }

int64_t AllocationsBut::Count() const { return t_counted; }
