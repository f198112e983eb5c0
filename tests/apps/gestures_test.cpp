#include "gestures.h"

#include <gtest/gtest.h>

constexpr int32_t kShift = 16;

static Scene TwoTraps() { return {{{0, 1, 100.0, 100.0}, {1, 4, 200.0, 150.0}}, 8.0, 0}; }

static MouseMessage Move(int32_t x, int32_t y, int32_t flags = 1) { return {0, flags, x, y}; }
static MouseMessage Down(int32_t x, int32_t y, int32_t flags = 1) { return {1, flags, x, y}; }
static MouseMessage Up(int32_t x, int32_t y) { return {4, 1, x, y}; }

static void Expect(const Decision &decision, Deed deed, int32_t path, int32_t index, double x,
                   double y)
{
    EXPECT_EQ(decision.deed, deed);
    EXPECT_EQ(decision.path, path);
    EXPECT_EQ(decision.index, index);
    EXPECT_DOUBLE_EQ(decision.x, x);
    EXPECT_DOUBLE_EQ(decision.y, y);
}

TEST(MouseMessages, AreUnpackedWithTheirSigns)
{
    const MouseMessage click = UnpackMouseMessage((9 << 4) | 1, (300 << 12) | 400);
    EXPECT_EQ(click.event, 1);
    EXPECT_EQ(click.flags, 9);
    EXPECT_EQ(click.x, 400);
    EXPECT_EQ(click.y, 300);

    const auto back = static_cast<int32_t>((0xFF880000U << 4) | 10U);
    const MouseMessage wheel = UnpackMouseMessage(back, 0);
    EXPECT_EQ(wheel.event, 10);
    EXPECT_EQ(wheel.flags >> 16, -120);
}

TEST(MouseMessages, MovesThatOthersHavePassedAreLeftOut)
{
    const std::vector<MouseMessage> kept = WithoutPassedMoves(
        {Down(1, 1), Move(2, 2), Move(3, 3), Move(4, 4, 0), Up(5, 5), Move(6, 6), Move(7, 7)});
    ASSERT_EQ(kept.size(), 5U);
    EXPECT_EQ(kept[1].x, 3);
    EXPECT_EQ(kept[2].x, 4) << "with another button";
    EXPECT_EQ(kept[3].event, 4);
    EXPECT_EQ(kept[4].x, 7);
    EXPECT_TRUE(WithoutPassedMoves({}).empty());
}

TEST(TrapAt, GivesTheNearestWithinReach)
{
    const std::vector<TrapSpot> traps = {{0, 1, 10.0, 10.0, ""}, {0, 2, 16.0, 10.0, ""}};
    EXPECT_EQ(TrapAt(traps, 12.0, 10.0, 8.0)->index, 1);
    EXPECT_EQ(TrapAt(traps, 14.0, 10.0, 8.0)->index, 2);
    EXPECT_EQ(TrapAt(traps, 13.0, 10.0, 8.0)->index, 1) << "at the same distance the first";
    EXPECT_EQ(TrapAt(traps, 24.0, 10.0, 8.0)->index, 2) << "just in reach";
    EXPECT_EQ(TrapAt(traps, 24.1, 10.0, 8.0), nullptr);
    EXPECT_EQ(TrapAt({}, 0.0, 0.0, 8.0), nullptr);
}

TEST(MayAdd, OnlyOneTrapOfAPathInASecond)
{
    const std::vector<TrapSpot> traps = {{0, 1000, 0.0, 0.0, ""}, {1, 1001, 0.0, 0.0, ""}};
    EXPECT_FALSE(MayAdd(traps, 0, 1000));
    EXPECT_TRUE(MayAdd(traps, 0, 1001));
    EXPECT_FALSE(MayAdd(traps, 1, 1001));
    EXPECT_TRUE(MayAdd({}, 0, 1000));
}

TEST(Gesture, ClickOnEmptySpaceAddsATrapWhereItWasPressed)
{
    Gesture gesture;
    EXPECT_EQ(gesture.Step(Down(50, 60), TwoTraps()).deed, Deed::nothing);
    EXPECT_EQ(gesture.Step(Move(53, 60), TwoTraps()).deed, Deed::nothing);
    Expect(gesture.Step(Up(53, 60), TwoTraps()), Deed::add, 0, 0, 50.0, 60.0);
}

TEST(Gesture, ShiftAddsToTheOtherPath)
{
    Gesture gesture;
    (void)gesture.Step(Down(50, 60, 1 | kShift), TwoTraps());
    Expect(gesture.Step(Up(50, 60), TwoTraps()), Deed::add, 1, 0, 50.0, 60.0);
    Scene onB = TwoTraps();
    onB.addPath = 1;
    (void)gesture.Step(Down(50, 60, 1 | kShift), onB);
    EXPECT_EQ(gesture.Step(Up(50, 60), onB).path, 0);
}

TEST(Gesture, StrokeAcrossEmptySpaceDoesNothing)
{
    Gesture gesture;
    (void)gesture.Step(Down(50, 60), TwoTraps());
    EXPECT_EQ(gesture.Step(Move(100, 100), TwoTraps()).deed, Deed::nothing) << "nor takes a trap";
    EXPECT_EQ(gesture.Step(Up(100, 100), TwoTraps()).deed, Deed::nothing);
}

TEST(Gesture, DragMovesTheTrapWithoutAJump)
{
    Gesture gesture;
    Expect(gesture.Step(Down(103, 98), TwoTraps()), Deed::take, 0, 1, 100.0, 100.0);
    Expect(gesture.Step(Move(113, 108), TwoTraps()), Deed::move, 0, 1, 110.0, 110.0);
    // Another trap on the way is left alone.
    Expect(gesture.Step(Move(203, 148), TwoTraps()), Deed::move, 0, 1, 200.0, 150.0);
    Expect(gesture.Step(Up(204, 148), TwoTraps()), Deed::move, 0, 1, 201.0, 150.0);
    EXPECT_EQ(gesture.Step(Move(250, 150), TwoTraps()).deed, Deed::nothing);
}

TEST(Gesture, DragEndsWhenTheButtonCameUpUnheard)
{
    Gesture gesture;
    (void)gesture.Step(Down(100, 100), TwoTraps());
    EXPECT_EQ(gesture.Step(Move(120, 120, 0), TwoTraps()).deed, Deed::nothing);
    EXPECT_EQ(gesture.Step(Move(130, 130, 1), TwoTraps()).deed, Deed::nothing);
}

TEST(Gesture, RightClickDeletesTheTrapUnderIt)
{
    Gesture gesture;
    Expect(gesture.Step({2, 2, 198, 152}, TwoTraps()), Deed::remove, 1, 4, 200.0, 150.0);
    EXPECT_EQ(gesture.Step({2, 2, 50, 50}, TwoTraps()).deed, Deed::nothing);
}

TEST(Gesture, WheelZoomsAtThePointer)
{
    Gesture gesture;
    const Decision in = gesture.Step({10, 120 << 16, 30, 40}, TwoTraps());
    Expect(in, Deed::zoom, 0, 0, 30.0, 40.0);
    EXPECT_DOUBLE_EQ(in.factor, 1.25);
    const Decision out = gesture.Step({10, -120 * 65536 + 8, 30, 40}, TwoTraps());
    EXPECT_DOUBLE_EQ(out.factor, 1.0 / 1.25);
}

TEST(Gesture, OtherEventsDoNothing)
{
    Gesture gesture;
    for (const int32_t event : {3, 5, 6, 7, 8, 9, 11, 15})
        EXPECT_EQ(gesture.Step({event, 0, 100, 100}, TwoTraps()).deed, Deed::nothing) << event;
    EXPECT_EQ(gesture.Step(Up(100, 100), TwoTraps()).deed, Deed::nothing) << "never pressed";
}

TEST(ZoomedAbout, LeavesThePointWhereItIsOnTheScreen)
{
    const View view = ZoomedAbout({400.0, 300.0, 1.0}, 100.0, 300.0, 2.0);
    EXPECT_DOUBLE_EQ(view.zoom, 2.0);
    EXPECT_DOUBLE_EQ(view.x, 250.0);
    EXPECT_DOUBLE_EQ(view.y, 300.0);
    // on the screen: (point - centre) * zoom
    EXPECT_DOUBLE_EQ((100.0 - 400.0) * 1.0, (100.0 - view.x) * view.zoom);
}

TEST(ZoomedAbout, StaysBetween1And16)
{
    EXPECT_DOUBLE_EQ(ZoomedAbout({0, 0, 1.0}, 0, 0, 0.5).zoom, 1.0);
    EXPECT_DOUBLE_EQ(ZoomedAbout({0, 0, 10.0}, 0, 0, 8.0).zoom, 16.0);
    EXPECT_DOUBLE_EQ(ZoomedAbout({5, 6, 1.0}, 50, 60, 0.5).x, 5.0) << "nothing moves then";
}
