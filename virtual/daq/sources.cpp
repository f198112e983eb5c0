// Signal sources: the built-in ones, those given from outside, and what an input sees that has
// none.

#include "sources.h"

#include "names.h"

#include <algorithm>
#include <cmath>
#include <new>

constexpr double kTwoPi = 6.283185307179586476925286766559;

static thread_local bool t_insideSource = false;

static double SecondsAt(const ZVC_Block &block, uint32_t index)
{
    return block.rate > 0.0 ? block.startS + index / block.rate : block.startS;
}

static void FillConstant(const ZVC_Block *block, double *volts, void *data)
{
    std::fill_n(volts, block->count, static_cast<const double *>(data)[0]);
}

static void FillSine(const ZVC_Block *block, double *volts, void *data)
{
    const auto *values = static_cast<const double *>(data);  // offset, amplitude, hertz, phase
    for (uint32_t i = 0; i < block->count; ++i) {
        // Whole turns are left out first: the argument stays small however late it is.
        const double turns = std::fmod(values[2] * SecondsAt(*block, i), 1.0);
        volts[i] = values[0] + values[1] * std::sin(kTwoPi * turns + values[3]);
    }
}

static void FillRamp(const ZVC_Block *block, double *volts, void *data)
{
    const auto *values = static_cast<const double *>(data);  // from, per sample
    for (uint32_t i = 0; i < block->count; ++i)
        volts[i] = values[0] + values[1] * static_cast<double>(block->firstSample + i);
}

// "dev1/_ao0_vs_aognd" sees "dev1/ao0".
static void FillFromOutput(const ZVC_Block *block, double *volts, void *data)
{
    (void)data;
    const std::string key = block->channel;
    const size_t from = key.find("/_ao") + 2;
    const std::string output = key.substr(0, from - 1) + key.substr(from, key.find("_vs_") - from);
    const double stepS = block->rate > 0.0 ? 1.0 / block->rate : 0.0;
    if (ZVC_CopyVoltsAt(output.c_str(), block->startS, stepS, block->count, volts) != ZVC_OK)
        std::fill_n(volts, block->count, 0.0);
}

static std::shared_ptr<Source> MakeSource(ZVC_SourceFunction function)
{
    auto source = std::make_shared<Source>();
    source->function = function;
    source->data = source->values;
    return source;
}

static bool SeesOutput(const std::string &key)
{
    const size_t place = key.find("/_ao");
    return place != std::string::npos && key.compare(place, 8, "/_aognd_") != 0;
}

static std::shared_ptr<Source> SourceOf(Card &card, const std::string &key)
{
    const auto place = card.sources.find(key);
    if (place != card.sources.end()) return place->second;
    return MakeSource(SeesOutput(key) ? FillFromOutput : FillConstant);
}

SourcesInUse::SourcesInUse(Card &card, const std::vector<std::string> &channels) : m_card(card)
{
    for (const std::string &channel : channels)
        m_sources.push_back(SourceOf(card, channel));
    for (const std::shared_ptr<Source> &source : m_sources)
        ++source->inUse;
}

SourcesInUse::~SourcesInUse()
{
    for (const std::shared_ptr<Source> &source : m_sources)
        --source->inUse;
    m_card.rested.notify_all();
}

void FillBlock(const Source &source, const ZVC_Block &block, double *volts)
{
    t_insideSource = true;
    source.function(&block, volts, source.data);
    t_insideSource = false;
}

static void PutSource(Card &card, const std::string &key, const std::shared_ptr<Source> &source,
                      std::vector<std::shared_ptr<Source>> &replaced)
{
    const auto place = card.sources.find(key);
    if (place != card.sources.end()) {
        replaced.push_back(place->second);
        card.sources.erase(place);
    }
    if (source) card.sources[key] = source;
}

// Each channel of the list gets the source, null: none. Waits for those that are replaced.
static int32_t PutSources(const char *channels, const std::shared_ptr<Source> &source)
{
    std::vector<PhysicalChannel> list;
    if (!channels || !ParseChannels(channels, ChannelKind::analogInput, list))
        return ZVC_BAD_ARGUMENT;
    Card &card = TheCard();
    Guard guard(card.guard);
    std::vector<std::shared_ptr<Source>> replaced;
    for (const PhysicalChannel &channel : list)
        PutSource(card, channel.key, source, replaced);
    if (t_insideSource) return ZVC_OK;  // waiting for ourselves would never end
    card.rested.wait(guard, [&] {
        return std::all_of(replaced.begin(), replaced.end(),
                           [&](const auto &old) { return old->inUse == 0 || old == source; });
    });
    return ZVC_OK;
}

static int32_t PutBuiltIn(const char *channels, ZVC_SourceFunction function, double first,
                          double second, double third, double fourth)
{
    try {
        const std::shared_ptr<Source> source = MakeSource(function);
        source->values[0] = first;
        source->values[1] = second;
        source->values[2] = third;
        source->values[3] = fourth;
        return PutSources(channels, source);
    } catch (const std::bad_alloc &) {
        return ZVC_OUT_OF_MEMORY;
    }
}

int32_t ZVC_SetSource(const char *channels, ZVC_SourceFunction function, void *data)
{
    try {
        if (!function) return PutSources(channels, nullptr);
        const std::shared_ptr<Source> source = MakeSource(function);
        source->data = data;
        return PutSources(channels, source);
    } catch (const std::bad_alloc &) {
        return ZVC_OUT_OF_MEMORY;
    }
}

int32_t ZVC_SetConstant(const char *channels, double volts)
{
    return PutBuiltIn(channels, FillConstant, volts, 0.0, 0.0, 0.0);
}

int32_t ZVC_SetSine(const char *channels, double offset, double amplitude, double hertz,
                    double phase)
{
    return PutBuiltIn(channels, FillSine, offset, amplitude, hertz, phase);
}

int32_t ZVC_SetRamp(const char *channels, double from, double perSample)
{
    return PutBuiltIn(channels, FillRamp, from, perSample, 0.0, 0.0);
}
