// Measures CompareText on the names that the map reader and the generic codec
// compare on every line, against the ICU collator alone (CompareTextWithCollator),
// which is what CompareText would cost without its 7-bit path.
//
// Pairs of 7-bit names come in three kinds: a name and itself in capitals
// (the hit of a caseless lookup), a name and a longer neighbour ("Fader 1",
// "Fader 12"), and two unrelated names (the misses of a search). The summary
// prints each kind and the mix of all three, whose ratio is the figure that
// matters: the 7-bit path is meant to be at least 5 times faster. Names with
// accents always go to the collator; their line shows what the 7-bit check
// costs them.
//
// With --benchmark_repetitions=N the summary takes the medians.

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

const std::vector<TText16> kSevenBitNames = {u"Fader 1",
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
                                             u"Shift"};

const std::vector<TText16> kAccentedNames = {
    u"R\u00e9glage 1", u"Potentiom\u00e8tre 10",   u"Lautst\u00e4rke",    u"Fader \u00e9tendu",
    u"Ma\u00eetre",    u"Bouton s\u00e9lection 8", u"\u00c9cran ligne 1", u"Tonh\u00f6he"};

enum class EKind
{
    kCapitals,
    kLonger,
    kOther
};

TPairs MakePairs(const std::vector<TText16>& names, std::initializer_list<EKind> kinds)
{
    TPairs pairs;
    for (std::size_t i = 0; i < names.size(); ++i)
    {
        const TText16& name = names[i];
        for (const EKind kind : kinds)
        {
            if (kind == EKind::kCapitals)
                pairs.emplace_back(name, UpperCaseText(name));
            else if (kind == EKind::kLonger)
                pairs.emplace_back(name, name + u"2");
            else
                pairs.emplace_back(name, names[(i + 5) % names.size()]);
        }
    }
    return pairs;
}

// The two ways to compare, as functors so that the loop calls them directly.
struct CWithTable
{
    ECompareResult operator()(std::u16string_view a, std::u16string_view b) const
    {
        return CompareText(a, b);
    }
};

struct CWithCollator
{
    ECompareResult operator()(std::u16string_view a, std::u16string_view b) const
    {
        return CompareTextWithCollator(a, b);
    }
};

template <class TCompare> void RunPairs(benchmark::State& state, const TPairs& pairs)
{
    const TCompare compare;
    std::size_t i = 0;
    for (auto _ : state)
    {
        const auto& [a, b] = pairs[i];
        benchmark::DoNotOptimize(compare(a, b));
        i = i + 1 == pairs.size() ? 0 : i + 1;
    }
}

struct TWorkload
{
    const char* fName;
    TPairs fPairs;
};

// Keeps nanoseconds per comparison for the summary: the plain figure of a
// single run, or the median of repetitions.
class CSummaryReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs)
        {
            if (run.error_occurred)
                continue;
            const std::string name = run.run_name.function_name;
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median")
                fMedians[name] = run.GetAdjustedRealTime();
            else if (run.run_type == Run::RT_Iteration)
                fSingles[name] = run.GetAdjustedRealTime();
        }
        ConsoleReporter::ReportRuns(runs);
    }

    double Get(const std::string& name) const
    {
        if (const auto median = fMedians.find(name); median != fMedians.end())
            return median->second;
        const auto single = fSingles.find(name);
        return single == fSingles.end() ? 0.0 : single->second;
    }

private:
    std::map<std::string, double> fMedians;
    std::map<std::string, double> fSingles;
};
} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    const std::vector<TWorkload> workloads = {
        {"7-bit, mix",
         MakePairs(kSevenBitNames, {EKind::kCapitals, EKind::kLonger, EKind::kOther})},
        {"7-bit, capitals", MakePairs(kSevenBitNames, {EKind::kCapitals})},
        {"7-bit, longer", MakePairs(kSevenBitNames, {EKind::kLonger})},
        {"7-bit, other", MakePairs(kSevenBitNames, {EKind::kOther})},
        {"accents, mix",
         MakePairs(kAccentedNames, {EKind::kCapitals, EKind::kLonger, EKind::kOther})},
    };
    for (const TWorkload& workload : workloads)
    {
        benchmark::RegisterBenchmark((std::string("CompareText/") + workload.fName).c_str(),
                                     RunPairs<CWithTable>, workload.fPairs);
        benchmark::RegisterBenchmark((std::string("Collator/") + workload.fName).c_str(),
                                     RunPairs<CWithCollator>, workload.fPairs);
    }
    CSummaryReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    std::printf("\n%-18s %12s %12s %8s\n", "names", "CompareText", "collator", "ratio");
    for (const TWorkload& workload : workloads)
    {
        const double table = reporter.Get(std::string("CompareText/") + workload.fName);
        const double collator = reporter.Get(std::string("Collator/") + workload.fName);
        if (table > 0 && collator > 0)
            std::printf("%-18s %9.1f ns %9.1f ns %8.1f\n", workload.fName, table, collator,
                        collator / table);
    }
    const double mixTable = reporter.Get("CompareText/7-bit, mix");
    const double mixCollator = reporter.Get("Collator/7-bit, mix");
    if (mixTable > 0 && mixCollator > 0)
        std::printf(
            "7-bit path against the collator on the mix: %.1f times faster (target: at least 5)\n",
            mixCollator / mixTable);
    std::fflush(stdout);
    benchmark::Shutdown();
    return 0;
}
