#ifndef QUORVEX_DEMO_SAMPLE_H
#define QUORVEX_DEMO_SAMPLE_H

// A made-up sample for the simulated camera, whose own frames are black: beads on a bright field.
// A held bead follows its trap as in water, the others wander.

#include "demo.h"

#include <opencv2/core/types_c.h>

#include <cstdint>
#include <random>
#include <vector>

constexpr Point kReference = {150, 500};  // a bead that is stuck to the glass

class Sample
{
public:
    // Pixels; the beads to be held are at their traps.
    Sample(int width, int height, const std::vector<Point> &traps);

    // The traps in the order in which the beads were given.
    void Advance(double seconds, const std::vector<Point> &traps);
    // Paints it over the whole picture, and the graphics over it where they aren't black.
    void Paint(IplImage &picture, const std::vector<uint8_t> &graphics);

private:
    void StampBead(const Point &at);

    int width;
    int height;
    std::vector<Point> held;
    std::vector<Point> wandering;
    std::vector<uint8_t> field;  // the light without beads
    std::vector<uint8_t> light;
    std::mt19937 random{640};
    std::normal_distribution<double> kick;
};

#endif
