// The list by itself: finding, linking and freeing nodes.

#include "failing_memory.h"
#include "platform/memory.h"
#include "quorvex/errors.h"
#include "steering/trap.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

// A list of its own, made of traps 3, 2, 1 from head to tail with waypoints 2, 1, 0.
class TrapListTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        for (int i = 1; i <= 3; ++i)
            head = ZVK_Trap_InsFront(head, i, i - 1, 1.0, "trap", 0.5 * i, -0.5 * i, &retVal);
    }
    void TearDown() override
    {
        FreeTrapList(head);
        EXPECT_EQ(memory.Live(), 0);
    }

    std::vector<int> forward() const
    {
        std::vector<int> indices;
        for (const ZVK_TNode *node = head; node != nullptr; node = node->next)
            indices.push_back(node->index);
        return indices;
    }
    std::vector<int> backward() const
    {
        const ZVK_TNode *node = head;
        while (node != nullptr && node->next != nullptr)
            node = node->next;
        std::vector<int> indices;
        for (; node != nullptr; node = node->prev)
            indices.push_back(node->index);
        return indices;
    }

    FailingMemory memory;
    ZVK_TNode *head = nullptr;
    int retVal = 42;
};

using Indices = std::vector<int>;

TEST_F(TrapListTest, NewNodesEnterAtTheHead)
{
    EXPECT_EQ(forward(), (Indices{3, 2, 1}));
    EXPECT_EQ(backward(), (Indices{1, 2, 3}));
    EXPECT_EQ(head->prev, nullptr);
    EXPECT_EQ(CountTraps(head), 3);
}

TEST_F(TrapListTest, AnEmptyListHasNoTraps) { EXPECT_EQ(CountTraps(nullptr), 0); }

TEST_F(TrapListTest, ANewNodeStandsWithWhatItWasGivenAndNoTrajectory)
{
    retVal = 42;
    head = ZVK_Trap_InsFront(head, 77, 3, 2.5, "bead", 1.25, -0.75, &retVal);
    EXPECT_EQ(retVal, 0);
    EXPECT_EQ(head->index, 77);
    EXPECT_EQ(head->wp, 3);
    EXPECT_EQ(head->speed, 2.5);
    EXPECT_EQ(head->xPos, 1.25);
    EXPECT_EQ(head->yPos, -0.75);
    EXPECT_STREQ(head->label, "bead");
    EXPECT_EQ(head->moveType, ZVK_MOVE_STAND);
    EXPECT_EQ(head->active, 0);
    EXPECT_EQ(head->trajExists, 0);
    EXPECT_EQ(head->trajRunning, 0);
    EXPECT_EQ(head->trajPoints, 0);
    EXPECT_EQ(head->trajX, nullptr);
    EXPECT_EQ(head->trajY, nullptr);
}

TEST_F(TrapListTest, ALabelKeepsItsFirst256Characters)
{
    for (const size_t length : {0u, 1u, 255u, 256u, 257u, 5000u}) {
        const std::string label(length, 'x');
        head = ZVK_Trap_InsFront(head, 1, 0, 1.0, label.c_str(), 0.0, 0.0, &retVal);
        EXPECT_EQ(std::string(head->label).size(), std::min<size_t>(length, 256));
    }
}

TEST_F(TrapListTest, ANullLabelIsAnEmptyOne)
{
    head = ZVK_Trap_InsFront(head, 1, 0, 1.0, nullptr, 0.0, 0.0, &retVal);
    EXPECT_EQ(retVal, 0);
    EXPECT_STREQ(head->label, "");
}

TEST_F(TrapListTest, FindGivesTheNodeOrTheStart)
{
    for (int i = 1; i <= 3; ++i) {
        EXPECT_EQ(ZVK_Trap_FindNode(head, i, &retVal)->index, i);
        EXPECT_EQ(retVal, 0);
    }
    EXPECT_EQ(ZVK_Trap_FindNode(head, 4, &retVal), head);
    EXPECT_EQ(retVal, ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(ZVK_Trap_FindNode(head->next, 3, &retVal), head->next);  // it looks from there on
    EXPECT_EQ(retVal, ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(ZVK_Trap_FindNode(nullptr, 1, &retVal), nullptr);
    EXPECT_EQ(retVal, ZVK_TRAP_BAD_INDEX);
}

TEST_F(TrapListTest, OfTwoNodesWithOneIndexTheNewerIsFoundAndDeleted)
{
    head = ZVK_Trap_InsFront(head, 2, 3, 9.0, "newer", 0.0, 0.0, &retVal);
    EXPECT_EQ(ZVK_Trap_FindNode(head, 2, &retVal)->speed, 9.0);
    head = ZVK_Trap_DelNode(head, 2, &retVal);
    EXPECT_EQ(forward(), (Indices{3, 2, 1}));
    EXPECT_EQ(ZVK_Trap_FindNode(head, 2, &retVal)->speed, 1.0);
}

TEST_F(TrapListTest, DeletingAnyPlaceKeepsTheLinksBothWays)
{
    struct Row
    {
        int index;
        Indices left;
    };
    for (const Row &row : {Row{3, {2, 1}}, Row{2, {3, 1}}, Row{1, {3, 2}}}) {
        FreeTrapList(head);
        head = nullptr;
        SetUp();
        retVal = 42;
        head = ZVK_Trap_DelNode(head, row.index, &retVal);
        EXPECT_EQ(retVal, 0);
        EXPECT_EQ(forward(), row.left);
        EXPECT_EQ(backward(), Indices(row.left.rbegin(), row.left.rend()));
        EXPECT_EQ(head->prev, nullptr);
    }
}

TEST_F(TrapListTest, DeletingTheOnlyNodeGivesAnEmptyList)
{
    for (const int index : {1, 2, 3})
        head = ZVK_Trap_DelNode(head, index, &retVal);
    EXPECT_EQ(head, nullptr);
    EXPECT_EQ(retVal, 0);
}

TEST_F(TrapListTest, DeletingWhatIsNotThereChangesNothing)
{
    EXPECT_EQ(ZVK_Trap_DelNode(head, 4, &retVal), head);
    EXPECT_EQ(retVal, ZVK_TRAP_BAD_INDEX);
    EXPECT_EQ(forward(), (Indices{3, 2, 1}));
    EXPECT_EQ(ZVK_Trap_DelNode(nullptr, 1, &retVal), nullptr);
    EXPECT_EQ(retVal, ZVK_TRAP_BAD_INDEX);
}

TEST_F(TrapListTest, DeletingFreesTheLabelAndTheTrajectory)
{
    const int64_t before = memory.Live();
    head = ZVK_Trap_InsFront(head, 4, 3, 1.0, "trap", 0.0, 0.0, &retVal);
    head->trajX = AllocateArray<double>(10);
    head->trajY = AllocateArray<double>(10);
    EXPECT_EQ(memory.Live(), before + 4);
    head = ZVK_Trap_DelNode(head, 4, &retVal);
    EXPECT_EQ(memory.Live(), before);
}

TEST_F(TrapListTest, WithoutMemoryForNodeOrLabelTheListStaysAsItWas)
{
    const int64_t before = memory.Live();
    for (const int nth : {1, 2}) {
        memory.FailAt(nth);
        EXPECT_EQ(ZVK_Trap_InsFront(head, 4, 3, 1.0, "trap", 0.0, 0.0, &retVal), head);
        EXPECT_EQ(retVal, ZVK_TRAP_NO_MEMORY);
        memory.FailAt(nth);
        EXPECT_EQ(ZVK_Trap_InsBefore(head->next, 1, 2, 4, &retVal), head->next);
        EXPECT_EQ(retVal, ZVK_TRAP_NO_MEMORY);
        EXPECT_TRUE(memory.Failed());
    }
    EXPECT_EQ(memory.Live(), before);
    EXPECT_EQ(forward(), (Indices{3, 2, 1}));
    EXPECT_EQ(backward(), (Indices{1, 2, 3}));
}

TEST_F(TrapListTest, InsBeforeLinksInTheMiddleWithWholeVolts)
{
    ZVK_TNode *made = ZVK_Trap_InsBefore(head->next, 3, -4, 9, &retVal);
    EXPECT_EQ(retVal, 0);
    EXPECT_EQ(made->index, 9);
    EXPECT_EQ(made->xPos, 3.0);
    EXPECT_EQ(made->yPos, -4.0);
    EXPECT_EQ(forward(), (Indices{3, 9, 2, 1}));
    EXPECT_EQ(backward(), (Indices{1, 2, 9, 3}));
}

TEST_F(TrapListTest, InsBeforeTheHeadOrNothingGivesANewFirstNode)
{
    head = ZVK_Trap_InsBefore(head, 1, 2, 9, &retVal);
    EXPECT_EQ(forward(), (Indices{9, 3, 2, 1}));
    ZVK_TNode *alone = ZVK_Trap_InsBefore(nullptr, 1, 2, 8, &retVal);
    EXPECT_EQ(retVal, 0);
    EXPECT_EQ(alone->next, nullptr);
    EXPECT_EQ(alone->prev, nullptr);
    FreeTrapList(alone);
}
