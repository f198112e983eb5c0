// How a store becomes a file again: beside the target first, then in its place, whole or not at
// all.

#include "files/ini_store.h"
#include "platform/files.h"

#include <cstdio>
#include <new>

constexpr size_t kLongestValue = 80;  // longer ones stand in parts
constexpr size_t kLongestTag = 255;
constexpr size_t kLongestPartTag = 247;  // leaves room for " Line0001"
constexpr int kTemporaryNames = 1000;

static void AddLine(std::string &text, std::string_view line)
{
    text += line;
    text += "\r\n";
}

static void AddCommentLines(std::string &text, std::string_view comment)
{
    if (!comment.empty()) AddLine(text, comment);
}

// Reading cuts blanks and quotes at both ends of a value, and takes an empty one for none.
static bool NeedsQuotes(std::string_view value)
{
    if (value.empty() || Trimmed(value).size() < value.size()) return true;
    return value.size() >= 2 && value.front() == '"' && value.back() == '"';
}

static void AddValue(std::string &text, std::string_view value, bool quoted)
{
    const char *quote = quoted || NeedsQuotes(value) ? "\"" : "";
    text += " = ";
    text += quote;
    text += value;
    text += quote;
    text += "\r\n";
}

static void AddParts(std::string &text, const IniItem &item)
{
    int number = 0;
    for (size_t at = 0; at < item.value.size(); at += kLongestValue) {
        char suffix[32];
        std::snprintf(suffix, sizeof suffix, " Line%04d", ++number);
        text += item.tag.substr(0, kLongestPartTag);
        text += suffix;
        AddValue(text, item.value.substr(at, kLongestValue), item.quoted);
    }
}

static void AddItem(std::string &text, const IniItem &item)
{
    AddCommentLines(text, item.comment);
    if (item.value.size() > kLongestValue) return AddParts(text, item);
    text += item.tag.substr(0, kLongestTag);
    AddValue(text, item.value, item.quoted);
}

std::string TextOf(const IniStore &store)
{
    std::string text;
    if (!store.headComment.empty()) {
        AddLine(text, store.headComment);
        AddLine(text, "");
    }
    for (const IniSection &section : store.sections) {
        AddCommentLines(text, section.comment);
        text += '[';
        text += section.name;
        AddLine(text, "]");
        for (const IniItem &item : section.items)
            AddItem(text, item);
        AddLine(text, "");
    }
    AddCommentLines(text, store.tailComment);
    return text;
}

static std::string FolderOf(const std::string &path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

// A file of its own in the folder; negative when none of the names can be had. A name that is taken
// belongs to another writer, or was left behind when one was cut off.
static int OpenTemporary(const std::string &folder, std::string &path)
{
    for (int number = 0; number < kTemporaryNames; ++number) {
        path = folder + "ini$$" + std::to_string(number) + ".CVI";
        const int file = Files().open(path.c_str(), ZVK_OPEN_EXCLUSIVE);
        if (file >= 0) return file;
    }
    return INI_FAILED;
}

// The bytes are on the disk before the name changes, so that a crash leaves the old file or the new
// one.
static int Replace(const std::string &text, const char *target)
{
    std::string temporary;
    const int file = OpenTemporary(FolderOf(target), temporary);
    if (file < 0) return INI_FAILED;
    bool good = Files().write(file, text.data(), text.size()) >= 0;
    good = good && Files().sync(file) == 0;
    good = Files().close(file) == 0 && good;
    if (good && Files().access(target) != ZVK_ACCESS_ABSENT)
        (void)Files().copyMode(target, temporary.c_str());  // its contents count for more
    good = good && Files().rename(temporary.c_str(), target) == 0;
    if (!good) {
        (void)Files().remove(temporary.c_str());
        return INI_FAILED;
    }
    (void)Files().syncFolder(target);  // replaced; a power cut may still bring the old one
    return 0;
}

int Ini_WriteToFile(IniStore *store, const char *path)
{
    if (!store || !path) return INI_FAILED;
    if (Files().access(path) == ZVK_ACCESS_READ_ONLY) return INI_FAILED;
    try {
        PutInOrder(*store);
        return Replace(TextOf(*store), path);
    } catch (const std::bad_alloc &) {
        return INI_NO_MEMORY;
    }
}
