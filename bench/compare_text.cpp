// Measures CompareText on the names that the map reader and the generic codec
// compare on every line: 7-bit names through the table of the fast path and
// through the ICU collator, then names with accents, which always take the
// collator. Prints the ratio of the two 7-bit figures; the fast path is meant
// to be at least 5 times faster.

#include "foundation/TextCompare.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

using namespace NSTextPackage;

namespace
{
using TPairs = std::vector<std::pair<TText16, TText16>>;

// Each name meets itself in another case (the usual hit of a lookup), a near
// neighbour that differs at the end, and an unrelated name.
TPairs MakePairs(const std::vector<TText16>& names)
{
    TPairs pairs;
    for (std::size_t i = 0; i < names.size(); ++i)
    {
        const TText16& name = names[i];
        pairs.emplace_back(name, UpperCaseText(name));
        pairs.emplace_back(name, name + u"2");
        pairs.emplace_back(name, names[(i + 5) % names.size()]);
    }
    return pairs;
}

const TPairs& SevenBitPairs()
{
    static const TPairs pairs = MakePairs({u"Fader 1",
                                           u"Fader 2",
                                           u"Knob 10",
                                           u"Master Fader",
                                           u"Transport Play",
                                           u"Transport Stop",
                                           u"Transport Record",
                                           u"Jog Wheel",
                                           u"Bank Left",
                                           u"Bank Right",
                                           u"Channel Select 8",
                                           u"Mute 3",
                                           u"Solo 4",
                                           u"Define Group",
                                           u"Keyboard Shortcut Variations",
                                           u"Scope",
                                           u"Map",
                                           u"Kinvar Generic MIDI Codec",
                                           u"Pitch Bend",
                                           u"Mod Wheel",
                                           u"Keyboard",
                                           u"Display Line 1",
                                           u"Encoder_Push-5",
                                           u"Shift"});
    return pairs;
}

const TPairs& AccentedPairs()
{
    static const TPairs pairs = MakePairs(
        {u"R\u00e9glage 1", u"Potentiom\u00e8tre 10", u"Lautst\u00e4rke", u"Fader \u00e9tendu",
         u"Ma\u00eetre", u"Bouton s\u00e9lection 8", u"\u00c9cran ligne 1", u"Tonh\u00f6he"});
    return pairs;
}

template <class TCompare>
void RunPairs(benchmark::State& state, const TPairs& pairs, TCompare compare)
{
    std::size_t i = 0;
    for (auto _ : state)
    {
        const auto& [a, b] = pairs[i];
        benchmark::DoNotOptimize(compare(a, b));
        i = i + 1 == pairs.size() ? 0 : i + 1;
    }
}

void SevenBitFastPath(benchmark::State& state)
{
    RunPairs(state, SevenBitPairs(),
             [](const TText16& a, const TText16& b) { return CompareText(a, b); });
}

void SevenBitCollator(benchmark::State& state)
{
    RunPairs(state, SevenBitPairs(),
             [](const TText16& a, const TText16& b) { return CompareTextWithCollator(a, b); });
}

void AccentedCompareText(benchmark::State& state)
{
    RunPairs(state, AccentedPairs(),
             [](const TText16& a, const TText16& b) { return CompareText(a, b); });
}

void AccentedCollator(benchmark::State& state)
{
    RunPairs(state, AccentedPairs(),
             [](const TText16& a, const TText16& b) { return CompareTextWithCollator(a, b); });
}

BENCHMARK(SevenBitFastPath);
BENCHMARK(SevenBitCollator);
BENCHMARK(AccentedCompareText);
BENCHMARK(AccentedCollator);

// Keeps the nanoseconds per comparison of each benchmark for the summary.
class CSummaryReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration && !run.error_occurred)
                fNanoseconds[run.run_name.function_name] = run.GetAdjustedRealTime();
        ConsoleReporter::ReportRuns(runs);
    }

    double Get(const std::string& name) const
    {
        const auto found = fNanoseconds.find(name);
        return found == fNanoseconds.end() ? 0.0 : found->second;
    }

private:
    std::map<std::string, double> fNanoseconds;
};
} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    CSummaryReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    const double fast = reporter.Get("SevenBitFastPath");
    const double collator = reporter.Get("SevenBitCollator");
    if (fast > 0 && collator > 0)
        std::printf("7-bit names: fast path %.1f ns, ICU collator %.1f ns, ratio %.1f "
                    "(target: at least 5)\n",
                    fast, collator, collator / fast);
    const double accented = reporter.Get("AccentedCompareText");
    const double accentedCollator = reporter.Get("AccentedCollator");
    if (accented > 0 && accentedCollator > 0)
        std::printf("names with accents: CompareText %.1f ns, ICU collator %.1f ns\n", accented,
                    accentedCollator);
    benchmark::Shutdown();
    return 0;
}
