// The way to other programs that is in use.

#include "platform/processes.h"

#include "platform/backends.h"

static constinit TableSwitch<ZVK_ProcessTable> s_processes;

const ZVK_ProcessTable &Processes() { return s_processes.InUse(SystemProcesses); }

void UseProcesses(const ZVK_ProcessTable *table) { s_processes.Use(table); }
