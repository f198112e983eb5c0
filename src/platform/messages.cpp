// The messages in use.

#include "platform/messages.h"

#include "platform/backends.h"
#include "quorvex/messages.h"

static constinit TableSwitch<ZVK_MessageTable> s_messages;

static const ZVK_MessageTable &RealMessages()
{
    static constexpr ZVK_MessageTable kTable = {
        .registerName = ZVK_Messages_Register,
        .post = ZVK_Messages_Post,
    };
    return kTable;
}

const ZVK_MessageTable &Messages() { return s_messages.InUse(RealMessages); }

void UseMessages(const ZVK_MessageTable *table) { s_messages.Use(table); }
