// Warm parses: how fast each parser goes through each document when code, text and heap are in the caches.
#include "xml_peers.h"

#include <benchmark/benchmark.h>

#include <stdio.h>

#include <map>

// Prints nothing while the benchmarks run, but keeps the median speed of each by its arguments "DOCUMENT/ENGINE".
class MedianKeeper : public benchmark::BenchmarkReporter {
public:
    std::map<std::string, double> m_tMegabytesPerSecond;

    bool ReportContext(const Context & /*tContext*/) override { return true; }
    void ReportRuns(const std::vector<Run> &atRun) override
    {
        for (const Run &tRun : atRun)
            if (tRun.aggregate_name == "median")
                m_tMegabytesPerSecond[tRun.run_name.args] = tRun.counters.at("bytes_per_second") / 1e6;
    }
};

static void ParseRepeatedly(benchmark::State &tState)
{
    static const std::vector<XmlDocument> atDocument = MakeXmlDocuments();
    const std::string &strText = atDocument.at(static_cast<size_t>(tState.range(0))).strText;
    const XmlEngine &tEngine = g_atXmlEngine.at(static_cast<size_t>(tState.range(1)));
    void *pDocument = nullptr;
    while (tState.KeepRunning()) {
        pDocument = tEngine.pfnOpen(pDocument, strText.c_str(), strText.size());
        if (pDocument == nullptr) {
            tState.SkipWithError("document refused");
            return;
        }
        if (!tEngine.bReuse) {
            tEngine.pfnClose(pDocument);
            pDocument = nullptr;
        }
    }
    if (pDocument != nullptr)
        tEngine.pfnClose(pDocument);
    tState.SetBytesProcessed(tState.iterations() * static_cast<int64_t>(strText.size()));
}

BENCHMARK(ParseRepeatedly)
    ->ArgsProduct({benchmark::CreateDenseRange(0, 2, 1), benchmark::CreateDenseRange(0, 4, 1)})
    ->MinTime(0.1)
    ->Repetitions(21)
    ->ReportAggregatesOnly();

static void PrintTable(const std::map<std::string, double> &tSpeed)
{
    printf("warm parse, medians of 21 repetitions\n%-12s %8s  %-20s %8s  %s\n", "document", "bytes", "parser", "MB/s",
           "to pugixml");
    const std::vector<XmlDocument> atDocument = MakeXmlDocuments();
    for (size_t d = 0; d < atDocument.size(); d++) {
        const std::string strKey = std::to_string(d) + "/";
        const double fPugixml = tSpeed.at(strKey + std::to_string(PUGIXML_ENGINE));
        for (size_t e = 0; e < g_atXmlEngine.size(); e++) {
            const double fSpeed = tSpeed.at(strKey + std::to_string(e));
            printf("%-12s %8zu  %-20s %8.0f  %.2f\n", atDocument[d].pszName, atDocument[d].strText.size(),
                   g_atXmlEngine[e].pszName, fSpeed, fSpeed / fPugixml);
        }
    }
}

int main(int argc, char **argv)
{
    // Interleaved repetitions, so that a busy moment of the machine does not fall on one parser alone.
    char szInterleave[] = "--benchmark_enable_random_interleaving=true";
    std::vector<char *> apszArgument(argv, argv + argc);
    apszArgument.push_back(szInterleave);
    int iArguments = static_cast<int>(apszArgument.size());
    benchmark::Initialize(&iArguments, apszArgument.data());
    MedianKeeper tKeeper;
    benchmark::RunSpecifiedBenchmarks(&tKeeper);
    PrintTable(tKeeper.m_tMegabytesPerSecond);
    return 0;
}
