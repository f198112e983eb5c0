#ifndef QUORVEX_ZVK_LIVE_INPUT_H
#define QUORVEX_ZVK_LIVE_INPUT_H

// All that live steering waits for, at one place: mouse messages, keys of the terminal, and the
// wish to end (Ctrl-C, SIGTERM, the terminal hung up).

#include "gestures.h"

#include <mutex>
#include <string>
#include <termios.h>
#include <vector>

struct LiveNews
{
    bool stop = false;
    std::string keys;
    std::vector<MouseMessage> mouse;
};

class LiveInput
{
public:
    LiveInput();  // listens from now on; throws std::runtime_error when it can't
    ~LiveInput();
    LiveInput(const LiveInput &) = delete;
    LiveInput &operator=(const LiveInput &) = delete;

    LiveNews Wait(int timeoutMs);  // returns early when there is something

private:
    static void OnMessage(uint32_t id, int64_t first, int64_t second, void *self);
    void ReadKeys(std::string &keys);

    std::mutex m_guard;
    std::vector<MouseMessage> m_mouse;
    int32_t m_listener = 0;
    bool m_keysFromTerminal = false;
    termios m_terminalBefore = {};
};

#endif
