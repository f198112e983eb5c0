// The calibration table of a path: read from qdmr.bin, and turned into volts.

#include "files/key_table.h"
#include "instruments/beampower.h"
#include "platform/memory.h"
#include "quorvex/confile.h"

#include <algorithm>
#include <new>
#include <string>
#include <vector>

constexpr double kResolution = 0.00001;  // of power and of voltage, in the table's units
static const char *const kTableFile = "qdmr.bin";
static const char *const kTableSections[kBeamPowerPaths] = {"CALVALUE A", "CALVALUE B"};

void FreeBeamPowerTable(ZVK_BeamPowerState &row)
{
    Release(row.calibration);
    row.numPoints = 0;
    row.hasCalibration = 0;
}

static int32_t ReadValue(SessionHandle vi, int32_t path, const char *name, int32_t number,
                         double &value)
{
    const std::string tag = name + std::to_string(number);
    return ZVK_ConFile_Read(vi, kTableFile, kTableSections[path], tag.c_str(), &value,
                            ZVK_CONFILE_DOUBLE);
}

// Entry by entry, so that a count that is far too high costs no more than what the file holds.
static int32_t ReadPoints(SessionHandle vi, int32_t path, int32_t count,
                          std::vector<ZVK_BeamPowerPoint> &points)
{
    for (int32_t number = 1; number <= count; ++number) {
        ZVK_BeamPowerPoint point;
        int32_t status = ReadValue(vi, path, "V", number, point.V);
        if (status < 0) return status;
        status = ReadValue(vi, path, "P", number, point.P);
        if (status < 0) return status;
        points.push_back(point);
    }
    return ZVK_SUCCESS;
}

static int32_t KeepPoints(ZVK_BeamPowerState &row, const std::vector<ZVK_BeamPowerPoint> &points)
{
    const auto count = static_cast<int32_t>(points.size());
    row.calibration = AllocateArray<ZVK_BeamPowerPoint>(count);
    if (row.calibration == nullptr) return ZVK_ERROR_NO_MEMORY;
    std::copy(points.begin(), points.end(), row.calibration);
    row.numPoints = count;
    row.hasCalibration = 1;
    return ZVK_SUCCESS;
}

int32_t LoadBeamPowerTable(SessionHandle vi, int32_t path)
{
    ZVK_BeamPowerState &row = g_beamPower[path];
    FreeBeamPowerTable(row);  // of a session whose shutdown ended early
    int32_t count = 0;
    int32_t status =
        ZVK_ConFile_Read(vi, kTableFile, kTableSections[path], "NUM", &count, ZVK_CONFILE_LONG);
    if (status == ZVK_CONFILE_NOT_READABLE) return ZVK_SUCCESS;  // no file: SCALE serves
    if (status < 0) return status;
    if (count == 0) return ZVK_SUCCESS;
    if (count < 0) return ZVK_CONFILE_LOG_FAILED;
    try {
        std::vector<ZVK_BeamPowerPoint> points;
        status = ReadPoints(vi, path, count, points);
        if (status < 0) return status;
        return KeepPoints(row, points);
    } catch (const std::bad_alloc &) {
        return ZVK_ERROR_NO_MEMORY;
    }
}

double InterpolateVolts(const ZVK_BeamPowerPoint *points, int32_t count, double power)
{
    const double target = points[count - 1].P * power;
    const ZVK_BeamPowerPoint *lo = &points[0];
    const ZVK_BeamPowerPoint *hi = &points[count - 1];
    for (int32_t i = 0; i < count; ++i) {
        if (target - points[i].P > kResolution) lo = &points[i];
        if (target < points[i].P) {
            hi = &points[i];
            break;
        }
    }
    const double dP = hi->P - lo->P;
    const double dV = hi->V - lo->V;
    const double d = target - lo->P;
    if (d < 0.0 || dV < kResolution) return points[0].V;
    if (!(dP > 0.0)) return points[0].V;  // entries of one power have no slope
    return dV / dP * d + lo->V;
}
