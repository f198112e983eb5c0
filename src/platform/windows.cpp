// The windows in use.

#include "platform/windows.h"

#include "platform/backends.h"
#include "platform/window_backends.h"

static constinit TableSwitch<ZVK_WindowTable> s_windows;

const ZVK_WindowTable &Windows() { return s_windows.InUse(SystemWindows); }

void UseWindows(const ZVK_WindowTable *table) { s_windows.Use(table); }
