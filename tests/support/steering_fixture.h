#ifndef QUORVEX_TESTS_STEERING_FIXTURE_H
#define QUORVEX_TESTS_STEERING_FIXTURE_H

// An instrument folder of its own, a clock that stands still, timers that tick when told, and the
// steering modules as they are at load.

#include "quorvex/quorvex.h"
#include "scratch_folder.h"
#include "steering/coordinates.h"
#include "steering/galvo.h"
#include "steering/trap.h"
#include "test_clock.h"
#include "test_timers.h"
#include "two_paths.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

struct Position
{
    double x;
    double y;
};

inline bool operator==(const Position &a, const Position &b) { return a.x == b.x && a.y == b.y; }
std::ostream &operator<<(std::ostream &out, const Position &position);

class SteeringTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    // The modules as they are when the library is loaded. The folder and the clock stay.
    static void resetSteering();

    // -- the instrument folder: the one of the scene with two paths, until a test writes another --
    void writeConfig(const std::string &text) const { folder.Write("config.ini", text); }
    void writeObjective(const std::string &text) const { folder.Write("default.odf", text); }

    // The text without the line of that key; of the first such line, or of the nth.
    static std::string without(const std::string &text, const std::string &key, int nth = 1);

    // The text with that line's value replaced.
    static std::string with(const std::string &text, const std::string &key,
                            const std::string &value, int nth = 1);

    // -- the clock stands still --
    void setSeconds(int64_t seconds);
    void nextSecond();

    // -- the galvo module's buffer is in use, as while its output event works on it --
    static void holdBuffer();
    static void releaseBuffer();
    void keepBufferInUse(int waits);  // until a retry loop has waited so many times

    // -- bringing modules up; all of it must succeed --
    static void bringUpTraps();        // both paths, with the labels "A_1" and "B_1"
    static void bringUpCoordinates();  // both paths
    static void bringUp();             // both of the above
    int32_t addTrap(int32_t path, double x, double y, const char *name = "T");  // V; its index

    // -- what is there now --
    static ZVK_TNode *node(int32_t path, int32_t place = 0);  // 0 is the newest
    static int32_t indexOf(int32_t path, int32_t place = 0);  // 0 is the newest
    static int32_t trapCount(int32_t path);
    static std::vector<int32_t> waypoints(int32_t path);  // of the traps, newest first
    static Position mirrors(int32_t path, int32_t wp);    // what the galvo module tells, V
    static std::vector<int32_t> capturedWarnings();       // and forgets them

    ScratchFolder folder;
    TestClock clock;
    TestTimers timers;

private:
    int64_t m_seconds = 0;
};

#endif
