#include "files/key_table.h"

#include "quorvex/confile.h"
#include "quorvex/errors.h"

int32_t ReadKeys(SessionHandle vi, const char *fileName, const char *section,
                 const ZVK_KeyTable &table, void *record)
{
    int32_t status = ZVK_SUCCESS;
    for (size_t i = 0; i < table.count; ++i) {
        const ZVK_KeyRow &row = table.rows[i];
        void *field = static_cast<char *>(record) + row.offset;
        status = ZVK_ConFile_Read(vi, fileName, section, row.key, field, row.type);
        if (status < 0) return status;
        if (status > 0) (void)ZVK_error_CaptureWarning(0, status);
    }
    return status;
}
