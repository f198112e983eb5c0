// The clock in use.

#include "platform/clock.h"

#include "platform/backends.h"

static constinit TableSwitch<ZVK_ClockTable> s_clock;

const ZVK_ClockTable &Clock() { return s_clock.InUse(SystemClock); }

void UseClock(const ZVK_ClockTable *table) { s_clock.Use(table); }
