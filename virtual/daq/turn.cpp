// Turns of a task.

#include "turn.h"

#include "clock.h"
#include "codes.h"

static CardTime TurnDue(const Wait &wait)
{
    const Task &task = *wait.task;
    return !task.busy || task.cleared || task.stops != wait.stops ? 0 : kNever;
}

int32_t TakeTurn(Guard &guard, const Task &task, Wait &wait)
{
    const Card &card = TheCard();
    while (task.busy) {
        if (task.cleared || task.stops != wait.stops) return kTaskAborted;
        // In fast pace other tasks may carry time away; the turn comes all the same.
        if (card.pace != ZVC_PACE_FAST && IsLate(card, wait)) return kTurnTooLate;
        wait.due = TurnDue;
        wait.forTurn = true;
        Pause(guard, wait);
        wait.forTurn = false;
    }
    return 0;
}
