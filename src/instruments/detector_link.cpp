// The link to the helper program that speaks to the detectors' amplifiers.

#include "instruments/detector.h"
#include "platform/clock.h"
#include "platform/folders.h"
#include "platform/messages.h"
#include "platform/processes.h"

#include <cstring>
#include <string>

constexpr double kReadyS = 1.0;    // what the program needs; nothing checks that it was enough
constexpr int32_t kChannels = 64;  // an order's value stands above six bits of channel
static const char *const kMessageName = "DKLEVENT";
static const char *const kProgram = "dkl.exe";

ZVK_DetectorLink g_detectorLink;

void PostDetectorOrder(int32_t order, int32_t data)
{
    (void)Messages().post(g_detectorLink.eventMessage, order, data);  // blind: nobody answers
}

int32_t DetectorOrderData(int32_t value, int32_t path) { return (value * kChannels) | (path + 1); }

void ReleaseDetectorProcess()
{
    if (g_detectorLink.processHandle != 0) Processes().release(g_detectorLink.processHandle);
    g_detectorLink.processHandle = 0;
}

static int32_t LaunchProgram()
{
    const std::string path = CommonDataPath(kProgram);
    if (path.empty()) return ZVK_ERROR_NO_MEMORY;
    ReleaseDetectorProcess();
    return Processes().launch(path.c_str(), &g_detectorLink.processHandle);
}

// The last character as a digit; any other character counts by its place from "0".
static int32_t NumberOfName(const ZVK_KeyText &name)
{
    const size_t length = std::strlen(name.text);
    if (length == 0) return -'0';
    return static_cast<signed char>(name.text[length - 1]) - '0';
}

int DKL_InitLink(void)
{
    g_detectorLink.eventMessage = Messages().registerName(kMessageName);
    const int32_t launched = LaunchProgram();
    Clock().delay(kReadyS);
    if (launched != 0) return launched;
    for (int32_t path = 0; path < kDetectorPaths; ++path)
        PostDetectorOrder(DKL_ORDER_NAME,
                          DetectorOrderData(NumberOfName(g_detector[path].name), path));
    return ZVK_SUCCESS;
}
