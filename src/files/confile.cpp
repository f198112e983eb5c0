// One value read or written: each call loads the whole file, performs one access and lets it go.

#include "quorvex/confile.h"

#include "files/file_names.h"
#include "files/ini_store.h"
#include "platform/memory.h"
#include "quorvex/errors.h"

#include <cstring>
#include <iterator>
#include <memory>
#include <string>

constexpr size_t kStringSize =
    256;  // what a client's string holds; a longer value fills it to the brim
constexpr size_t kPieceSize = 256;  // the most that each piece of the log's text takes

static int32_t Load(IniStore *store, const std::string &path)
{
    if (Ini_ReadFromFile(store, path.c_str()) < 0) return ZVK_CONFILE_NOT_READABLE;
    if (Ini_NumberOfSections(store) == 0) return ZVK_CONFILE_NOT_READABLE;
    return ZVK_SUCCESS;
}

static int32_t FetchString(IniStore *store, const char *section, const char *tag, void *data)
{
    char *copy = nullptr;
    if (Ini_GetStringCopy(store, section, tag, &copy) <= 0) return ZVK_CONFILE_NOT_FOUND;
    const size_t length = std::strlen(copy);
    if (length > 0) std::memcpy(data, copy, length < kStringSize ? length + 1 : kStringSize);
    Release(copy);
    return length > 0 ? ZVK_SUCCESS : ZVK_CONFILE_NOT_FOUND;
}

static int32_t FetchLong(IniStore *store, const char *section, const char *tag, void *data)
{
    int32_t value = 0;
    if (Ini_GetInt(store, section, tag, &value) <= 0) return ZVK_CONFILE_NOT_FOUND;
    *static_cast<int32_t *>(data) = value;
    return ZVK_SUCCESS;
}

// As a double, or narrowed to a float.
template <class Number>
static int32_t FetchNumber(IniStore *store, const char *section, const char *tag, void *data)
{
    double value = 0.0;
    if (Ini_GetDouble(store, section, tag, &value) <= 0) return ZVK_CONFILE_NOT_FOUND;
    *static_cast<Number *>(data) = static_cast<Number>(value);
    return ZVK_SUCCESS;
}

static int32_t Fetch(IniStore *store, const char *section, const char *tag, void *data,
                     int16_t type)
{
    if (type < ZVK_CONFILE_STRING || type > ZVK_CONFILE_FLOAT) return ZVK_CONFILE_BAD_TYPE;
    if (!data) return ZVK_CONFILE_NOT_FOUND;
    switch (type) {
    case ZVK_CONFILE_STRING: return FetchString(store, section, tag, data);
    case ZVK_CONFILE_LONG: return FetchLong(store, section, tag, data);
    case ZVK_CONFILE_DOUBLE: return FetchNumber<double>(store, section, tag, data);
    default: return FetchNumber<float>(store, section, tag, data);
    }
}

// In a buffer of its own, so that a failed read is logged also when it was memory that ran out.
static void LogFailedRead(const char *path, const char *section, const char *tag)
{
    const char *const pieces[] = {
        "An error occurred reading section ",
        section,
        ", tag ",
        tag,
        " in file ",
        path,
        ". Check that the Section/Tag exists and that the correct data type is being supplied."};
    char text[std::size(pieces) * kPieceSize + 1];
    size_t length = 0;
    for (const char *piece : pieces) {
        const size_t count = piece ? strnlen(piece, kPieceSize) : 0;
        if (count > 0) std::memcpy(text + length, piece, count);
        length += count;
    }
    text[length] = '\0';
    (void)ZVK_ConFile_WriteLog(0, "log.ini", text);
}

int32_t ZVK_ConFile_Read(SessionHandle, const char *Filename, const char *section, const char *tag,
                         void *data, int16_t type)
{
    const Store store(Ini_New(1), Ini_Dispose);
    const std::string path =
        ResolvePath(Filename, {"config.ini", "log.ini", "default.odf", "default.cal", "qdmr.bin"});
    int32_t status = Load(store.get(), path);
    if (status == ZVK_SUCCESS) status = Fetch(store.get(), section, tag, data, type);
    if (status != ZVK_SUCCESS) LogFailedRead(path.c_str(), section, tag);
    return status;
}

static int PutValue(IniStore *store, const char *section, const char *tag, const void *data,
                    int16_t type)
{
    if (!data) return INI_FAILED;
    switch (type) {
    case ZVK_CONFILE_STRING:
        return Ini_PutString(store, section, tag, static_cast<const char *>(data));
    case ZVK_CONFILE_LONG:
        return Ini_PutInt(store, section, tag, *static_cast<const int32_t *>(data));
    case ZVK_CONFILE_DOUBLE:
        return Ini_PutDouble(store, section, tag, *static_cast<const double *>(data));
    default: return Ini_PutDouble(store, section, tag, *static_cast<const float *>(data));
    }
}

int32_t ZVK_ConFile_Write(SessionHandle, const char *Filename, const char *section, const char *tag,
                          const void *data, int16_t type)
{
    const Store store(Ini_New(1), Ini_Dispose);
    const std::string path =
        ResolvePath(Filename, {"config.ini", "log.ini", "default.odf", "default.cal"});
    const int32_t status = Load(store.get(), path);
    if (status < 0) return status;
    const bool known = type >= ZVK_CONFILE_STRING && type <= ZVK_CONFILE_FLOAT;
    if (known && PutValue(store.get(), section, tag, data, type) < 0)
        return ZVK_CONFILE_WRITE_FAILED;
    // An unknown type changes nothing, and the file is rewritten all the same.
    if (Ini_WriteToFile(store.get(), path.c_str()) < 0) return ZVK_CONFILE_WRITE_FAILED;
    return known ? ZVK_SUCCESS : ZVK_CONFILE_BAD_TYPE;
}
