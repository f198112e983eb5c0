// Getting and putting items of a loaded store.

#include "files/ini_store.h"

#include "platform/memory.h"

#include <algorithm>
#include <cstring>
#include <new>

IniStore *Ini_New(int sorted)
{
    auto *store = new (std::nothrow) IniStore;
    if (store) store->sorted = sorted != 0;
    return store;
}

void Ini_Dispose(IniStore *store) { delete store; }

int Ini_NumberOfSections(const IniStore *store)
{
    return store ? static_cast<int>(store->sections.size()) : 0;
}

// Where the section is, or the number of sections. The order of a loaded file makes no difference to what
// is found, so that it is searched as it stands.
static size_t FindSection(const IniStore &store, std::string_view name)
{
    const size_t count = store.sections.size();
    if (store.lastSection < count && CompareNames(store.sections[store.lastSection].name, name) == 0)
        return store.lastSection;
    for (size_t i = 0; i < count; ++i) {
        if (CompareNames(store.sections[i].name, name) == 0) return i;
    }
    return count;
}

static const IniItem *FindItem(IniStore *store, const char *section, const char *tag)
{
    if (store == nullptr) return nullptr;
    const size_t at = FindSection(*store, Trimmed(section));
    if (at == store->sections.size()) return nullptr;
    store->lastSection = at;
    const std::string_view name = Trimmed(tag);
    for (const IniItem &item : store->sections[at].items) {
        if (CompareNames(item.tag, name) == 0) return &item;
    }
    return nullptr;
}

int Ini_GetStringCopy(IniStore *store, const char *section, const char *tag, char **copy)
{
    const IniItem *item = FindItem(store, section, tag);
    if (item == nullptr) return 0;
    try {
        const std::string text = DecodedText(item->value);
        *copy = AllocateArray<char>(static_cast<int64_t>(text.size()) + 1);
        if (*copy == nullptr) return INI_NO_MEMORY;
        std::memcpy(*copy, text.data(), text.size());
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

// The section's place, made when it is not there.
static size_t SectionForPut(IniStore &store, std::string_view name)
{
    const size_t found = FindSection(store, name);
    if (found < store.sections.size()) return found;
    IniSection section;
    section.name = store.texts.emplace_back(name);
    auto place = store.sections.end();
    if (store.sorted) {
        place = std::find_if(store.sections.begin(), store.sections.end(),
                             [&](const IniSection &s) { return CompareNames(s.name, name) > 0; });
    }
    const auto at = static_cast<size_t>(place - store.sections.begin());
    store.sections.insert(place, std::move(section));
    return at;
}

// All items of the tag go, the new one takes its sorted place, or the first one's. It keeps the comment
// that stood above the first one.
static void ReplaceItem(IniStore &store, std::vector<IniItem> &items, IniItem item)
{
    const auto same = [&](const IniItem &other) { return CompareNames(other.tag, item.tag) == 0; };
    const auto first = std::find_if(items.begin(), items.end(), same);
    auto place = static_cast<size_t>(first - items.begin());
    if (first != items.end()) item.comment = first->comment;
    items.erase(std::remove_if(first, items.end(), same), items.end());
    if (store.sorted) {
        const auto after = std::find_if(items.begin(), items.end(), [&](const IniItem &other) {
            return CompareNames(other.tag, item.tag) > 0;
        });
        place = static_cast<size_t>(after - items.begin());
    }
    items.insert(items.begin() + static_cast<std::ptrdiff_t>(std::min(place, items.size())), item);
}

static int Put(IniStore *store, const char *section, const char *tag, std::string value, bool quoted)
{
    if (store == nullptr) return INI_NO_MEMORY;
    PutInOrder(*store);
    IniItem item;
    item.tag = store->texts.emplace_back(Trimmed(tag));
    item.value = store->texts.emplace_back(std::move(value));
    item.quoted = quoted;

    // Room first: what follows can't fail half way.
    const std::string_view name = Trimmed(section);
    const size_t found = FindSection(*store, name);
    if (found < store->sections.size()) {
        std::vector<IniItem> &items = store->sections[found].items;
        items.reserve(items.size() + 1);
        ReplaceItem(*store, items, item);
        store->lastSection = found;
        return 0;
    }
    std::vector<IniItem> items{item};
    const size_t at = SectionForPut(*store, name);
    store->sections[at].items = std::move(items);
    store->lastSection = at;
    return 0;
}

template <class Text>
static int PutText(IniStore *store, const char *section, const char *tag, bool quoted, Text &&text)
{
    try {
        return Put(store, section, tag, text(), quoted);
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
    return PutText(store, section, tag, true, [&] { return EncodedText(value); });
}
