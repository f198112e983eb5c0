// The force calibration file: per trap a table of beta and one of K, three axes a row.

#include "files/file_names.h"
#include "files/ini_store.h"
#include "files/skeleton.h"
#include "platform/memory.h"
#include "quorvex/confile.h"
#include "quorvex/errors.h"

#include <algorithm>
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

static std::string EmptyTable(const Table &table, int32_t count)
{
    std::string text;
    for (int32_t i = 0; i < count; ++i) {
        for (const char *tag : table.axisTags)
            text += NumberedTag(tag, i) + " =\n";
    }
    return text;
}

static std::string EmptySection(const char *section, int32_t betas, int32_t ks)
{
    return std::string("[") + section + "]\nBETACOUNT = " + std::to_string(betas) +
           "\nKCOUNT = " + std::to_string(ks) + "\n" + EmptyTable(kBeta, betas) +
           EmptyTable(kStiffness, ks);
}

static bool PutRow(IniStore *store, const char *section, const Table &table, int32_t row,
                   const double *values)
{
    for (int axis = 0; axis < 3; ++axis) {
        const std::string tag = NumberedTag(table.axisTags[axis], row);
        if (Ini_PutDouble(store, section, tag.c_str(),
                          values[3 * static_cast<int64_t>(row) + axis]) < 0)
            return false;
    }
    return true;
}

// The count is put with each row, so that a count of 0 leaves the old one. A new file's other
// section gets the rows too.
static bool PutBetas(IniStore *store, const char *own, const char *other, int32_t count,
                     const double *values)
{
    for (int32_t i = 0; i < count; ++i) {
        if (Ini_PutInt(store, own, kBeta.countTag, count) != 0 ||
            !PutRow(store, own, kBeta, i, values))
            return false;
        if (other == nullptr) continue;
        if (Ini_PutInt(store, other, kBeta.countTag, count) != 0 ||
            !PutRow(store, other, kBeta, i, values))
            return false;
    }
    return true;
}

// With a new file it is the own section's beta count that is put again; the other section's count
// of K stands in the skeleton.
static bool PutStiffness(IniStore *store, const char *own, const char *other, int32_t betas,
                         int32_t count, const double *values)
{
    for (int32_t i = 0; i < count; ++i) {
        if (Ini_PutInt(store, own, kStiffness.countTag, count) != 0 ||
            !PutRow(store, own, kStiffness, i, values))
            return false;
        if (other == nullptr) continue;
        if (Ini_PutInt(store, own, kBeta.countTag, betas) != 0 ||
            !PutRow(store, other, kStiffness, i, values))
            return false;
    }
    return true;
}

static bool MakeSkeleton(const std::string &path, const char *own, const char *other, int32_t betas,
                         int32_t ks)
{
    try {
        return WriteSkeleton(path, EmptySection(own, betas, ks) + EmptySection(other, betas, ks));
    } catch (const std::bad_alloc &) {
        return false;
    }
}

static int32_t WriteCalibration(const std::string &path, int32_t trapPath, int32_t betas,
                                int32_t ks, const double *beta, const double *k)
{
    const char *own = kSections[trapPath];
    const char *other = kSections[1 - trapPath];
    const Store store(Ini_New(1), Ini_Dispose);
    if (!store) return ZVK_CONFILE_WRITE_FAILED;
    const bool isNew = Ini_ReadFromFile(store.get(), path.c_str()) != 0;
    if (isNew) {
        if (!MakeSkeleton(path, own, other, betas, ks)) return ZVK_CONFILE_WRITE_FAILED;
        if (Ini_ReadFromFile(store.get(), path.c_str()) < 0) return ZVK_CONFILE_NOT_READABLE;
    }
    const char *second = isNew ? other : nullptr;
    if (!PutBetas(store.get(), own, second, betas, beta)) return ZVK_CONFILE_NOT_FOUND;
    if (!PutStiffness(store.get(), own, second, betas, ks, k)) return ZVK_CONFILE_NOT_FOUND;
    if (Ini_WriteToFile(store.get(), path.c_str()) < 0) return ZVK_CONFILE_WRITE_FAILED;
    return ZVK_SUCCESS;
}

int32_t ZVK_ConFile_WriteForceCalibration(SessionHandle, const char *Filename, int32_t TrapPath,
                                          int32_t NumberOfCalibrationTypesBeta,
                                          int32_t NumberOfCalibrationTypesK, const double *Beta,
                                          const double *K)
{
    const int32_t betas = NumberOfCalibrationTypesBeta;
    const int32_t ks = NumberOfCalibrationTypesK;
    if (TrapPath < 0 || TrapPath > 1) return ZVK_CONFILE_BAD_PATH;
    if ((betas > 0 && !Beta) || (ks > 0 && !K)) return ZVK_CONFILE_NOT_FOUND;
    const std::string path = ResolvePath(Filename, {"default.cal"});
    try {
        return WriteCalibration(path, TrapPath, betas, ks, Beta, K);
    } catch (const std::bad_alloc &) {
        return ZVK_CONFILE_NOT_FOUND;
    }
}

// The caller owns the table, whatever the outcome. A count beyond what the section can hold makes
// no table of that size: its rows end sooner, and that is what is told.
static bool FetchTable(IniStore *store, const char *section, const Table &table, int32_t *count,
                       double **values)
{
    if (Ini_GetInt(store, section, table.countTag, count) < 1) return false;
    const int64_t rows = std::clamp<int64_t>(*count, 0, Ini_NumberOfItems(store, section));
    *values = AllocateArray<double>(3 * rows);
    if (!*values) return false;
    for (int32_t row = 0; row < rows; ++row) {
        for (int axis = 0; axis < 3; ++axis) {
            const std::string tag = NumberedTag(table.axisTags[axis], row);
            double *value = *values + 3 * static_cast<int64_t>(row) + axis;
            if (Ini_GetDouble(store, section, tag.c_str(), value) < 1) return false;
        }
    }
    return rows >= *count;
}

static int32_t ReadCalibration(IniStore *store, const char *section, int32_t *betas, int32_t *ks,
                               double **beta, double **k)
{
    try {
        if (!FetchTable(store, section, kBeta, betas, beta)) return ZVK_CONFILE_NOT_FOUND;
        if (!FetchTable(store, section, kStiffness, ks, k)) return ZVK_CONFILE_NOT_FOUND;
        return ZVK_SUCCESS;
    } catch (const std::bad_alloc &) {
        return ZVK_CONFILE_NOT_FOUND;
    }
}

int32_t ZVK_ConFile_ReadForceCalibration(SessionHandle, const char *Filename, int32_t TrapPath,
                                         int32_t *NumberOfCalibrationTypesBeta,
                                         int32_t *NumberOfCalibrationTypesK, double **Beta,
                                         double **K)
{
    int32_t *betas = NumberOfCalibrationTypesBeta;
    int32_t *ks = NumberOfCalibrationTypesK;
    if (TrapPath < 0 || TrapPath > 1) return ZVK_CONFILE_BAD_PATH;
    const Store store(Ini_New(1), Ini_Dispose);
    const std::string path = ResolvePath(Filename, {"default.cal"});
    if (Ini_ReadFromFile(store.get(), path.c_str()) != 0) return ZVK_CONFILE_NOT_READABLE;
    if (!betas || !ks || !Beta || !K) return ZVK_CONFILE_NOT_FOUND;
    return ReadCalibration(store.get(), kSections[TrapPath], betas, ks, Beta, K);
}
