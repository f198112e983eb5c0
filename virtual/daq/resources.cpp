// Reservations.

#include "resources.h"

#include "calls.h"
#include "names.h"

// "dev1/ai" and "dev1/ao" stand for what drives all channels of the kind at once.
static std::vector<std::string> ResourcesOf(const Task &task)
{
    std::vector<std::string> resources;
    for (const Channel &channel : task.channels) {
        const std::string device = LowerCase(channel.device);
        if (task.kind == TaskKind::input) resources.push_back(device + "/ai");
        if (task.kind == TaskKind::output && task.timed) resources.push_back(device + "/ao");
        if (task.kind == TaskKind::output) resources.push_back(channel.key);
        if (task.kind != TaskKind::lines) continue;
        for (uint32_t line = 0; line < 32; ++line)
            if (channel.lines >> line & 1U)
                resources.push_back(channel.portKey + "/line" + std::to_string(line));
    }
    return resources;
}

int32_t Reserve(Card &card, const Task &task)
{
    const std::vector<std::string> resources = ResourcesOf(task);
    for (const std::string &resource : resources) {
        const auto place = card.reserved.find(resource);
        if (place == card.reserved.end() || place->second == &task) continue;
        return Refuse(kResourceReserved,
                      resource + " is kept by the task " + place->second->name + ".");
    }
    try {
        for (const std::string &resource : resources)
            card.reserved[resource] = &task;
    } catch (...) {
        Release(card, task);
        throw;
    }
    return 0;
}

void Release(Card &card, const Task &task)
{
    std::erase_if(card.reserved, [&](const auto &entry) { return entry.second == &task; });
}
