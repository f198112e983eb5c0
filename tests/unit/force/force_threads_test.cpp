// The buffered acquisition on its own thread, against a card that gives samples as fast as it can.

#include "force_fixture.h"

#include "platform/daqmx.h"
#include "platform/messages.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <numeric>
#include <thread>

namespace {

// Numbers of filled buffers, in the order of their messages.
struct Mail
{
    std::mutex mutex;
    std::condition_variable arrived;
    std::vector<int32_t> numbers;

    int32_t Take()
    {
        std::unique_lock lock(mutex);
        arrived.wait(lock, [this] { return !numbers.empty(); });
        const int32_t number = numbers.front();
        numbers.erase(numbers.begin());
        return number;
    }
};

}  // namespace

static Mail s_mail;

static uint32_t Name(const char *) { return 0xC001; }

static int32_t Deliver(uint32_t, int64_t, int64_t second)
{
    const std::lock_guard lock(s_mail.mutex);
    s_mail.numbers.push_back(static_cast<int32_t>(second >> 22));
    s_mail.arrived.notify_all();
    return 0;
}

static const ZVK_MessageTable kMail = {.registerName = Name, .post = Deliver};

// A card without a clock: each read waits until the reader has taken the buffers before.
static std::atomic<int64_t> s_next;
static std::atomic<int64_t> s_mayRead;

static int32_t EndlessRamp(ZVK_DaqTask, int32_t samples, double, uint32_t, double *out, uint32_t,
                           int32_t *read, uint32_t *)
{
    int64_t allowed = s_mayRead.load();
    while (allowed < s_next.load() + samples) {
        s_mayRead.wait(allowed);
        allowed = s_mayRead.load();
    }
    for (int32_t i = 0; i < samples; ++i)
        out[i] = static_cast<double>(s_next++);
    *read = samples;
    return 0;
}

class ForceThreads : public ForceTest
{
protected:
    void SetUp() override
    {
        ForceTest::SetUp();
        s_mail.numbers.clear();
        UseMessages(&kMail);
        m_table = Daq();
        m_table.readAnalogF64 = EndlessRamp;
        m_recorded = &Daq();
        UseDaq(&m_table);
        s_next = 0;
        s_mayRead = int64_t{1} << 60;
        BringUp();
    }

    void TearDown() override
    {
        s_mayRead = int64_t{1} << 60;
        s_mayRead.notify_all();
        (void)ZVK_Force_StopAcquireBuffered(0);
        UseDaq(m_recorded);
        ForceTest::TearDown();
        UseMessages(nullptr);
    }

private:
    ZVK_DaqTable m_table = {};
    const ZVK_DaqTable *m_recorded = nullptr;
};

TEST_F(ForceThreads, NoSampleIsLostOrDoubledOverManyLaps)
{
    int32_t channels = 0;
    constexpr int32_t kSamples = 2000;
    constexpr int kBuffers = 3;
    s_mayRead = (kBuffers - 1) * kSamples;  // one more and the ring is overrun
    ASSERT_EQ(ZVK_Force_AcquireBuffered(0, -1.0, kBuffers, kSamples, 1.0, 4, &channels), 0);
    std::vector<double> block(kSamples);
    double expected = 0.0;
    for (int lap = 0; lap < 200; ++lap) {
        const int32_t number = s_mail.Take();
        double *data = block.data();
        int32_t reading = 0;
        ASSERT_EQ(ZVK_Force_GrabBuffer(0, number, &data, &reading), 0);
        ASSERT_EQ(reading, 1);
        ASSERT_EQ(number, lap % kBuffers + 1);
        for (const double value : block)
            ASSERT_EQ(value, expected++);
        s_mayRead += kSamples;
        s_mayRead.notify_all();
    }
}

TEST_F(ForceThreads, StartAndStopFromAnyMomentLeaveNothing)
{
    for (int round = 0; round < 200; ++round) {
        int32_t channels = 0;
        ASSERT_EQ(ZVK_Force_AcquireBuffered(0, -1.0, 2, 1000, 1.0, 1, &channels), 0);
        if (round % 3 == 1) std::this_thread::yield();
        ASSERT_EQ(ZVK_Force_StopAcquireBuffered(0), 0);
        ASSERT_EQ(card->OpenTasks(), 0);
        ASSERT_EQ(g_force.Ring, nullptr);
    }
}

TEST_F(ForceThreads, ManyGrabbersAndAStopNeverMeetAFreedBuffer)
{
    for (int round = 0; round < 20; ++round) {
        int32_t channels = 0;
        ASSERT_EQ(ZVK_Force_AcquireBuffered(0, -1.0, 2, 1000, 1.0, 4, &channels), 0);
        std::atomic<bool> stop = false;
        std::vector<std::thread> grabbers;
        for (int i = 0; i < 3; ++i) {
            grabbers.emplace_back([&stop, i] {
                std::vector<double> block(1000);
                while (!stop) {
                    double *data = block.data();
                    (void)ZVK_Force_GrabBuffer(0, 1 + i % 2, &data, nullptr);
                }
            });
        }
        for (int i = 0; i < 20; ++i)
            std::this_thread::yield();
        EXPECT_EQ(ZVK_Force_StopAcquireBuffered(0), 0);
        stop = true;
        for (std::thread &grabber : grabbers)
            grabber.join();
    }
}

static std::chrono::milliseconds StressTime()
{
    const char *seconds = std::getenv("ZVK_STRESS_SECONDS");
    return seconds ? std::chrono::milliseconds(1000 * std::atoi(seconds))
                   : std::chrono::milliseconds(1500);
}

// The next buffer's number, or -1 when the thread has gone and no message is left.
static int32_t TakeOrEnd()
{
    std::unique_lock lock(s_mail.mutex);
    bool gone = false;
    while (s_mail.numbers.empty() && !gone) {
        gone = LoadShared(g_force.ThreadOwed) == 0;  // before the last look at the mail
        if (!gone) s_mail.arrived.wait_for(lock, std::chrono::milliseconds(1));
    }
    if (s_mail.numbers.empty()) return -1;
    const int32_t number = s_mail.numbers.front();
    s_mail.numbers.erase(s_mail.numbers.begin());
    return number;
}

// Grabs buffers in the order of their messages until the acquisition has ended or `most` have been
// taken, and expects an unbroken ramp. Gives how many it took.
static int GrabRamp(int32_t samples, int most)
{
    std::vector<double> block(samples);
    double expected = 0.0;
    for (int taken = 0; taken < most; ++taken) {
        const int32_t number = TakeOrEnd();
        double *data = block.data();
        if (number < 0) return taken;
        EXPECT_EQ(ZVK_Force_GrabBuffer(0, number, &data, nullptr), 0);
        if (data == nullptr) return taken;
        for (const double value : block) {
            if (value == expected++) continue;
            ADD_FAILURE() << "sample " << expected - 1 << " is " << value;
            return taken;
        }
    }
    return most;
}

// The card gives samples as fast as they are taken, so that overruns come by themselves; another
// thread grabs what does not exist, and stops every third round at any moment.
TEST_F(ForceThreads, AtFullPaceEverySampleUpToTheEndComesOnceAndInOrder)
{
    constexpr int32_t kSamples = 2000;
    std::atomic<bool> done = false;
    std::atomic<int> stopAt = -1;
    std::thread other([&done, &stopAt] {
        std::vector<double> block(kSamples);
        for (int32_t turn = 0; !done; ++turn) {
            double *data = block.data();
            const int32_t status = ZVK_Force_GrabBuffer(0, -(turn % 3), &data, nullptr);
            EXPECT_TRUE(status == ZVK_FORCE_BAD_BUFFER || data == nullptr);
            int now = 0;
            if (stopAt.compare_exchange_strong(now, -1)) (void)ZVK_Force_StopAcquireBuffered(0);
            if (now > 0) stopAt.compare_exchange_strong(now, now - 1);
            if (turn % 64 == 0) std::this_thread::yield();
        }
    });
    const auto end = std::chrono::steady_clock::now() + StressTime();
    int64_t taken = 0;
    for (int round = 0; std::chrono::steady_clock::now() < end; ++round) {
        ASSERT_EQ(ZVK_Force_StopAcquireBuffered(0), 0);
        s_mail.numbers.clear();
        s_next = 0;
        int32_t channels = 0;
        ASSERT_EQ(ZVK_Force_AcquireBuffered(0, -1.0, 2 + round % 5, kSamples, 1.0, 4, &channels),
                  0);
        if (round % 3 == 2) stopAt = round % 200;
        taken += GrabRamp(kSamples, round % 2 == 0 ? 1000 : 3);
        stopAt = -1;
    }
    done = true;
    other.join();
    EXPECT_GT(taken, 10);
    EXPECT_EQ(ZVK_Force_StopAcquireBuffered(0), 0);
    EXPECT_EQ(card->OpenTasks(), 0);
}

// A card whose reads wait until the task is stopped. One that comes behind a stop starts the task
// anew, as the driver has it, and waits for the next stop.
static std::atomic<int> s_stops;
static std::atomic<int> s_stopsToEnd;
static std::atomic<int> s_reads;

static int32_t ReadUntilStopped(ZVK_DaqTask, int32_t, double, uint32_t, double *, uint32_t,
                                int32_t *read, uint32_t *)
{
    *read = 0;
    ++s_reads;
    s_reads.notify_all();
    int stops = s_stops;
    while (stops < s_stopsToEnd) {
        s_stops.wait(stops);
        stops = s_stops;
    }
    return -88710;
}

static int32_t CountStop(ZVK_DaqTask)
{
    ++s_stops;
    s_stops.notify_all();
    return 0;
}

class ForceStops : public ForceTest
{
protected:
    void SetUp() override
    {
        ForceTest::SetUp();
        UseMessages(&kMail);
        m_recorded = &Daq();
        m_table = *m_recorded;
        m_table.readAnalogF64 = ReadUntilStopped;
        m_table.stopTask = CountStop;
        UseDaq(&m_table);
        s_stops = 0;
        s_stopsToEnd = 1;
        s_reads = 0;
        BringUp();
    }

    void TearDown() override
    {
        UseDaq(m_recorded);
        ForceTest::TearDown();
        UseMessages(nullptr);
    }

    // Returns when the thread waits in a read.
    static void StartAndAwaitARead()
    {
        int32_t channels = 0;
        s_reads = 0;
        ASSERT_EQ(ZVK_Force_AcquireBuffered(0, -1.0, 2, 1000, 1.0, 1, &channels), 0);
        s_reads.wait(0);
    }

private:
    ZVK_DaqTable m_table = {};
    const ZVK_DaqTable *m_recorded = nullptr;
};

TEST_F(ForceStops, AStopEndsAReadThatWaitsForSamples)
{
    StartAndAwaitARead();
    EXPECT_EQ(ZVK_Force_StopAcquireBuffered(0), 0);
    EXPECT_EQ(s_reads, 1);
    EXPECT_EQ(card->OpenTasks(), 0);
    EXPECT_EQ(g_force.ReadStatus, 1) << "a stop leaves it";
}

TEST_F(ForceStops, AStopEndsAReadThatBeganJustBehindIt)
{
    s_stopsToEnd = 3;
    StartAndAwaitARead();
    EXPECT_EQ(ZVK_Force_StopAcquireBuffered(0), 0);
    EXPECT_EQ(s_stops, 3);
    EXPECT_EQ(card->OpenTasks(), 0);
}

TEST_F(ForceStops, AShutdownEndsAReadThatWaitsForSamples)
{
    StartAndAwaitARead();
    EXPECT_EQ(ZVK_Force_Shutdown(0), 0);
    EXPECT_EQ(s_reads, 1);
    EXPECT_EQ(card->OpenTasks(), 0);
    EXPECT_NE(g_force.Ring, nullptr) << "its buffers stay until a stop";
    EXPECT_EQ(ZVK_Force_StopAcquireBuffered(0), 0);
    EXPECT_EQ(g_force.Ring, nullptr);
}
