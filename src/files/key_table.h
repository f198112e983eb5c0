#ifndef QUORVEX_FILES_KEY_TABLE_H
#define QUORVEX_FILES_KEY_TABLE_H

// The keys that modules read from config.ini, as tables. A module reads a section by running
// through its rows in order; docs/configuration.md is checked against the same
// rows.

#include "quorvex/types.h"

#include <cstddef>
#include <cstdint>

struct ZVK_KeyRow
{
    const char *key;
    int16_t type;         // ZVK_CONFILE_STRING and so on
    size_t offset;        // of the field in the record that takes the value
    const char *unit;     // "" where there is none
    const char *meaning;  // one sentence part for the documents
};

// A string field has room for 256 characters and a terminator of its own.
struct ZVK_KeyText
{
    char text[257];
};

struct ZVK_KeyTable
{
    const char *module;
    const char *sections;  // as the documents write them, "GALVO 0, GALVO 1"
    const ZVK_KeyRow *rows;
    size_t count;
};

// Reads the rows in order into the record. A negative status ends it at once, with what came before
// in the record; a positive one is captured and reading goes on. The status of the last read.
int32_t ReadKeys(SessionHandle vi, const char *fileName, const char *section,
                 const ZVK_KeyTable &table, void *record);

#endif
