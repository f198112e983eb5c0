#ifndef QUORVEX_TESTS_FORCECAL_FIXTURE_H
#define QUORVEX_TESTS_FORCECAL_FIXTURE_H

// The force calibration at load, with all that the force module's fixture has. The stage is
// simulated.

#include "force/forcecal.h"
#include "force_fixture.h"

class ForceCalTest : public ForceTest
{
protected:
    void SetUp() override;
    void TearDown() override;

    // The module as it is when the library is loaded; containers and tables are freed.
    static void ResetForceCal();

    // Up and installed without reading anything.
    static void PretendUp();

    // Sections FORCE and FORCECAL and a calibration file, with these keys of FORCECAL changed or,
    // with the value "-", left out.
    void WriteCalConfig(const std::map<std::string, std::string> &changes = {}) const;

    // Puts a run into a container: TD, its axis, and what counts them.
    static void PutSeries(ZVK_ForceCalDataContainer &data, const std::vector<double> (&signals)[3],
                          int32_t averages, double sampleRate);
    // Puts a spectrum into a container, the same for all three signals unless told.
    static void PutSpectrum(ZVK_ForceCalDataContainer &data, const std::vector<double> &power,
                            double measurementTime);

    // Reads each value of all that ZVK_ForceCal_ReturnData hands out, so that a checker of
    // addresses sees a count that its array does not have. Gives the number of values.
    static int64_t ReadAllHandedOut();

    static ZVK_ForceCalDataContainer &Still(int path = 0) { return g_forceCal.Data[path][3]; }
};

#endif
