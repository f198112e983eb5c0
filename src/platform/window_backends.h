#ifndef QUORVEX_PLATFORM_WINDOW_BACKENDS_H
#define QUORVEX_PLATFORM_WINDOW_BACKENDS_H

// The windows of this operating system; each platform folder (linux/) defines them. Without a
// display they are remembered like HeadlessWindows.

#include "platform/windows.h"

const ZVK_WindowTable &SystemWindows();

#endif
