#include "files/text_set.h"

#include "platform/files.h"

#include <charconv>
#include <vector>

constexpr size_t kFlushAt = 1 << 16;
constexpr int kTemporaryNames = 100;

namespace {

struct TextFile
{
    std::string target;
    std::string temporary;
    int file = -1;
    std::string pending;
};

}  // namespace

struct ZVK_TextSet
{
    std::vector<TextFile> files;
    bool good = true;
};

TextSet MakeTextSet() { return TextSet(new ZVK_TextSet); }

void ZVK_TextSetCloser::operator()(ZVK_TextSet *set) const noexcept
{
    for (TextFile &file : set->files) {
        if (file.file >= 0) (void)Files().close(file.file);
        if (!file.temporary.empty()) (void)Files().remove(file.temporary.c_str());
    }
    delete set;
}

bool AddTextFile(ZVK_TextSet &set, const std::string &path)
{
    if (Files().access(path.c_str()) == ZVK_ACCESS_READ_ONLY) return false;
    set.files.emplace_back();
    TextFile &entry = set.files.back();
    entry.target = path;
    for (int number = 0; number < kTemporaryNames && entry.file < 0; ++number) {
        std::string temporary = path + "~" + std::to_string(number);
        entry.file = Files().open(temporary.c_str(), ZVK_OPEN_EXCLUSIVE);
        if (entry.file >= 0) entry.temporary = std::move(temporary);
    }
    return entry.file >= 0;
}

static void Flush(ZVK_TextSet &set, TextFile &file)
{
    const size_t count = file.pending.size();
    if (count == 0) return;
    if (set.good) set.good = Files().write(file.file, file.pending.data(), count) >= 0;
    file.pending.clear();
}

static void Append(ZVK_TextSet &set, size_t index, const char *text, size_t count)
{
    TextFile &file = set.files[index];
    file.pending.append(text, count);
    if (file.pending.size() >= kFlushAt) Flush(set, file);
}

void PutText(ZVK_TextSet &set, size_t file, const char *text)
{
    Append(set, file, text, std::char_traits<char>::length(text));
}

void PutLong(ZVK_TextSet &set, size_t file, int32_t value)
{
    char text[16];
    const auto end = std::to_chars(text, text + sizeof text, value);
    Append(set, file, text, static_cast<size_t>(end.ptr - text));
}

static void PutDouble(ZVK_TextSet &set, size_t file, double value, std::chars_format format,
                      int decimals)
{
    char text[400];  // the largest number has 309 digits before its point
    const auto end = std::to_chars(text, text + sizeof text, value, format, decimals);
    Append(set, file, text, static_cast<size_t>(end.ptr - text));
}

void PutFixed(ZVK_TextSet &set, size_t file, double value)
{
    PutDouble(set, file, value, std::chars_format::fixed, 6);
}

void PutScientific(ZVK_TextSet &set, size_t file, double value)
{
    PutDouble(set, file, value, std::chars_format::scientific, 12);
}

static bool Finish(ZVK_TextSet &set, TextFile &file)
{
    Flush(set, file);
    bool good = set.good && Files().sync(file.file) >= 0;
    good = Files().close(file.file) >= 0 && good;
    file.file = -1;
    return good;
}

bool CommitTextSet(ZVK_TextSet &set)
{
    for (TextFile &file : set.files)
        set.good = Finish(set, file) && set.good;
    for (TextFile &file : set.files) {
        if (!set.good) return false;
        if (Files().access(file.target.c_str()) != ZVK_ACCESS_ABSENT)
            (void)Files().copyMode(file.target.c_str(), file.temporary.c_str());  // contents count
        set.good = Files().rename(file.temporary.c_str(), file.target.c_str()) == 0;
        if (set.good) file.temporary.clear();
    }
    return set.good;
}
