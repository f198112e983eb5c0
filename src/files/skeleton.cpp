#include "files/skeleton.h"

#include "platform/files.h"

bool WriteSkeleton(const std::string &path, const std::string &text)
{
    const int file = Files().open(path.c_str(), ZVK_OPEN_NEW);
    if (file < 0) return false;
    size_t done = 0;
    while (done < text.size()) {
        const int64_t count = Files().write(file, text.data() + done, text.size() - done);
        if (count <= 0) break;
        done += static_cast<size_t>(count);
    }
    (void)Files().close(file);
    return true;
}

bool IsThere(const std::string &path) { return Files().access(path.c_str()) != ZVK_ACCESS_ABSENT; }
