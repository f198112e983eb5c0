#include "recording_messages.h"

#include "platform/messages.h"

#include <algorithm>
#include <mutex>

constexpr uint32_t kFirstId = 0xC001;

struct MessagesRecord
{
    std::mutex guard;  // of all below
    std::vector<std::string> names;
    std::vector<RecordingMessages::Posted> posts;
    int32_t postCode = 0;
    bool namesFail = false;
};

static MessagesRecord s_record;

static uint32_t KeepName(const char *name)
{
    const std::lock_guard lock(s_record.guard);
    if (s_record.namesFail || !name || !*name) return 0;
    auto &names = s_record.names;
    auto found = std::find(names.begin(), names.end(), name);
    if (found == names.end()) found = names.insert(names.end(), name);
    return kFirstId + static_cast<uint32_t>(found - names.begin());
}

static int32_t KeepPost(uint32_t id, int64_t first, int64_t second)
{
    const std::lock_guard lock(s_record.guard);
    if (s_record.postCode < 0) return s_record.postCode;
    if (id < kFirstId || id - kFirstId >= s_record.names.size()) return -2;
    s_record.posts.push_back({s_record.names[id - kFirstId], first, second});
    return s_record.postCode;
}

static constexpr ZVK_MessageTable kTable = {.registerName = KeepName, .post = KeepPost};

RecordingMessages::RecordingMessages()
{
    const std::lock_guard lock(s_record.guard);
    s_record.names.clear();
    s_record.posts.clear();
    s_record.postCode = 0;
    s_record.namesFail = false;
    UseMessages(&kTable);
}

RecordingMessages::~RecordingMessages() { UseMessages(nullptr); }

std::vector<RecordingMessages::Posted> RecordingMessages::Posts() const
{
    const std::lock_guard lock(s_record.guard);
    return s_record.posts;
}

void RecordingMessages::FailPosts(int32_t code)
{
    const std::lock_guard lock(s_record.guard);
    s_record.postCode = code;
}

void RecordingMessages::FailNames()
{
    const std::lock_guard lock(s_record.guard);
    s_record.namesFail = true;
}
