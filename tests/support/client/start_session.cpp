#include "start_session.h"

#include <quorvex/quorvex.h>

#include <gtest/gtest.h>

int32_t StartSession(uint32_t vi, const char *name, uint16_t flags)
{
    int32_t calibration = 0;
    EXPECT_EQ(ZVK_ForceCal_GetInitStatus(vi, &calibration), 0);
    const int32_t status = ZVK_init(name, flags, flags, vi);
    if (calibration == 0) return status;
    EXPECT_LT(status, 0) << "the calibration came up twice";
    return status == ZVK_FORCECAL_ALREADY_INITIALIZED ? 0 : status;
}
