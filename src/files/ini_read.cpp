// How a file's text becomes sections and items.

#include "files/ini_store.h"
#include "platform/files.h"

#include <algorithm>
#include <cstring>
#include <new>

constexpr std::string_view kPartWord = " Line";

constexpr size_t kUsualItems = 24;  // room that a section has from the start

// Cuts the next line off the text, behind which there is a NUL. CR, LF and NUL end a line; CR LF
// and LF CR are one end.
static std::string_view NextLine(std::string_view &text)
{
    const size_t end = std::strcspn(text.data(), "\r\n");
    const std::string_view line = text.substr(0, std::min(end, kLongestLine));
    const std::string_view two = text.substr(end, 2);
    const bool pair = two == "\r\n" || two == "\n\r";
    text.remove_prefix(std::min(end + (pair ? 2 : 1), text.size()));
    return line;
}

namespace {

// What the lines so far have led to.
struct Loading
{
    IniStore &store;
    std::string pending;  // comment lines that wait for the next section or item
    std::string head;     // comment lines before the first section
};

}  // namespace

static std::string_view Keep(IniStore &store, std::string text)
{
    if (text.empty()) return {};
    return store.texts.emplace_back(std::move(text));
}

static std::string_view TakePending(Loading &loading)
{
    if (loading.pending.empty()) return {};
    std::string text;
    text.swap(loading.pending);
    return Keep(loading.store, std::move(text));
}

// A comment above a line that is no section and no item, before the first section, is the file's
// head.
static void Ignore(Loading &loading)
{
    if (!loading.store.sections.empty()) return;
    AddComment(loading.head, loading.pending);
    loading.pending.clear();
}

static bool OpenSection(Loading &loading, std::string_view line)
{
    const size_t close = line.find(']');
    if (close == std::string_view::npos || !Trimmed(line.substr(close + 1)).empty()) return false;
    IniSection section;
    section.name = Trimmed(line.substr(1, close - 1));
    section.comment = TakePending(loading);
    section.items.reserve(kUsualItems);
    loading.store.sections.push_back(std::move(section));
    return true;
}

static bool AddItem(Loading &loading, std::string_view line)
{
    const size_t separator = line.find('=');
    if (separator == std::string_view::npos) return false;
    std::string_view value = Trimmed(line.substr(separator + 1));
    if (value.empty() || loading.store.sections.empty()) return false;
    const bool quoted = value.size() >= 2 && value.front() == '"' && value.back() == '"';
    if (quoted) value = value.substr(1, value.size() - 2);
    // Filled in its place: there are hundreds in a file.
    IniItem &item = loading.store.sections.back().items.emplace_back();
    item.tag = Trimmed(line.substr(0, separator));
    item.value = value;
    item.comment = TakePending(loading);
    item.quoted = quoted;
    return true;
}

static void LoadLine(Loading &loading, std::string_view line)
{
    line = TrimmedFront(line);
    if (!line.empty() && line.front() == ';') {
        AddComment(loading.pending, line);
        return;
    }
    const bool taken =
        !line.empty() && line.front() == '[' ? OpenSection(loading, line) : AddItem(loading, line);
    if (!taken) Ignore(loading);
}

// The number of a part such as "tag Line0002", and the tag's length before it; -1: no part.
static int64_t PartNumber(std::string_view tag, size_t *length)
{
    size_t digits = tag.size();
    while (digits > 0 && tag[digits - 1] >= '0' && tag[digits - 1] <= '9')
        --digits;
    if (digits == tag.size() || !tag.substr(0, digits).ends_with(kPartWord)) return -1;
    *length = digits - kPartWord.size();
    int64_t number = 0;
    for (char c : tag.substr(digits))
        number = std::min<int64_t>(number * 10 + (c - '0'), INT32_MAX);
    return number;
}

// The item at `from` that opens a run of parts takes over what the others of the run hold. Gives
// the first item behind the run.
static size_t JoinRun(IniStore &store, std::vector<IniItem> &items, size_t from)
{
    IniItem &item = items[from];
    std::string value(item.value);
    std::string comment(item.comment);
    size_t ignored = 0;
    size_t next = from + 1;
    for (; next < items.size(); ++next) {
        const int64_t number = PartNumber(items[next].tag, &ignored);
        if (number < 0 || number == 1) break;
        value += items[next].value;
        AddComment(comment, items[next].comment);
    }
    item.value = Keep(store, std::move(value));
    item.comment = Keep(store, std::move(comment));
    return next;
}

// A long value stands in parts: number 1, then others. They become one item again. A part that
// stands alone is an item like any other.
static void JoinParts(IniStore &store, std::vector<IniItem> &items)
{
    size_t to = 0;
    for (size_t from = 0; from < items.size();) {
        size_t length = 0;
        size_t next = from + 1;
        if (PartNumber(items[from].tag, &length) == 1) {
            next = JoinRun(store, items, from);
            if (next > from + 1) items[from].tag = Trimmed(items[from].tag.substr(0, length));
        }
        if (to != from) items[to] = items[from];
        ++to;
        from = next;
    }
    items.resize(to);
}

void PutInOrder(IniStore &store)
{
    if (!store.sorted || !store.disordered) return;
    for (IniSection &section : store.sections) {
        std::stable_sort(
            section.items.begin(), section.items.end(),
            [](const IniItem &a, const IniItem &b) { return CompareNames(a.tag, b.tag) < 0; });
    }
    std::stable_sort(
        store.sections.begin(), store.sections.end(),
        [](const IniSection &a, const IniSection &b) { return CompareNames(a.name, b.name) < 0; });
    store.lastSection = 0;
    store.disordered = false;
}

static void LoadLines(IniStore &store, std::string text)
{
    store.disordered = true;
    Loading loading{store, {}, {}};
    std::string_view rest = store.texts.emplace_back(std::move(text));
    while (!rest.empty())
        LoadLine(loading, NextLine(rest));
    store.headComment = Keep(store, std::move(loading.head));
    store.tailComment = TakePending(loading);
    for (IniSection &section : store.sections)
        JoinParts(store, section.items);
}

int Ini_ReadFromText(IniStore *store, std::string text)
{
    if (!store) return INI_FAILED;
    try {
        LoadLines(*store, std::move(text));
        return 0;
    } catch (const std::bad_alloc &) {
        return INI_NO_MEMORY;
    }
}

int Ini_ReadFromFile(IniStore *store, const char *path)
{
    if (!store || !path) return INI_FAILED;
    std::string text;
    const ZVK_WholeFile result = ReadWholeFile(path, text);
    if (result == ZVK_WHOLE_FILE_NO_MEMORY) return INI_NO_MEMORY;
    if (result != ZVK_WHOLE_FILE_READ) return INI_FAILED;
    return Ini_ReadFromText(store, std::move(text));
}
