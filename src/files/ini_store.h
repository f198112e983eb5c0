#ifndef QUORVEX_FILES_INI_STORE_H
#define QUORVEX_FILES_INI_STORE_H

// A section and tag text file in memory: loaded whole, read and changed by section and tag, written
// back whole. A store belongs to one call and one thread. Negative results are failures; a failed
// put leaves the store as it was, a failed read may leave what was read so far. A null store, name
// or value is harmless: it is not found, and refused where it is to be put.

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

constexpr int INI_FAILED = -1;
constexpr int INI_NO_MEMORY = -2;
constexpr int INI_NOT_A_NUMBER = -3;
constexpr int INI_BAD_NAME = -4;  // no file could hold it: put, it would spoil its neighbours

struct IniItem
{
    std::string_view tag;
    std::string_view value;    // as it stands in the file: escapes and all
    std::string_view comment;  // lines above it, joined by CR LF
    bool quoted = false;       // written back in double quotes
};

struct IniSection
{
    std::string_view name;
    std::string_view comment;
    std::vector<IniItem> items;
};

// All texts are views into `texts`, which only grows: one entry for the file, one for each thing
// put.
struct IniStore
{
    bool sorted = false;
    bool disordered = false;  // loaded, and not put in order yet: only a change or a write needs it
    size_t lastSection = 0;   // found last, looked at first
    std::vector<IniSection> sections;
    std::string_view headComment;
    std::string_view tailComment;
    std::deque<std::string> texts;
};

IniStore *Ini_New(int sorted);      // null when memory ran out
void Ini_Dispose(IniStore *store);  // null is harmless

using Store = std::unique_ptr<IniStore, decltype(&Ini_Dispose)>;

int Ini_ReadFromFile(IniStore *store, const char *path);
int Ini_WriteToFile(IniStore *store, const char *path);
int Ini_ReadFromText(IniStore *store,
                     std::string text);  // what Ini_ReadFromFile does with the bytes
int Ini_NumberOfSections(const IniStore *store);
int64_t Ini_NumberOfItems(IniStore *store, const char *section);  // 0 when there is no such section

// Above 0: found. 0: no such section or tag, or a blank value for a number. Negative: it doesn't
// convert.
int Ini_GetStringCopy(IniStore *store, const char *section, const char *tag,
                      char **copy);  // free() it
int Ini_GetInt(IniStore *store, const char *section, const char *tag, int32_t *value);
int Ini_GetDouble(IniStore *store, const char *section, const char *tag, double *value);

int Ini_PutInt(IniStore *store, const char *section, const char *tag, int32_t value);
int Ini_PutDouble(IniStore *store, const char *section, const char *tag, double value);
int Ini_PutString(IniStore *store, const char *section, const char *tag, const char *value);

// -- inside the store (ini_read.cpp, ini_write.cpp, ini_convert.cpp) --

constexpr size_t kLongestLine = 1024;  // of a line as read; the rest is dropped

// Here, since each line of a file goes through them.
inline bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

inline std::string_view TrimmedFront(std::string_view text)
{
    while (!text.empty() && IsSpace(text.front()))
        text.remove_prefix(1);
    return text;
}

inline std::string_view Trimmed(std::string_view text)
{
    text = TrimmedFront(text);
    while (!text.empty() && IsSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

int CompareNames(std::string_view a,
                 std::string_view b);  // without regard to case; below 0: a first
void AddComment(std::string &comment, std::string_view lines);  // joined by CR LF
void PutInOrder(IniStore &store);
std::string TextOf(const IniStore &store);  // the file's bytes, in the order as it stands

std::string DecodedText(std::string_view text);
std::string EncodedText(const char *text);
int ConvertInt(std::string_view text, int32_t *value);
int ConvertDouble(std::string_view text, double *value);
std::string DoubleText(double value);

#endif
