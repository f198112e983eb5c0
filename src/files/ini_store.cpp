// Getting and putting items of a loaded store.

#include "files/ini_store.h"

#include "platform/memory.h"

#include <algorithm>
#include <new>

IniStore *Ini_New(int sorted)
{
    try {
        auto *store = new IniStore;
        store->sorted = sorted != 0;
        return store;
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

void Ini_Dispose(IniStore *store) { delete store; }

int Ini_NumberOfSections(const IniStore *store)
{
    return store ? static_cast<int>(store->sections.size()) : 0;
}

static std::string_view NameOf(const IniSection &section) { return section.name; }

static std::string_view NameOf(const IniItem &item) { return item.tag; }

// The first entry whose name isn't before `name`, in a list that is in order.
template <class Entry>
static size_t SortedPlace(const std::vector<Entry> &entries, std::string_view name)
{
    const auto place = std::lower_bound(
        entries.begin(), entries.end(), name,
        [](const Entry &e, std::string_view n) { return CompareNames(NameOf(e), n) < 0; });
    return static_cast<size_t>(place - entries.begin());
}

// Where the name is, or the number of entries. A list that was loaded and not put in order yet is
// run through: that costs less than the order for the one value that a call reads.
template <class Entry>
static size_t Find(const IniStore &store, const std::vector<Entry> &entries, std::string_view name)
{
    const auto same = [&](const Entry &e) { return CompareNames(NameOf(e), name) == 0; };
    if (!store.sorted || store.disordered)
        return static_cast<size_t>(std::find_if(entries.begin(), entries.end(), same) -
                                   entries.begin());
    const size_t place = SortedPlace(entries, name);
    return place < entries.size() && same(entries[place]) ? place : entries.size();
}

// The one found last is looked at first.
static size_t FindSection(const IniStore &store, std::string_view name)
{
    const size_t last = store.lastSection;
    if (last < store.sections.size() && CompareNames(store.sections[last].name, name) == 0)
        return last;
    return Find(store, store.sections, name);
}

static const IniSection *SectionNamed(IniStore *store, const char *name)
{
    if (!store || !name) return nullptr;
    const size_t at = FindSection(*store, Trimmed(name));
    if (at == store->sections.size()) return nullptr;
    store->lastSection = at;
    return &store->sections[at];
}

int64_t Ini_NumberOfItems(IniStore *store, const char *section)
{
    const IniSection *found = SectionNamed(store, section);
    return found ? static_cast<int64_t>(found->items.size()) : 0;
}

static const IniItem *FindItem(IniStore *store, const char *section, const char *tag)
{
    const IniSection *found = SectionNamed(store, section);
    if (!found || !tag) return nullptr;
    const size_t at = Find(*store, found->items, Trimmed(tag));
    return at < found->items.size() ? &found->items[at] : nullptr;
}

int Ini_GetStringCopy(IniStore *store, const char *section, const char *tag, char **copy)
{
    const IniItem *item = FindItem(store, section, tag);
    if (!item) return 0;
    try {
        const std::string text = DecodedText(item->value);
        char *block = AllocateArray<char>(static_cast<int64_t>(text.size()) + 1);
        if (!block) return INI_NO_MEMORY;
        std::copy(text.begin(), text.end(), block);  // the block is zeroed: the terminator stands
        *copy = block;
        return 1;
    } catch (const std::bad_alloc &) {
        return INI_NO_MEMORY;
    }
}

int Ini_GetInt(IniStore *store, const char *section, const char *tag, int32_t *value)
{
    const IniItem *item = FindItem(store, section, tag);
    return item ? ConvertInt(item->value, value) : 0;
}

int Ini_GetDouble(IniStore *store, const char *section, const char *tag, double *value)
{
    const IniItem *item = FindItem(store, section, tag);
    return item ? ConvertDouble(item->value, value) : 0;
}

// A line of the file has to give the name back.
static bool SectionFits(std::string_view name)
{
    return name.find_first_of("]\r\n") == std::string_view::npos && name.size() + 2 <= kLongestLine;
}

static bool TagFits(std::string_view tag)
{
    const bool otherLine = !tag.empty() && (tag.front() == '[' || tag.front() == ';');
    return tag.find_first_of("=\r\n") == std::string_view::npos && !otherLine;
}

// One behind the last item that can have the tag of the one at `first`.
static size_t EndOfTag(const IniStore &store, const std::vector<IniItem> &items, size_t first)
{
    if (!store.sorted) return items.size();
    size_t end = first + 1;
    while (end < items.size() && CompareNames(items[end].tag, items[first].tag) == 0)
        ++end;
    return end;
}

// All items of the tag go, and the new one takes the place of the first, with the comments of all.
static void ReplaceItem(IniStore &store, std::vector<IniItem> &items, size_t first, IniItem item)
{
    const auto same = [&](const IniItem &i) { return CompareNames(i.tag, item.tag) == 0; };
    const auto begin = items.begin() + static_cast<std::ptrdiff_t>(first);
    const auto end = items.begin() + static_cast<std::ptrdiff_t>(EndOfTag(store, items, first));
    std::string comments;
    for (auto i = begin; i != end; ++i) {
        if (same(*i)) AddComment(comments, i->comment);
    }
    if (!comments.empty()) item.comment = store.texts.emplace_back(std::move(comments));
    *begin = item;
    items.erase(std::remove_if(begin + 1, end, same), end);
}

static void PutItem(IniStore &store, std::vector<IniItem> &items, const IniItem &item)
{
    const size_t first = Find(store, items, item.tag);
    if (first < items.size()) return ReplaceItem(store, items, first, item);
    const size_t place = store.sorted ? SortedPlace(items, item.tag) : first;
    items.insert(items.begin() + static_cast<std::ptrdiff_t>(place), item);
}

static void AddSection(IniStore &store, std::string_view name, const IniItem &item)
{
    IniSection section;
    section.name = store.texts.emplace_back(name);
    section.items.push_back(item);
    const size_t place = store.sorted ? SortedPlace(store.sections, name) : store.sections.size();
    store.sections.insert(store.sections.begin() + static_cast<std::ptrdiff_t>(place),
                          std::move(section));
    store.lastSection = place;
}

// What takes memory comes first in each step, so that a failure leaves the items as they were.
static int Put(IniStore &store, std::string_view section, std::string_view tag, std::string value,
               bool quoted)
{
    if (!SectionFits(section) || !TagFits(tag)) return INI_BAD_NAME;
    PutInOrder(store);
    IniItem item;
    item.tag = store.texts.emplace_back(tag);
    item.value = store.texts.emplace_back(std::move(value));
    item.quoted = quoted;
    const size_t found = FindSection(store, section);
    if (found == store.sections.size()) {
        AddSection(store, section, item);
    } else {
        PutItem(store, store.sections[found].items, item);
        store.lastSection = found;
    }
    return 0;
}

template <class MakeText>
static int PutText(IniStore *store, const char *section, const char *tag, bool quoted,
                   MakeText makeText)
{
    if (!store || !section || !tag) return INI_FAILED;
    try {
        return Put(*store, Trimmed(section), Trimmed(tag), makeText(), quoted);
    } catch (const std::bad_alloc &) {
        return INI_NO_MEMORY;
    }
}

int Ini_PutInt(IniStore *store, const char *section, const char *tag, int32_t value)
{
    return PutText(store, section, tag, false, [&] { return std::to_string(value); });
}

int Ini_PutDouble(IniStore *store, const char *section, const char *tag, double value)
{
    return PutText(store, section, tag, false, [&] { return DoubleText(value); });
}

int Ini_PutString(IniStore *store, const char *section, const char *tag, const char *value)
{
    if (!value) return INI_FAILED;
    return PutText(store, section, tag, true, [&] { return EncodedText(value); });
}
