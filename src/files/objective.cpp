// The objective file: per path the four polynomials of the pixel and volt transform, and the
// calibrated field.

#include "files/file_names.h"
#include "files/ini_store.h"
#include "files/skeleton.h"
#include "quorvex/confile.h"
#include "quorvex/errors.h"

#include <algorithm>
#include <cstring>
#include <new>

static const char *const kTables[] = {"AX", "AY", "AXI", "AYI"};
static const char *const kField[] = {"CALXMIN", "CALXMAX", "CALYMIN", "CALYMAX"};
static const char kFirstSection[] = "GALVO 0";
static const char kSecondSection[] = "GALVO 1";

static std::string EmptySection(const char *section, int32_t count)
{
    std::string text = std::string("[") + section + "]\nCOEFFNUM = " + std::to_string(count) + "\n";
    for (int32_t i = 0; i < count; ++i) {
        for (const char *table : kTables)
            text += NumberedTag(table, i) + " =\n";
    }
    for (const char *key : kField)
        text += std::string(key) + " =\n";
    return text;
}

static bool PutTables(IniStore *store, const char *section, int32_t count,
                      const double *const tables[4])
{
    for (int32_t i = 0; i < count; ++i) {
        for (int t = 0; t < 4; ++t) {
            if (Ini_PutDouble(store, section, NumberedTag(kTables[t], i).c_str(), tables[t][i]) < 0)
                return false;
        }
    }
    return true;
}

static bool PutField(IniStore *store, const char *section, int32_t count, const double *field)
{
    for (int k = 0; k < 4; ++k) {
        if (Ini_PutDouble(store, section, kField[k], field[k]) < 0) return false;
    }
    return Ini_PutInt(store, section, "COEFFNUM", count) >= 0;
}

static bool MakeSkeleton(const std::string &path, int32_t count)
{
    try {
        return WriteSkeleton(path, EmptySection(kFirstSection, count) +
                                       EmptySection(kSecondSection, count));
    } catch (const std::bad_alloc &) {
        return false;
    }
}

static bool AnyNull(const double *const tables[4], int32_t count, const double *field)
{
    const bool noTable = std::find(tables, tables + 4, nullptr) != tables + 4;
    return !field || (count > 0 && noTable);
}

static int32_t WriteObjective(const std::string &path, char *section, int32_t count,
                              const double *const tables[4], const double *field)
{
    const Store store(Ini_New(1), Ini_Dispose);
    if (!store) return ZVK_CONFILE_WRITE_FAILED;
    const bool isNew = Ini_ReadFromFile(store.get(), path.c_str()) != 0;
    if (isNew) {
        if (!MakeSkeleton(path, count)) return ZVK_CONFILE_WRITE_FAILED;
        // A first save fills both sections, and tells so in the caller's text.
        std::memcpy(section, kFirstSection, sizeof kFirstSection);
        if (Ini_ReadFromFile(store.get(), path.c_str()) < 0) return ZVK_CONFILE_NOT_READABLE;
    }
    if (!PutTables(store.get(), section, count, tables)) return ZVK_CONFILE_NOT_FOUND;
    if (isNew && !PutTables(store.get(), kSecondSection, count, tables))
        return ZVK_CONFILE_NOT_FOUND;
    if (!PutField(store.get(), section, count, field)) return ZVK_CONFILE_NOT_FOUND;
    if (isNew && !PutField(store.get(), kSecondSection, count, field)) return ZVK_CONFILE_NOT_FOUND;
    if (Ini_WriteToFile(store.get(), path.c_str()) < 0) return ZVK_CONFILE_WRITE_FAILED;
    return ZVK_SUCCESS;
}

int32_t ZVK_ConFile_WriteObjective(SessionHandle, const char *Filename, char *Section,
                                   int32_t coeffnum, const double *dataX, const double *dataY,
                                   const double *dataIX, const double *dataIY, const double *field)
{
    const double *const tables[4] = {dataX, dataY, dataIX, dataIY};
    if (!Section || AnyNull(tables, coeffnum, field)) return ZVK_CONFILE_NOT_FOUND;
    const std::string path = ResolvePath(Filename, {"default.odf"});
    try {
        return WriteObjective(path, Section, coeffnum, tables, field);
    } catch (const std::bad_alloc &) {
        return ZVK_CONFILE_NOT_FOUND;
    }
}

static int32_t ReadObjective(const std::string &path, const char *section, int32_t count,
                             double *const tables[4], double *field)
{
    const Store store(Ini_New(1), Ini_Dispose);
    if (Ini_ReadFromFile(store.get(), path.c_str()) != 0) return ZVK_CONFILE_NOT_READABLE;
    if (AnyNull(tables, count, field)) return ZVK_CONFILE_NOT_FOUND;
    for (int32_t i = 0; i < count; ++i) {
        for (int t = 0; t < 4; ++t) {
            if (Ini_GetDouble(store.get(), section, NumberedTag(kTables[t], i).c_str(),
                              &tables[t][i]) < 1)
                return ZVK_CONFILE_NOT_FOUND;
        }
    }
    for (int k = 0; k < 4; ++k) {
        if (Ini_GetDouble(store.get(), section, kField[k], &field[k]) < 1)
            return ZVK_CONFILE_NOT_FOUND;
    }
    return ZVK_SUCCESS;
}

int32_t ZVK_ConFile_ReadObjective(SessionHandle, const char *Filename, const char *section,
                                  int32_t coeffnum, double *dataAX, double *dataAY, double *dataIAX,
                                  double *dataIAY, double *field)
{
    double *const tables[4] = {dataAX, dataAY, dataIAX, dataIAY};
    const std::string path = ResolvePath(Filename, {"default.odf"});
    try {
        return ReadObjective(path, section, coeffnum, tables, field);
    } catch (const std::bad_alloc &) {
        return ZVK_CONFILE_NOT_FOUND;
    }
}
