// The objective file: per path the four polynomials of the pixel and volt transform, and the calibrated
// field.

#include "files/file_names.h"
#include "files/ini_store.h"
#include "files/skeleton.h"
#include "quorvex/confile.h"
#include "quorvex/errors.h"

#include <cstring>
#include <memory>
#include <new>

static const char *const kTables[] = {"AX", "AY", "AXI", "AYI"};
static const char *const kField[] = {"CALXMIN", "CALXMAX", "CALYMIN", "CALYMAX"};
static const char kFirstSection[] = "GALVO 0";
static const char kSecondSection[] = "GALVO 1";

using Store = std::unique_ptr<IniStore, decltype(&Ini_Dispose)>;

static std::string Tag(const char *name, int32_t index) { return name + std::to_string(index); }

static std::string EmptySection(const char *section, int32_t count)
{
    std::string text = std::string("[") + section + "]\nCOEFFNUM = " + std::to_string(count) + "\n";
    for (int32_t i = 0; i < count; ++i) {
        for (const char *table : kTables) text += Tag(table, i) + " =\n";
    }
    for (const char *key : kField) text += std::string(key) + " =\n";
    return text;
}

static bool PutTables(IniStore *store, const char *section, int32_t count, const double *const tables[4])
{
    for (int32_t i = 0; i < count; ++i) {
        for (int t = 0; t < 4; ++t) {
            if (Ini_PutDouble(store, section, Tag(kTables[t], i).c_str(), tables[t][i]) < 0) return false;
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

// Makes the file with empty values in both sections and loads it. The caller's section becomes the first
// one: a first save fills both.
static int32_t MakeSkeleton(IniStore *store, const std::string &path, char *section, int32_t count)
{
    const std::string text = EmptySection(kFirstSection, count) + EmptySection(kSecondSection, count);
    if (!WriteSkeleton(path, text)) return ZVK_CONFILE_WRITE_FAILED;
    std::memcpy(section, kFirstSection, sizeof kFirstSection);
    if (Ini_ReadFromFile(store, path.c_str()) < 0) return ZVK_CONFILE_NOT_READABLE;
    return ZVK_SUCCESS;
}

static int32_t WriteObjective(const std::string &path, char *section, int32_t count, const double *const tables[4],
                              const double *field)
{
    const Store store(Ini_New(1), Ini_Dispose);
    const bool isNew = Ini_ReadFromFile(store.get(), path.c_str()) != 0;
    if (isNew && IsThere(path)) return ZVK_CONFILE_NOT_READABLE;
    if (isNew) {
        const int32_t status = MakeSkeleton(store.get(), path, section, count);
        if (status < 0) return status;
    }
    if (!PutTables(store.get(), section, count, tables)) return ZVK_CONFILE_NOT_FOUND;
    if (isNew && !PutTables(store.get(), kSecondSection, count, tables)) return ZVK_CONFILE_NOT_FOUND;
    if (!PutField(store.get(), section, count, field)) return ZVK_CONFILE_NOT_FOUND;
    if (isNew && !PutField(store.get(), kSecondSection, count, field)) return ZVK_CONFILE_NOT_FOUND;
    if (Ini_WriteToFile(store.get(), path.c_str()) < 0) return ZVK_CONFILE_WRITE_FAILED;
    return ZVK_SUCCESS;
}

int32_t ZVK_ConFile_WriteObjective(SessionHandle, const char *Filename, char *Section, int32_t coeffnum,
                                   const double *dataX, const double *dataY, const double *dataIX,
                                   const double *dataIY, const double *field)
{
    const double *const tables[4] = {dataX, dataY, dataIX, dataIY};
    try {
        return WriteObjective(ResolvePath(Filename, {"default.odf"}), Section, coeffnum, tables, field);
    } catch (const std::bad_alloc &) {
        return ZVK_CONFILE_NOT_FOUND;
    }
}

static int32_t ReadObjective(const std::string &path, const char *section, int32_t count, double *const tables[4],
                             double *field)
{
    const Store store(Ini_New(1), Ini_Dispose);
    if (Ini_ReadFromFile(store.get(), path.c_str()) != 0) return ZVK_CONFILE_NOT_READABLE;
    for (int32_t i = 0; i < count; ++i) {
        for (int t = 0; t < 4; ++t) {
            if (Ini_GetDouble(store.get(), section, Tag(kTables[t], i).c_str(), &tables[t][i]) < 1)
                return ZVK_CONFILE_NOT_FOUND;
        }
    }
    for (int k = 0; k < 4; ++k) {
        if (Ini_GetDouble(store.get(), section, kField[k], &field[k]) < 1) return ZVK_CONFILE_NOT_FOUND;
    }
    return ZVK_SUCCESS;
}

int32_t ZVK_ConFile_ReadObjective(SessionHandle, const char *Filename, const char *section, int32_t coeffnum,
                                  double *dataAX, double *dataAY, double *dataIAX, double *dataIAY, double *field)
{
    double *const tables[4] = {dataAX, dataAY, dataIAX, dataIAY};
    try {
        return ReadObjective(ResolvePath(Filename, {"default.odf"}), section, coeffnum, tables, field);
    } catch (const std::bad_alloc &) {
        return ZVK_CONFILE_NOT_READABLE;
    }
}
