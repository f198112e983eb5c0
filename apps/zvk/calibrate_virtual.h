#ifndef QUORVEX_ZVK_CALIBRATE_VIRTUAL_H
#define QUORVEX_ZVK_CALIBRATE_VIRTUAL_H

// The virtual instrument in this very process: card, stage and beads behind the library's seams,
// as fast as they can.

#include "calibrate_options.h"
#include "calibration.h"

#include <memory>

class VirtualInstrument
{
public:
    // Takes the place of card and stage in the folder in use. Throws std::runtime_error.
    VirtualInstrument();
    ~VirtualInstrument();
    VirtualInstrument(const VirtualInstrument &) = delete;
    VirtualInstrument &operator=(const VirtualInstrument &) = delete;

    // Beads in the medium of the library's settings, once the modules are up.
    void PutBeads(uint64_t seed);
    void SetStuck(bool stuck);
    Truth GetTruth() const;

private:
    struct Inside;
    std::unique_ptr<Inside> m_inside;
};

#endif
