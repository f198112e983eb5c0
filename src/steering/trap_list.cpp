// The doubly linked list of traps: plain list work on the nodes it is given.

#include "platform/memory.h"
#include "quorvex/errors.h"
#include "steering/trap.h"

#include <cstring>

void CopyTrapLabel(char *label, const char *text)
{
    const size_t length = text ? strnlen(text, kTrapLabelRoom - 1) : 0;
    if (length > 0) std::memcpy(label, text, length);
    label[length] = '\0';
}

void FreeTrapNode(ZVK_TNode *node)
{
    Release(node->trajX);
    Release(node->trajY);
    Release(node->label);
    Release(node);
}

void FreeTrapList(ZVK_TNode *head)
{
    while (head != nullptr) {
        ZVK_TNode *next = head->next;
        FreeTrapNode(head);
        head = next;
    }
}

int32_t CountTraps(const ZVK_TNode *head)
{
    int32_t count = 0;
    for (; head != nullptr; head = head->next)
        ++count;
    return count;
}

// Null when there is none.
static ZVK_TNode *Search(ZVK_TNode *start, int index)
{
    while (start != nullptr && start->index != index)
        start = start->next;
    return start;
}

ZVK_TNode *ZVK_Trap_FindNode(ZVK_TNode *start, int index, int *retVal)
{
    ZVK_TNode *node = Search(start, index);
    *retVal = node ? ZVK_SUCCESS : ZVK_TRAP_BAD_INDEX;
    return node ? node : start;
}

ZVK_TNode *ZVK_Trap_DelNode(ZVK_TNode *start, int index, int *retVal)
{
    ZVK_TNode *node = Search(start, index);
    *retVal = node ? ZVK_SUCCESS : ZVK_TRAP_BAD_INDEX;
    if (node == nullptr) return start;

    ZVK_TNode *newHead = node == start ? node->next : start;
    if (node->next != nullptr) node->next->prev = node == start ? nullptr : node->prev;
    if (node != start) node->prev->next = node->next;
    FreeTrapNode(node);
    return newHead;
}

// A node of zeros with room for a label. Null when memory ran out.
static ZVK_TNode *NewNode()
{
    ZVK_TNode *node = AllocateArray<ZVK_TNode>(1);
    if (node == nullptr) return nullptr;
    node->label = AllocateArray<char>(kTrapLabelRoom);
    if (node->label == nullptr) Release(node);
    return node;
}

static void LinkBefore(ZVK_TNode *node, ZVK_TNode *before)
{
    node->next = before;
    if (before == nullptr) return;
    node->prev = before->prev;
    if (before->prev != nullptr) before->prev->next = node;
    before->prev = node;
}

ZVK_TNode *ZVK_Trap_InsFront(ZVK_TNode *start, int index, int wp, double speed, const char *label,
                             double xPos, double yPos, int *retVal)
{
    ZVK_TNode *node = NewNode();
    *retVal = node ? ZVK_SUCCESS : ZVK_TRAP_NO_MEMORY;
    if (node == nullptr) return start;

    node->index = index;
    node->wp = wp;
    node->speed = speed;
    node->xPos = xPos;
    node->yPos = yPos;
    node->moveType = ZVK_MOVE_STAND;
    CopyTrapLabel(node->label, label);
    LinkBefore(node, start);
    return node;
}

ZVK_TNode *ZVK_Trap_InsBefore(ZVK_TNode *before, int posX, int posY, int index, int *retVal)
{
    ZVK_TNode *node = NewNode();
    *retVal = node ? ZVK_SUCCESS : ZVK_TRAP_NO_MEMORY;
    if (node == nullptr) return before;

    node->index = index;
    node->xPos = posX;
    node->yPos = posY;
    LinkBefore(node, before);
    return node;
}
