// A client's lines, markers and rectangles: numbers, colours, labels, lengths, start and end.

#include "failing_memory.h"
#include "imaging/overlay.h"

#include "quorvex/errors.h"
#include "quorvex/imageproc.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <string>
#include <vector>

class OverlayObjects : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(ZVK_ImageProc_Init(0, 0, 0), ZVK_SUCCESS); }
    void TearDown() override
    {
        FreeOverlayLists();
        g_overlay = {};
    }

    static int32_t Line(const char *label = "", int32_t color = 0)
    {
        int32_t index = -7;
        EXPECT_EQ(ZVK_ImageProc_AddLine(0, &index, 1, 2, 3, 4, label, 5, color), ZVK_SUCCESS);
        return index;
    }

    static std::vector<double> Color(const istruct &node)
    {
        return {node.color.val[0], node.color.val[1], node.color.val[2], node.color.val[3]};
    }
};

using Places = std::vector<int>;
using Colors = std::vector<double>;

static Places PlaceOf(const istruct &node)
{
    return {node.xstart, node.ystart, node.xend, node.yend, node.thickness};
}

TEST(OverlayInit, EveryCallBeforeInitGivesNotInitialized)
{
    g_overlay = {};
    int32_t index = 3;
    double length = 4.0;
    EXPECT_EQ(ZVK_ImageProc_AddLine(0, &index, 1, 2, 3, 4, "", 1, 1),
              ZVK_IMAGEPROC_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_ImageProc_AddMarker(0, &index, 1, 2, 3, "", 1, 1), ZVK_IMAGEPROC_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_ImageProc_AddRectangle(0, &index, 1, 2, 3, 4, 1, "", 1),
              ZVK_IMAGEPROC_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_ImageProc_UpdateLine(0, 1, 1, 2, 3, 4, "", 1, 1), ZVK_IMAGEPROC_NOT_INITIALIZED)
        << "before the look for the line";
    EXPECT_EQ(ZVK_ImageProc_ClearOverlay(0), ZVK_IMAGEPROC_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_ImageProc_UpdateOverlay(0), ZVK_IMAGEPROC_NOT_INITIALIZED)
        << "before the look at the camera";
    EXPECT_EQ(ZVK_ImageProc_LineLength(0, 1, &length, 99), ZVK_IMAGEPROC_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_ImageProc_Shutdown(0), ZVK_IMAGEPROC_NOT_INITIALIZED);
    EXPECT_EQ(index, 3);
    EXPECT_EQ(length, 4.0);
    EXPECT_EQ(g_overlay.lineList, nullptr);
}

TEST_F(OverlayObjects, ASecondInitIsAWarningAndKeepsTheObjects)
{
    Line();
    EXPECT_EQ(ZVK_ImageProc_Init(0, 0, 0), ZVK_IMAGEPROC_ALREADY_INITIALIZED);
    EXPECT_EQ(Line(), 2);
    EXPECT_EQ(g_overlay.overlayFont.scale, 0.4);
    EXPECT_EQ(g_overlay.overlayFont.face, 0);
    EXPECT_EQ(g_overlay.overlayFont.lineType, 16);
    EXPECT_EQ(g_overlay.overlayFont.thickness, 1);
}

TEST_F(OverlayObjects, ShutdownFreesTheObjectsAndTheModuleStaysUp)
{
    FailingMemory memory;
    Line();
    int32_t index = 0;
    ASSERT_EQ(ZVK_ImageProc_AddMarker(0, &index, 1, 2, 3, "m", 1, 1), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_ImageProc_AddRectangle(0, &index, 1, 2, 3, 4, 1, "r", 1), ZVK_SUCCESS);
    EXPECT_EQ(memory.Live(), 6);
    EXPECT_EQ(ZVK_ImageProc_Shutdown(0), ZVK_SUCCESS);
    EXPECT_EQ(memory.Live(), 0);
    EXPECT_EQ(ZVK_ImageProc_Init(0, 0, 0), ZVK_IMAGEPROC_ALREADY_INITIALIZED);
    EXPECT_EQ(Line(), 1) << "the lists are empty, and nothing points to what was freed";
    EXPECT_EQ(ZVK_ImageProc_Shutdown(0), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_ImageProc_Shutdown(0), ZVK_SUCCESS);
}

TEST_F(OverlayObjects, EachListCountsFrom1AndClearBeginsAgain)
{
    int32_t index = 0;
    EXPECT_EQ(Line(), 1);
    EXPECT_EQ(Line(), 2);
    EXPECT_EQ(ZVK_ImageProc_AddMarker(0, &index, 1, 2, 3, "", 1, 0), ZVK_SUCCESS);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(ZVK_ImageProc_AddRectangle(0, &index, 1, 2, 3, 4, 1, "", 0), ZVK_SUCCESS);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(ZVK_ImageProc_AddMarker(0, &index, 1, 2, 3, "", 1, 0), ZVK_SUCCESS);
    EXPECT_EQ(index, 2);
    EXPECT_EQ(Line(), 3);
    EXPECT_EQ(ZVK_ImageProc_ClearOverlay(0), ZVK_SUCCESS);
    EXPECT_EQ(g_overlay.lineList, nullptr);
    EXPECT_EQ(g_overlay.markerList, nullptr);
    EXPECT_EQ(g_overlay.rectangleList, nullptr);
    EXPECT_EQ(Line(), 1);
    EXPECT_EQ(ZVK_ImageProc_AddLine(0, nullptr, 1, 2, 3, 4, "", 1, 0), ZVK_SUCCESS);
}

TEST_F(OverlayObjects, TheNewestIsTheHeadAndTheLinksGoBothWays)
{
    Line("old");
    Line("new");
    const istruct *head = g_overlay.lineList;
    ASSERT_NE(head, nullptr);
    ASSERT_NE(head->next, nullptr);
    EXPECT_STREQ(head->label, "new");
    EXPECT_STREQ(head->next->label, "old");
    EXPECT_EQ(head->prev, nullptr);
    EXPECT_EQ(head->next->prev, head);
    EXPECT_EQ(head->next->next, nullptr);
    EXPECT_EQ(head->index, 2);
}

TEST_F(OverlayObjects, EachKindKeepsItsPlaceInItsOwnOrderOfArguments)
{
    Line();
    EXPECT_EQ(PlaceOf(*g_overlay.lineList), (Places{1, 3, 2, 4, 5}));
    ASSERT_EQ(ZVK_ImageProc_AddRectangle(0, nullptr, 1, 2, 3, 4, 5, "r", 0), ZVK_SUCCESS);
    EXPECT_EQ(PlaceOf(*g_overlay.rectangleList), (Places{1, 2, 3, 4, 5}));
    ASSERT_EQ(ZVK_ImageProc_AddMarker(0, nullptr, 1, 2, 3, "m", 5, 0), ZVK_SUCCESS);
    EXPECT_EQ(PlaceOf(*g_overlay.markerList), (Places{1, 2, 3, 0, 5})) << "the size is the end";
}

TEST_F(OverlayObjects, FourCodesAreMagentaAndAllOthersRed)
{
    for (const int32_t color : {1, 2, 3, 4}) {
        Line("", color);
        EXPECT_EQ(Color(*g_overlay.lineList), (Colors{255, 0, 255, 255})) << color;
    }
    for (const int32_t color : {0, 5, -1, INT_MAX, INT_MIN}) {
        Line("", color);
        EXPECT_EQ(Color(*g_overlay.lineList), (Colors{0, 0, 255, 255})) << color;
    }
    ASSERT_EQ(ZVK_ImageProc_AddMarker(0, nullptr, 1, 2, 3, "", 1, 4), ZVK_SUCCESS);
    EXPECT_EQ(Color(*g_overlay.markerList), (Colors{255, 0, 255, 255}));
    ASSERT_EQ(ZVK_ImageProc_AddRectangle(0, nullptr, 1, 2, 3, 4, 1, "", 5), ZVK_SUCCESS);
    EXPECT_EQ(Color(*g_overlay.rectangleList), (Colors{0, 0, 255, 255}));
}

TEST_F(OverlayObjects, LabelsOfEachLengthAreCutTo255)
{
    for (const size_t length : {size_t{0}, size_t{8}, size_t{255}, size_t{256}, size_t{5000}}) {
        const std::string label(length, 'x');
        const std::string kept(std::min<size_t>(length, 255), 'x');
        Line(label.c_str());
        EXPECT_EQ(g_overlay.lineList->label, kept) << length;
        Line("short");
        ASSERT_EQ(ZVK_ImageProc_UpdateLine(0, g_overlay.lineList->index, -1, -1, -1, -1,
                                           label.c_str(), -1, 0),
                  ZVK_SUCCESS);
        EXPECT_EQ(g_overlay.lineList->label, kept) << length;
    }
    Line(nullptr);
    EXPECT_STREQ(g_overlay.lineList->label, "");
}

TEST_F(OverlayObjects, UpdateChangesAllButMinus1AndNull)
{
    Line("kept", 1);
    Line("other", 0);
    ASSERT_EQ(ZVK_ImageProc_UpdateLine(0, 1, -1, -1, -1, -1, nullptr, -1, 0), ZVK_SUCCESS);
    const istruct &line = *g_overlay.lineList->next;
    EXPECT_EQ(PlaceOf(line), (Places{1, 3, 2, 4, 5}));
    EXPECT_STREQ(line.label, "kept");
    EXPECT_EQ(Color(line), (Colors{255, 0, 255, 255})) << "red isn't set again";
    ASSERT_EQ(ZVK_ImageProc_UpdateLine(0, 1, 10, -2, 0, 40, "new", 0, 5), ZVK_SUCCESS);
    EXPECT_EQ(PlaceOf(line), (Places{10, 0, -2, 40, 0}));
    EXPECT_STREQ(line.label, "new");
    EXPECT_EQ(PlaceOf(*g_overlay.lineList), (Places{1, 3, 2, 4, 5})) << "the other line";
    ASSERT_EQ(ZVK_ImageProc_UpdateLine(0, 2, -1, -1, -1, -1, nullptr, -1, 3), ZVK_SUCCESS);
    EXPECT_EQ(Color(*g_overlay.lineList), (Colors{255, 0, 255, 255}));
}

TEST_F(OverlayObjects, OnlyLinesCanBeUpdatedAndMeasured)
{
    ASSERT_EQ(ZVK_ImageProc_AddMarker(0, nullptr, 1, 2, 3, "m", 1, 0), ZVK_SUCCESS);
    ASSERT_EQ(ZVK_ImageProc_AddRectangle(0, nullptr, 1, 2, 3, 4, 1, "r", 0), ZVK_SUCCESS);
    double length = 7.0;
    EXPECT_EQ(ZVK_ImageProc_UpdateLine(0, 1, 9, 9, 9, 9, "z", 9, 1), ZVK_IMAGEPROC_BAD_INDEX);
    EXPECT_EQ(ZVK_ImageProc_LineLength(0, 1, &length, 99), ZVK_IMAGEPROC_BAD_INDEX)
        << "before the look at the unit";
    EXPECT_EQ(PlaceOf(*g_overlay.markerList), (Places{1, 2, 3, 0, 1}));
    EXPECT_EQ(length, 7.0);
    Line();
    EXPECT_EQ(ZVK_ImageProc_UpdateLine(0, 0, 9, 9, 9, 9, "z", 9, 1), ZVK_IMAGEPROC_BAD_INDEX);
    EXPECT_EQ(ZVK_ImageProc_UpdateLine(0, 2, 9, 9, 9, 9, "z", 9, 1), ZVK_IMAGEPROC_BAD_INDEX);
}

TEST_F(OverlayObjects, WithoutRoomForNodeOrLabelTheListStaysAndTheNumberIsTold)
{
    Line();
    istruct *head = g_overlay.lineList;
    FailingMemory memory;
    for (const int64_t nth : {1, 2}) {
        int32_t index = 0;
        memory.FailAt(nth);
        EXPECT_EQ(ZVK_ImageProc_AddLine(0, &index, 1, 2, 3, 4, "x", 1, 1), ZVK_IMAGEPROC_NO_MEMORY);
        EXPECT_TRUE(memory.Failed());
        EXPECT_EQ(index, 2);
        EXPECT_EQ(g_overlay.lineList, head);
        EXPECT_EQ(head->prev, nullptr);
        EXPECT_EQ(memory.Live(), 0);
    }
    int32_t index = 0;
    memory.FailAt(1);
    EXPECT_EQ(ZVK_ImageProc_AddMarker(0, &index, 1, 2, 3, "x", 1, 1), ZVK_IMAGEPROC_NO_MEMORY);
    EXPECT_EQ(index, 1);
    memory.FailAt(1);
    EXPECT_EQ(ZVK_ImageProc_AddRectangle(0, nullptr, 1, 2, 3, 4, 1, "x", 1),
              ZVK_IMAGEPROC_NO_MEMORY);
    EXPECT_EQ(g_overlay.markerList, nullptr);
    EXPECT_EQ(g_overlay.rectangleList, nullptr);
    memory.FailAt(0);
    EXPECT_EQ(Line(), 2) << "the number that the failed one was told";
    FreeOverlayLists();
}

TEST_F(OverlayObjects, LengthsInPixelsAreThoseOf32Bits)
{
    int32_t index = 0;
    double length = 0.0;
    ASSERT_EQ(ZVK_ImageProc_AddLine(0, &index, 0, 3, 0, 4, "", 1, 0), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_ImageProc_LineLength(0, index, &length, ZVK_UNIT_PIXEL), ZVK_SUCCESS);
    EXPECT_EQ(length, 5.0);
    ASSERT_EQ(ZVK_ImageProc_UpdateLine(0, index, 46340, 0, 0, 0, nullptr, -1, 0), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_ImageProc_LineLength(0, index, &length, ZVK_UNIT_PIXEL), ZVK_SUCCESS);
    EXPECT_EQ(length, 46340.0);
    ASSERT_EQ(ZVK_ImageProc_UpdateLine(0, index, 46341, 0, 0, 0, nullptr, -1, 0), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_ImageProc_LineLength(0, index, &length, ZVK_UNIT_PIXEL), ZVK_SUCCESS);
    EXPECT_TRUE(std::isnan(length)) << "the sum is negative in 32 bits";
    ASSERT_EQ(ZVK_ImageProc_UpdateLine(0, index, INT_MIN, INT_MAX, 0, 0, nullptr, -1, 0),
              ZVK_SUCCESS);
    EXPECT_EQ(ZVK_ImageProc_LineLength(0, index, &length, ZVK_UNIT_PIXEL), ZVK_SUCCESS);
    EXPECT_EQ(length, 1.0);
    EXPECT_EQ(ZVK_ImageProc_LineLength(0, index, nullptr, ZVK_UNIT_PIXEL), ZVK_SUCCESS);
}

TEST_F(OverlayObjects, OtherUnitsAreRefusedAndNothingIsWritten)
{
    const int32_t index = Line();
    double length = 7.0;
    for (const int32_t unit : {0, 1, 4, -1})
        EXPECT_EQ(ZVK_ImageProc_LineLength(0, index, &length, unit), ZVK_COORDINATES_BAD_UNIT);
    EXPECT_EQ(length, 7.0);
}

TEST_F(OverlayObjects, WithoutAScaleTheLengthInMicrometersIsNotFinite)
{
    int32_t index = 0;
    double length = 7.0;
    ASSERT_EQ(ZVK_ImageProc_AddLine(0, &index, 0, 3, 0, 4, "", 1, 0), ZVK_SUCCESS);
    EXPECT_EQ(ZVK_ImageProc_LineLength(0, index, &length, ZVK_UNIT_MICROMETER), ZVK_SUCCESS);
    EXPECT_FALSE(std::isfinite(length));
}
