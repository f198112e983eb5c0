// The thread pool. It grows by a thread whenever no idle one is left, so that a function that never
// ends holds up no other; threads that have nothing to do end, but for a few.

#include "platform/thread_backends.h"

#include <chrono>
#include <condition_variable>
#include <list>
#include <map>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>

constexpr int kNoSuchFunction = -1;
constexpr int kNoRoom = -2;  // memory or threads ran out
constexpr int kStillRuns = 1;

constexpr size_t kIdleKept = 4;

struct PoolJob
{
    int id = 0;
    ZVK_PoolFunction function = nullptr;
    void *data = nullptr;
};

struct JobRecord
{
    bool ended = false;
    bool released = false;
    std::thread::id runner;  // the thread it runs on; none while it waits for one
};

struct Pool
{
    std::mutex guard;  // of all below
    std::condition_variable jobAdded;
    std::condition_variable jobEnded;
    std::list<PoolJob> queue;
    std::map<int, JobRecord> records;  // of each id that is in use
    size_t idle = 0;                   // threads that wait for a job
    int lastId = 0;
};

static Pool &ThePool()
{
    static NeverDestroyed<Pool> pool;
    return pool.Get();
}

// Ids start again after the largest one, and one that is still in use is left out.
static int NextId(Pool &pool)
{
    do {
        pool.lastId = pool.lastId == INT32_MAX ? 1 : pool.lastId + 1;
    } while (pool.records.contains(pool.lastId));
    return pool.lastId;
}

static void Run(const PoolJob &job) noexcept
{
    (void)job.function(job.data);  // the pool has no use for the result
}

static void EndJob(Pool &pool, int id)
{
    const auto record = pool.records.find(id);
    record->second.ended = true;
    if (record->second.released) pool.records.erase(record);
    pool.jobEnded.notify_all();
}

static void WorkerLoop(Pool &pool)
{
    std::unique_lock lock(pool.guard);
    for (;;) {
        if (pool.queue.empty()) {
            if (pool.idle >= kIdleKept) return;
            ++pool.idle;
            pool.jobAdded.wait(lock, [&] { return !pool.queue.empty(); });
            --pool.idle;
        }
        const PoolJob job = pool.queue.front();
        pool.queue.pop_front();
        pool.records[job.id].runner = std::this_thread::get_id();
        lock.unlock();
        Run(job);
        lock.lock();
        EndJob(pool, job.id);
    }
}

static void AddWorkerIfNeeded(Pool &pool)
{
    if (pool.idle >= pool.queue.size()) return;
    std::thread([&pool] { WorkerLoop(pool); }).detach();
}

int PoolSchedule(ZVK_PoolFunction function, void *data, int *functionId)
{
    if (!function || !functionId) return kNoSuchFunction;
    try {
        Pool &pool = ThePool();
        const std::lock_guard lock(pool.guard);
        const int id = NextId(pool);
        pool.records[id] = {};
        try {
            pool.queue.push_back({id, function, data});
        } catch (const std::bad_alloc &) {
            pool.records.erase(id);
            return kNoRoom;
        }
        try {
            AddWorkerIfNeeded(pool);
        } catch (const std::exception &) {  // no thread to be had, or no memory for one
            pool.queue.pop_back();
            pool.records.erase(id);
            return kNoRoom;
        }
        *functionId = id;  // before the function can be seen to end, since the lock is held
        pool.jobAdded.notify_one();
        return 0;
    } catch (const std::exception &) {
        return kNoRoom;
    }
}

// `waitFor` gets the lock and what is waited for; it gives what it answers.
template <class Wait>
static int WaitForJob(int functionId, Wait waitFor)
{
    if (functionId <= 0) return kNoSuchFunction;
    Pool &pool = ThePool();
    std::unique_lock lock(pool.guard);
    const auto found = pool.records.find(functionId);
    if (found == pool.records.end() || found->second.released) return kNoSuchFunction;
    if (found->second.runner == std::this_thread::get_id()) return kNoSuchFunction;  // for ever
    // Looked up anew each time: another thread may release the id, which ends the record with the
    // job.
    return waitFor(pool.jobEnded, lock, [&] {
        const auto record = pool.records.find(functionId);
        return record == pool.records.end() || record->second.ended;
    });
}

int PoolWait(int functionId)
{
    return WaitForJob(functionId, [](auto &ended, auto &lock, auto hasEnded) {
        ended.wait(lock, hasEnded);
        return 0;
    });
}

int PoolWaitAtMost(int functionId, double seconds)
{
    return WaitForJob(functionId, [seconds](auto &ended, auto &lock, auto hasEnded) {
        const std::chrono::duration<double> time(seconds);
        return ended.wait_for(lock, time, hasEnded) ? 0 : kStillRuns;
    });
}

int PoolRelease(int functionId)
{
    if (functionId <= 0) return kNoSuchFunction;
    Pool &pool = ThePool();
    const std::lock_guard lock(pool.guard);
    const auto found = pool.records.find(functionId);
    if (found == pool.records.end() || found->second.released) return kNoSuchFunction;
    if (found->second.ended) {
        pool.records.erase(found);
    } else {
        found->second.released = true;
    }
    return 0;
}
