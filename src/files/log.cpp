// The log: one record per event at the end of a text file, and a string helper.

#include "files/file_names.h"
#include "platform/clock.h"
#include "platform/files.h"
#include "quorvex/confile.h"
#include "quorvex/errors.h"

#include <cstdio>
#include <cstring>
#include <new>
#include <string>

constexpr size_t kTailSize = 200;  // what ZVK_ConFile_Extract keeps

// The text as a format without arguments: "%%" is one sign, a conversion without its argument
// stands as it is written.
static std::string ExpandedText(const char *text)
{
    std::string expanded;
    for (; *text != '\0'; ++text) {
        expanded += *text;
        if (text[0] == '%' && text[1] == '%') ++text;
    }
    return expanded;
}

static std::string Record(const char *message)
{
    const ZVK_LocalTime now = Clock().localTime();
    char stamp[128];
    std::snprintf(stamp, sizeof stamp, "\n\n%dh %dmin %dsec, %d/%d/%d\t", now.hours, now.minutes,
                  now.seconds, now.month, now.day, now.year);
    return stamp + ExpandedText(message) + "\n";
}

int32_t ZVK_ConFile_WriteLog(SessionHandle, const char *Filename, const char *msg)
{
    if (!msg) return ZVK_CONFILE_LOG_FAILED;
    try {
        const std::string record = Record(msg);
        const std::string path = ResolvePath(Filename, {"log.ini", "hlls.bin"});
        const int file = Files().open(path.c_str(), ZVK_OPEN_APPEND);
        if (file < 0) return ZVK_CONFILE_LOG_FAILED;
        // One write, so that the records of two threads stay whole. Its result is not told.
        (void)Files().write(file, record.data(), record.size());
        (void)Files().close(file);
        return ZVK_SUCCESS;
    } catch (const std::bad_alloc &) {
        return ZVK_CONFILE_LOG_FAILED;
    }
}

int32_t ZVK_ConFile_Extract(SessionHandle, char *source, const char *tofind)
{
    if (!source || !tofind || *tofind == '\0') return ZVK_SUCCESS;
    const char *last = nullptr;
    for (const char *at = std::strstr(source, tofind); at; at = std::strstr(at + 1, tofind))
        last = at;
    if (!last) return ZVK_SUCCESS;
    // From one character behind the match's start, however long the searched text is.
    const size_t length = strnlen(last + 1, kTailSize);
    std::memmove(source, last + 1, length);
    source[length] = '\0';
    return ZVK_SUCCESS;
}
