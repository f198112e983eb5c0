// The force calibration file: per trap a table of beta and one of K, three axes a row.

#include "files/file_names.h"
#include "files/ini_store.h"
#include "files/skeleton.h"
#include "platform/memory.h"
#include "quorvex/confile.h"
#include "quorvex/errors.h"

#include <algorithm>
#include <memory>
#include <new>

namespace {

// One of the two tables of a section.
struct Table
{
    const char *countTag;
    const char *axisTags[3];
};

}  // namespace

static const char *const kSections[2] = {"TRAP A", "TRAP B"};
static const Table kBeta = {"BETACOUNT", {"BETA_X_", "BETA_Y_", "BETA_Z_"}};
static const Table kStiffness = {"KCOUNT", {"K_X_", "K_Y_", "K_Z_"}};

using Store = std::unique_ptr<IniStore, decltype(&Ini_Dispose)>;

static std::string Tag(const char *name, int32_t index) { return name + std::to_string(index); }

static std::string EmptyTable(const Table &table, int32_t count)
{
    std::string text;
    for (int32_t i = 0; i < count; ++i) {
        for (const char *tag : table.axisTags) text += Tag(tag, i) + " =\n";
    }
    return text;
}

static std::string EmptySection(const char *section, int32_t betas, int32_t ks)
{
    return std::string("[") + section + "]\nBETACOUNT = " + std::to_string(betas) + "\nKCOUNT = " +
           std::to_string(ks) + "\n" + EmptyTable(kBeta, betas) + EmptyTable(kStiffness, ks);
}

static bool PutRow(IniStore *store, const char *section, const Table &table, int32_t row, const double *values)
{
    for (int axis = 0; axis < 3; ++axis) {
        const std::string tag = Tag(table.axisTags[axis], row);
        if (Ini_PutDouble(store, section, tag.c_str(), values[3 * static_cast<int64_t>(row) + axis]) < 0)
            return false;
    }
    return true;
}

// The count is put with each row, so that a count of 0 leaves the old one. A new file's other section gets
// the rows too.
static bool PutBetas(IniStore *store, const char *own, const char *other, int32_t count, const double *values)
{
    for (int32_t i = 0; i < count; ++i) {
        if (Ini_PutInt(store, own, kBeta.countTag, count) != 0 || !PutRow(store, own, kBeta, i, values)) return false;
        if (other == nullptr) continue;
        if (Ini_PutInt(store, other, kBeta.countTag, count) != 0 || !PutRow(store, other, kBeta, i, values))
            return false;
    }
    return true;
}

// With a new file it is the own section's beta count that is put again; the other section's count of K
// stands in the skeleton.
static bool PutStiffness(IniStore *store, const char *own, const char *other, int32_t betas, int32_t count,
                         const double *values)
{
    for (int32_t i = 0; i < count; ++i) {
        if (Ini_PutInt(store, own, kStiffness.countTag, count) != 0 || !PutRow(store, own, kStiffness, i, values))
            return false;
        if (other == nullptr) continue;
        if (Ini_PutInt(store, own, kBeta.countTag, betas) != 0 || !PutRow(store, other, kStiffness, i, values))
            return false;
    }
    return true;
}

static int32_t WriteCalibration(const char *fileName, int32_t trapPath, int32_t betas, int32_t ks, const double *beta,
                                const double *k)
{
    const char *own = kSections[trapPath];
    const char *other = kSections[1 - trapPath];
    const Store store(Ini_New(1), Ini_Dispose);
    const std::string path = ResolvePath(fileName, {"default.cal"});
    const bool isNew = Ini_ReadFromFile(store.get(), path.c_str()) != 0;
    if (isNew) {
        if (IsThere(path)) return ZVK_CONFILE_NOT_READABLE;
        const std::string text = EmptySection(own, betas, ks) + EmptySection(other, betas, ks);
        if (!WriteSkeleton(path, text)) return ZVK_CONFILE_WRITE_FAILED;
        if (Ini_ReadFromFile(store.get(), path.c_str()) < 0) return ZVK_CONFILE_NOT_READABLE;
    }
    const char *second = isNew ? other : nullptr;
    if (!PutBetas(store.get(), own, second, betas, beta)) return ZVK_CONFILE_NOT_FOUND;
    if (!PutStiffness(store.get(), own, second, betas, ks, k)) return ZVK_CONFILE_NOT_FOUND;
    if (Ini_WriteToFile(store.get(), path.c_str()) < 0) return ZVK_CONFILE_WRITE_FAILED;
    return ZVK_SUCCESS;
}

int32_t ZVK_ConFile_WriteForceCalibration(SessionHandle, const char *Filename, int32_t TrapPath,
                                          int32_t NumberOfCalibrationTypesBeta, int32_t NumberOfCalibrationTypesK,
                                          const double *Beta, const double *K)
{
    if (TrapPath < 0 || TrapPath > 1) return ZVK_CONFILE_BAD_PATH;
    try {
        return WriteCalibration(Filename, TrapPath, NumberOfCalibrationTypesBeta, NumberOfCalibrationTypesK, Beta, K);
    } catch (const std::bad_alloc &) {
        return ZVK_CONFILE_NOT_FOUND;
    }
}

// The caller owns the table, whatever the outcome.
static bool FetchTable(IniStore *store, const char *section, const Table &table, int32_t *count, double **values)
{
    if (Ini_GetInt(store, section, table.countTag, count) < 1) return false;
    *values = AllocateArray<double>(3 * static_cast<int64_t>(std::max(*count, 0)));
    if (*values == nullptr) return false;
    for (int32_t i = 0; i < *count; ++i) {
        for (int axis = 0; axis < 3; ++axis) {
            const std::string tag = Tag(table.axisTags[axis], i);
            if (Ini_GetDouble(store, section, tag.c_str(), *values + 3 * static_cast<int64_t>(i) + axis) < 1)
                return false;
        }
    }
    return true;
}

int32_t ZVK_ConFile_ReadForceCalibration(SessionHandle, const char *Filename, int32_t TrapPath,
                                         int32_t *NumberOfCalibrationTypesBeta, int32_t *NumberOfCalibrationTypesK,
                                         double **Beta, double **K)
{
    if (TrapPath < 0 || TrapPath > 1) return ZVK_CONFILE_BAD_PATH;
    try {
        const Store store(Ini_New(1), Ini_Dispose);
        const std::string path = ResolvePath(Filename, {"default.cal"});
        if (Ini_ReadFromFile(store.get(), path.c_str()) != 0) return ZVK_CONFILE_NOT_READABLE;
        const char *section = kSections[TrapPath];
        if (!FetchTable(store.get(), section, kBeta, NumberOfCalibrationTypesBeta, Beta)) return ZVK_CONFILE_NOT_FOUND;
        if (!FetchTable(store.get(), section, kStiffness, NumberOfCalibrationTypesK, K)) return ZVK_CONFILE_NOT_FOUND;
        return ZVK_SUCCESS;
    } catch (const std::bad_alloc &) {
        return ZVK_CONFILE_NOT_FOUND;
    }
}
