// The connections in use.

#include "platform/tcp.h"

#include "platform/backends.h"

static constinit TableSwitch<ZVK_TcpTable> s_tcp;

const ZVK_TcpTable &Tcp() { return s_tcp.InUse(SystemTcp); }

void UseTcp(const ZVK_TcpTable *table) { s_tcp.Use(table); }
