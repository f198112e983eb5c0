#include "motion.h"

#include "normal.h"

#include <cmath>

BeadStep StepOver(const BeadAxis &axis, double seconds)
{
    const double share = seconds / axis.relaxS;
    BeadStep step;
    step.keep = std::exp(-share);
    // expm1 keeps the small steps of a high rate exact.
    step.kick = axis.deviation * std::sqrt(-std::expm1(-2.0 * share));
    step.carry = share > 0.0 ? -std::expm1(-share) / share : 1.0;
    return step;
}

void AddJitter(BeadPlace &place, const BeadAxis &axis, double firstS, double stepS, bool goesOn,
               std::vector<double> &metres)
{
    const BeadStep step = StepOver(axis, stepS);
    for (size_t i = 0; i < metres.size(); ++i) {
        if (i > 0 || (goesOn && place.begun)) {
            place.jitter = step.keep * place.jitter + step.kick * Normal(place.random);
        } else if (!place.begun || firstS < place.timeS) {
            place.jitter = axis.deviation * Normal(place.random);
        } else {
            const BeadStep pause = StepOver(axis, firstS - place.timeS);
            place.jitter = pause.keep * place.jitter + pause.kick * Normal(place.random);
        }
        metres[i] += place.jitter;
    }
    place.begun = true;
    place.timeS = firstS + stepS * (static_cast<double>(metres.size()) - 1.0);
}

void Settle(BeadPlace &place, const BeadAxis &axis, double stepS,
            const std::vector<double> &stageMetres)
{
    place.dragged = 0.0;
    place.stage = stageMetres.front();
    std::vector<double> unused(stageMetres.size());
    AddDrag(place, axis, stepS, stageMetres, unused);
}

void AddDrag(BeadPlace &place, const BeadAxis &axis, double stepS,
             const std::vector<double> &stageMetres, std::vector<double> &metres)
{
    const BeadStep step = StepOver(axis, stepS);
    for (size_t i = 0; i < metres.size(); ++i) {
        place.dragged = step.keep * place.dragged + step.carry * (stageMetres[i] - place.stage);
        place.stage = stageMetres[i];
        metres[i] += place.dragged;
    }
}
