#ifndef QUORVEX_TESTS_RECORDING_MESSAGES_H
#define QUORVEX_TESTS_RECORDING_MESSAGES_H

// Messages that are written down and go nowhere. In use as long as the object lives. Names get the
// ids 0xC001, 0xC002 and so on.

#include <cstdint>
#include <string>
#include <vector>

class RecordingMessages
{
public:
    struct Posted
    {
        std::string name;
        int64_t first;
        int64_t second;
        bool operator==(const Posted &) const = default;
    };

    RecordingMessages();
    ~RecordingMessages();
    RecordingMessages(const RecordingMessages &) = delete;
    RecordingMessages &operator=(const RecordingMessages &) = delete;

    std::vector<Posted> Posts() const;  // those that went out
    void FailPosts(int32_t code);       // what post answers from now on; 0: it works
    void FailNames();                   // from now on no name has an id
};

#endif
