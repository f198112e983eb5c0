#include "steering_fixture.h"

#include "imaging/overlay_switches.h"
#include "steering/galvo_gate.h"

#include <sstream>

constexpr int64_t kFirstSecond = 1'000'000;

std::ostream &operator<<(std::ostream &out, const Position &position)
{
    return out << '(' << position.x << ", " << position.y << ')';
}

void SteeringTest::SetUp()
{
    setSeconds(kFirstSecond);
    writeConfig(TwoPathsConfig());
    writeObjective(TwoPathsObjective());
    resetSteering();
}

void SteeringTest::TearDown() { resetSteering(); }

void SteeringTest::resetSteering()
{
    SetUpdating(0);
    ZVK_Trap_Shutdown(0);
    ZVK_CoordinateSystems_Shutdown(0);
    g_trap = {};
    for (ZVK_TrafoState &row : g_trafo)
        row = {};
    g_galvoDaq = {};
    for (ZVK_GalvoState &row : g_galvo)
        row = {};
    SetSdkOverlay(0);
    SetTrapMarkers(0);
    (void)capturedWarnings();
}

// Rewrites the nth line of the key; an empty line takes it out.
static std::string Edit(const std::string &text, const std::string &key, const std::string &line,
                        int nth)
{
    std::istringstream in(text);
    std::string out;
    std::string now;
    while (std::getline(in, now)) {
        const bool isIt = now.rfind(key + " =", 0) == 0 && --nth == 0;
        if (!isIt) out += now + "\n";
        if (isIt && !line.empty()) out += line + "\n";
    }
    EXPECT_LE(nth, 0) << "no such line: " << key;
    return out;
}

std::string SteeringTest::without(const std::string &text, const std::string &key, int nth)
{
    return Edit(text, key, "", nth);
}

std::string SteeringTest::with(const std::string &text, const std::string &key,
                               const std::string &value, int nth)
{
    return Edit(text, key, key + " = " + value, nth);
}

void SteeringTest::setSeconds(int64_t seconds)
{
    m_seconds = seconds;
    clock.SetUnixSeconds(seconds);
}

void SteeringTest::nextSecond() { setSeconds(m_seconds + 1); }

void SteeringTest::holdBuffer() { SetUpdating(1); }

void SteeringTest::releaseBuffer() { SetUpdating(0); }

void SteeringTest::keepBufferInUse(int waits)
{
    holdBuffer();
    const int64_t last = clock.Breaths() + waits;
    clock.OnWait([this, last] {
        if (clock.Breaths() >= last) releaseBuffer();
    });
}

void SteeringTest::bringUpTraps()
{
    ASSERT_EQ(ZVK_Trap_Init(0, 0, 0, ZVK_PATH_A, "A_1"), 0);
    ASSERT_EQ(ZVK_Trap_Init(0, 0, 0, ZVK_PATH_B, "B_1"), 0);
}

void SteeringTest::bringUpCoordinates() { ASSERT_EQ(ZVK_CoordinateSystems_Init(0, 0, 0), 0); }

void SteeringTest::bringUp()
{
    bringUpTraps();
    bringUpCoordinates();
}

int32_t SteeringTest::addTrap(int32_t path, double x, double y, const char *name)
{
    nextSecond();
    int32_t index = 0;
    EXPECT_EQ(ZVK_Trap_Add(0, path, &index, 1.0, name, x, y, ZVK_UNIT_VOLT), 0);
    return index;
}

ZVK_TNode *SteeringTest::node(int32_t path, int32_t place)
{
    ZVK_TNode *found = g_trap.head[path];
    while (found != nullptr && place-- > 0)
        found = found->next;
    return found;
}

int32_t SteeringTest::indexOf(int32_t path, int32_t place)
{
    const ZVK_TNode *found = node(path, place);
    return found ? found->index : -1;
}

int32_t SteeringTest::trapCount(int32_t path) { return CountTraps(g_trap.head[path]); }

std::vector<int32_t> SteeringTest::waypoints(int32_t path)
{
    std::vector<int32_t> numbers;
    for (const ZVK_TNode *node = g_trap.head[path]; node != nullptr; node = node->next)
        numbers.push_back(node->wp);
    return numbers;
}

Position SteeringTest::mirrors(int32_t path, int32_t wp)
{
    Position now = {};
    EXPECT_EQ(ZVK_Galvo_GetPositionCurrent(0, path, wp, &now.x, &now.y), 0);
    return now;
}

std::vector<int32_t> SteeringTest::capturedWarnings()
{
    int32_t count = 0;
    ZVK_error_GetWarnings(0, &count, nullptr);
    std::vector<int32_t> codes(count);
    if (count > 0) ZVK_error_GetWarnings(0, &count, codes.data());
    return codes;
}
