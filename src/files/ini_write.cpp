// How a store becomes a file again: beside the target first, then in its place, whole or not at all.

#include "files/ini_store.h"
#include "platform/files.h"

#include <algorithm>
#include <cstdio>
#include <new>

constexpr size_t kLongestValue = 80;     // longer ones stand in parts
constexpr size_t kLongestTag = 255;
constexpr size_t kLongestPartTag = 247;  // leaves room for " Line0001"
constexpr int kTemporaryNames = 1000;

static void AddLine(std::string &text, std::string_view line)
{
    text += line;
    text += "\r\n";
}

static void AddComment(std::string &text, std::string_view comment)
{
    if (!comment.empty()) AddLine(text, comment);
}

static void AddValue(std::string &text, std::string_view tag, std::string_view value, bool quoted)
{
    text += tag;
    text += " = ";
    if (quoted) text += '"';
    text += value;
    if (quoted) text += '"';
    text += "\r\n";
}

static void AddItem(std::string &text, const IniItem &item)
{
    AddComment(text, item.comment);
    if (item.value.size() <= kLongestValue) {
        AddValue(text, item.tag.substr(0, kLongestTag), item.value, item.quoted);
        return;
    }
    int number = 0;
    for (size_t at = 0; at < item.value.size(); at += kLongestValue) {
        char suffix[32];
        std::snprintf(suffix, sizeof suffix, " Line%04d", ++number);
        const std::string tag = std::string(item.tag.substr(0, kLongestPartTag)) + suffix;
        AddValue(text, tag, item.value.substr(at, kLongestValue), item.quoted);
    }
}

static std::string TextOf(const IniStore &store)
{
    std::string text;
    if (!store.headComment.empty()) {
        AddLine(text, store.headComment);
        AddLine(text, "");
    }
    for (const IniSection &section : store.sections) {
        AddComment(text, section.comment);
        text += '[';
        text += section.name;
        AddLine(text, "]");
        for (const IniItem &item : section.items) AddItem(text, item);
        AddLine(text, "");
    }
    AddComment(text, store.tailComment);
    return text;
}

static std::string FolderOf(const std::string &path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

// A file of its own in the folder; negative when none of the names is free.
static int OpenTemporary(const std::string &folder, std::string &path)
{
    for (int number = 0; number < kTemporaryNames; ++number) {
        path = folder + "ini$$" + std::to_string(number) + ".CVI";
        const int file = Files().open(path.c_str(), ZVK_OPEN_EXCLUSIVE);
        if (file >= 0) return file;
        if (Files().access(path.c_str()) == ZVK_ACCESS_ABSENT) return INI_FAILED;  // not a name that is taken
    }
    return INI_FAILED;
}

static bool WriteAll(int file, const std::string &text)
{
    for (size_t done = 0; done < text.size();) {
        const int64_t count = Files().write(file, text.data() + done, text.size() - done);
        if (count <= 0) return false;
        done += static_cast<size_t>(count);
    }
    return true;
}

// The bytes are on the disk before the name changes, so that a crash leaves the old file or the new one.
static int Replace(const std::string &text, const std::string &target)
{
    std::string temporary;
    const std::string folder = FolderOf(target);
    const int file = OpenTemporary(folder, temporary);
    if (file < 0) return INI_FAILED;
    bool good = WriteAll(file, text);
    good = good && Files().sync(file) == 0;
    good = Files().close(file) == 0 && good;
    if (good && Files().access(target.c_str()) != ZVK_ACCESS_ABSENT)
        (void)Files().copyMode(target.c_str(), temporary.c_str());
    good = good && Files().rename(temporary.c_str(), target.c_str()) == 0;
    if (!good) {
        (void)Files().remove(temporary.c_str());
        return INI_FAILED;
    }
    (void)Files().syncFolder(target.c_str());  // the file is replaced; a power cut may still bring the old one
    return 0;
}

int Ini_WriteToFile(IniStore *store, const char *path)
{
    if (store == nullptr) return INI_NO_MEMORY;
    if (Files().access(path) == ZVK_ACCESS_READ_ONLY) return INI_FAILED;
    try {
        PutInOrder(*store);
        return Replace(TextOf(*store), path);
    } catch (const std::bad_alloc &) {
        return INI_NO_MEMORY;
    }
}
