#ifndef QUORVEX_VIRTUAL_DAQ_SOURCES_H
#define QUORVEX_VIRTUAL_DAQ_SOURCES_H

// The signals at the analog inputs.

#include "card.h"

// The sources of some channels, kept alive and marked as in use. Made and ended under the card's
// guard, which is let go in between.
class SourcesInUse
{
public:
    SourcesInUse(Card &card, const std::vector<std::string> &channels);
    ~SourcesInUse();
    SourcesInUse(const SourcesInUse &) = delete;
    SourcesInUse &operator=(const SourcesInUse &) = delete;

    const Source &operator[](size_t index) const { return *m_sources[index]; }

private:
    Card &m_card;
    std::vector<std::shared_ptr<Source>> m_sources;
};

// Runs a source. Not under the guard.
void FillBlock(const Source &source, const ZVC_Block &block, double *volts);

#endif
