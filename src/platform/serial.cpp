// The serial ports in use.

#include "platform/serial.h"

#include "platform/backends.h"

static constinit TableSwitch<ZVK_SerialTable> s_serial;

const ZVK_SerialTable &Serial() { return s_serial.InUse(SystemSerial); }

void UseSerial(const ZVK_SerialTable *table) { s_serial.Use(table); }
