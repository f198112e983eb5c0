// The buffered acquisition on its own thread, against a card that gives samples as fast as it can.

#include "force_fixture.h"

#include "platform/daqmx.h"
#include "platform/messages.h"

#include <atomic>
#include <condition_variable>
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
