// How long it takes to find a parameter by its name: the table search of the program beside the plain one, which scans
// the name with every template, prints the template again and compares.
#include "param/dispatch.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

constexpr int ROUNDS = 51;
constexpr int TABLE_REPETITIONS = 200;
constexpr int PLAIN_REPETITIONS = 5;

const DispatchEntry *volatile g_ptFound; // keeps the compiler from leaving the search out

using Finder = const DispatchEntry *(const char *pszName);

const DispatchEntry *Find_ByTable(const char *pszName)
{
    static ParamContext s_tContext;
    return Find_DispatchEntry(pszName, &s_tContext);
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
bool Is_PlainMatch(const DispatchEntry *ptEntry, const char *pszName)
{
    char acName[256] = "";
    char acPrinted[256] = "";
    const size_t uLength = strlen(ptEntry->pszName);
    memcpy(acName, pszName, strnlen(pszName, uLength));
    memcpy(acPrinted, ptEntry->pszName, uLength);
    if (ptEntry->iIndexCount > 0) {
        int iFirst = 0;
        int iSecond = 0;
        if (sscanf(acName, ptEntry->pszName, &iFirst, &iSecond) != ptEntry->iIndexCount)
            return false;
        memset(acPrinted, 0, sizeof acPrinted);
        snprintf(acPrinted, sizeof acPrinted, ptEntry->pszName, iFirst, iSecond);
    }
    return strncmp(acName, acPrinted, uLength) == 0;
}
#pragma GCC diagnostic pop

const DispatchEntry *Find_ByPlainScan(const char *pszName)
{
    const DispatchEntry *ptEntry = g_tDispatchTable;
    while (ptEntry->pszName != nullptr && !Is_PlainMatch(ptEntry, pszName))
        ++ptEntry;
    return ptEntry->pszName != nullptr ? ptEntry : nullptr;
}

double Nanoseconds()
{
    timespec tNow = {};
    clock_gettime(CLOCK_MONOTONIC, &tNow);
    return static_cast<double>(tNow.tv_sec) * 1e9 + static_cast<double>(tNow.tv_nsec);
}

double Time(Finder *pfnFind, const char *pszName, int iRepetitions)
{
    const double fStart = Nanoseconds();
    for (int i = 0; i < iRepetitions; ++i)
        g_ptFound = pfnFind(pszName);
    return (Nanoseconds() - fStart) / iRepetitions;
}

double Median(std::vector<double> afValue)
{
    std::sort(afValue.begin(), afValue.end());
    return afValue[afValue.size() / 2];
}

struct NameCost {
    double fTable;
    double fPlain;
};

std::vector<NameCost> Measure(const std::vector<std::string> &astrName)
{
    std::vector<std::vector<double>> aafTable(astrName.size());
    std::vector<std::vector<double>> aafPlain(astrName.size());
    for (int iRound = 0; iRound < ROUNDS; ++iRound)
        for (size_t i = 0; i < astrName.size(); ++i) {
            aafTable[i].push_back(Time(Find_ByTable, astrName[i].c_str(), TABLE_REPETITIONS));
            aafPlain[i].push_back(Time(Find_ByPlainScan, astrName[i].c_str(), PLAIN_REPETITIONS));
        }
    std::vector<NameCost> atCost;
    for (size_t i = 0; i < astrName.size(); ++i)
        atCost.push_back({Median(aafTable[i]), Median(aafPlain[i])});
    return atCost;
}

void Print_Row(const char *pszTitle, const NameCost &tCost)
{
    printf("%-28s %10.0f %14.0f %9.0f\n", pszTitle, tCost.fTable, tCost.fPlain, tCost.fPlain / tCost.fTable);
}

} // namespace

int main()
{
    std::vector<std::string> astrName;
    for (const DispatchEntry *ptEntry = g_tDispatchTable; ptEntry->pszName != nullptr; ++ptEntry) {
        std::string strName = ptEntry->pszName;
        for (size_t uAt = strName.find("%d"); uAt != std::string::npos; uAt = strName.find("%d"))
            strName.replace(uAt, 2, "1");
        astrName.push_back(strName);
    }
    astrName.emplace_back("VideoInput.1.h264.1.NoSuchName");
    for (const std::string &strName : astrName)
        if (Find_ByTable(strName.c_str()) != Find_ByPlainScan(strName.c_str())) {
            fprintf(stderr, "dispatch_bench: the two searches differ on %s\n", strName.c_str());
            return EXIT_FAILURE;
        }

    std::vector<NameCost> atCost = Measure(astrName);
    const NameCost tUnknown = atCost.back();
    atCost.pop_back();
    printf("%-28s %10s %14s %9s\n", "finding a name, ns", "param.cgi", "plain scan", "times");
    std::sort(atCost.begin(), atCost.end(), [](const auto &a, const auto &b) { return a.fTable < b.fTable; });
    Print_Row("quickest of all names", atCost.front());
    Print_Row("median of all names", atCost[atCost.size() / 2]);
    Print_Row("slowest of all names", atCost.back());
    Print_Row("an unknown name", tUnknown);
    std::sort(atCost.begin(), atCost.end(),
              [](const auto &a, const auto &b) { return a.fPlain / a.fTable < b.fPlain / b.fTable; });
    printf("gain per name: smallest %.0f, median %.0f, largest %.0f times\n",
           atCost.front().fPlain / atCost.front().fTable,
           atCost[atCost.size() / 2].fPlain / atCost[atCost.size() / 2].fTable,
           atCost.back().fPlain / atCost.back().fTable);
    return EXIT_SUCCESS;
}
