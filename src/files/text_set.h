#ifndef QUORVEX_FILES_TEXT_SET_H
#define QUORVEX_FILES_TEXT_SET_H

// Text files that are written together. Each is written beside its place first; all take their
// places once the last one is complete, so that a failure leaves the files that were there before.
// Numbers have a decimal point whatever the locale.

#include <cstdint>
#include <memory>
#include <string>

struct ZVK_TextSet;

struct ZVK_TextSetCloser
{
    void operator()(ZVK_TextSet *set) const noexcept;  // gives up what has not been committed
};
using TextSet = std::unique_ptr<ZVK_TextSet, ZVK_TextSetCloser>;

TextSet MakeTextSet();

// Opens one more file; false when it can't be written. May throw std::bad_alloc, as the next two.
bool AddTextFile(ZVK_TextSet &set, const std::string &path);
void PutText(ZVK_TextSet &set, size_t file, const char *text);
void PutLong(ZVK_TextSet &set, size_t file, int32_t value);
void PutFixed(ZVK_TextSet &set, size_t file, double value);       // six decimals
void PutScientific(ZVK_TextSet &set, size_t file, double value);  // twelve decimals

// Writes what is left and puts all files in their places. False when anything failed.
bool CommitTextSet(ZVK_TextSet &set);

#endif
