#include "status_line.h"

#include <gtest/gtest.h>

TEST(StatusText, TellsTrapsPathZoomAndTheTrapTouchedLast)
{
    StatusFacts facts;
    EXPECT_EQ(StatusText(facts),
              "0 traps on A, 0 on B | a click adds to A, with shift to B | zoom 1.0");
    facts.traps = {{0, 1, 10.0, 20.0, "A_1"}, {0, 2, 410.4, 311.6, "A_2"}, {1, 2, 5.0, 6.0, "B_2"}};
    facts.zoom = 1.5625;
    facts.addPath = 1;
    facts.touched = true;
    facts.index = 2;
    EXPECT_EQ(StatusText(facts), "2 traps on A, 1 on B | a click adds to B, with shift to A | zoom "
                                 "1.6 | A_2 at 410, 312");
    facts.path = 1;
    EXPECT_TRUE(StatusText(facts).ends_with("| B_2 at 5, 6"));
    facts.traps.erase(facts.traps.begin());
    EXPECT_TRUE(StatusText(facts).starts_with("1 trap on A, 1 on B |"));
}

TEST(SecondText, TellsTheNewsAndWithoutAnyWhatTheMouseDoes)
{
    StatusFacts facts;
    EXPECT_NE(SecondText(facts).find("right click to delete"), std::string::npos);
    facts.news = "B_2 added";
    EXPECT_EQ(SecondText(facts), "B_2 added");
}

TEST(StatusText, SaysNothingOfATouchedTrapThatHasGone)
{
    StatusFacts facts;
    facts.touched = true;
    facts.index = 7;
    facts.zoom = 16.0;
    EXPECT_EQ(StatusText(facts),
              "0 traps on A, 0 on B | a click adds to A, with shift to B | zoom 16.0");
}

TEST(StatusPoint, PutsTheLabelIntoTheCornerAtAnyZoom)
{
    // As many pixels in the frame as in the window: the label is at 10, 20.
    const FramePoint whole = StatusPoint({0, 0, 800, 600}, 800, 600, 0);
    EXPECT_EQ(whole.x + 20, 10);
    EXPECT_EQ(whole.y - 20, 20);
    EXPECT_LT(whole.x, 0) << "the point is outside of the picture";
    const FramePoint second = StatusPoint({0, 0, 800, 600}, 800, 600, 1);
    EXPECT_EQ(second.x, whole.x);
    EXPECT_EQ(second.y, whole.y + 20);

    const FramePoint zoomed = StatusPoint({200, 150, 400, 300}, 800, 600, 0);
    EXPECT_EQ(zoomed.x + 20, 200 + 5);
    EXPECT_EQ(zoomed.y - 20, 150 + 10);
    EXPECT_LT(zoomed.x, 200);

    const FramePoint nothing = StatusPoint({0, 0, 0, 0}, 0, 0, 0);
    EXPECT_EQ(nothing.x, -20);
}
