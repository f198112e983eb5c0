#include "files/skeleton.h"

#include "platform/files.h"

std::string NumberedTag(const char *name, int32_t number) { return name + std::to_string(number); }

bool WriteSkeleton(const std::string &path, const std::string &text)
{
    const int file = Files().open(path.c_str(), ZVK_OPEN_EXCLUSIVE);
    if (file < 0) return false;
    const bool written = Files().write(file, text.data(), text.size()) >= 0;
    if (Files().close(file) == 0 && written) return true;
    // Half a skeleton would pass for a file that has been saved before.
    (void)Files().remove(path.c_str());
    return false;
}
