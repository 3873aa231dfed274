// First parses: what a parse costs in a process that has never parsed, which is all that a CGI program ever does. Every
// sample is a process of its own: it times one parse and reports the page faults and the heap that the parse took.
#include "xml_peers.h"

#include <fcntl.h>
#include <malloc.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>

constexpr int PROCESSES = 201;

struct Sample {
    double fMicroseconds;
    long iPageFaults;
    size_t uHeapBytes;
};

static double Microseconds()
{
    timespec tNow = {};
    clock_gettime(CLOCK_MONOTONIC, &tNow);
    return static_cast<double>(tNow.tv_sec) * 1e6 + static_cast<double>(tNow.tv_nsec) / 1e3;
}

static long PageFaults()
{
    rusage tUsage = {};
    getrusage(RUSAGE_SELF, &tUsage);
    return tUsage.ru_minflt + tUsage.ru_majflt;
}

static size_t HeapBytes()
{
    const struct mallinfo2 tInfo = mallinfo2();
    return tInfo.uordblks + tInfo.hblkhd;
}

// The child: the document is read past the heap, which stays as the program start left it.
static int ParseOnce(const char *pszPath, const XmlEngine &tEngine)
{
    const int iFile = open(pszPath, O_RDONLY | O_CLOEXEC);
    struct stat tStat = {};
    if (iFile < 0 || fstat(iFile, &tStat) != 0)
        return 1;
    const size_t uSize = static_cast<size_t>(tStat.st_size);
    void *pText = mmap(nullptr, uSize + 1, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pText == MAP_FAILED || read(iFile, pText, uSize) != tStat.st_size)
        return 1;
    (void)Microseconds(); // its own first call is not the parser's cost
    const size_t uHeap = HeapBytes();
    const long iFaults = PageFaults();
    const double fStart = Microseconds();
    void *pDocument = tEngine.pfnOpen(nullptr, static_cast<const char *>(pText), uSize);
    const double fEnd = Microseconds();
    printf("%.3f %ld %zu\n", fEnd - fStart, PageFaults() - iFaults, HeapBytes() - uHeap);
    return pDocument != nullptr ? 0 : 1;
}

static Sample RunChild(const char *pszProgram, const std::string &strPath, size_t uEngine)
{
    const std::string strCommand = std::string(pszProgram) + " " + strPath + " " + std::to_string(uEngine);
    Sample tSample = {};
    FILE *pPipe = popen(strCommand.c_str(), "r"); // NOLINT(cert-env33-c): the command is made here
    const bool bRead = pPipe != nullptr && fscanf(pPipe, "%lf %ld %zu", &tSample.fMicroseconds, &tSample.iPageFaults,
                                                  &tSample.uHeapBytes) == 3;
    if (!bRead || pclose(pPipe) != 0) {
        fprintf(stderr, "failed: %s\n", strCommand.c_str());
        exit(1);
    }
    return tSample;
}

static void CompareOn(const char *pszProgram, const XmlDocument &tDocument, const std::string &strPath)
{
    std::vector<std::vector<Sample>> aatSample(g_atXmlEngine.size());
    for (int i = 0; i < PROCESSES; i++)
        for (size_t e = 0; e < g_atXmlEngine.size(); e++)
            aatSample[e].push_back(RunChild(pszProgram, strPath, e));
    for (auto &atSample : aatSample)
        std::sort(atSample.begin(), atSample.end(),
                  [](const Sample &a, const Sample &b) { return a.fMicroseconds < b.fMicroseconds; });
    const double fPugixml = aatSample[PUGIXML_ENGINE][PROCESSES / 2].fMicroseconds;
    for (size_t e = 0; e < g_atXmlEngine.size(); e++) {
        const Sample &tMedian = aatSample[e][PROCESSES / 2];
        if (!g_atXmlEngine[e].bReuse) // a first parse has nothing to reuse
            printf("%-12s %8zu  %-12s %8.1f  %10.2f  %6ld  %9zu\n", tDocument.pszName, tDocument.strText.size(),
                   g_atXmlEngine[e].pszName, tMedian.fMicroseconds, tMedian.fMicroseconds / fPugixml,
                   tMedian.iPageFaults, tMedian.uHeapBytes);
    }
}

int main(int argc, char **argv)
{
    if (argc == 3)
        return ParseOnce(argv[1], g_atXmlEngine.at(strtoul(argv[2], nullptr, 10)));
    printf("first parse in a process, medians of %d processes\n%-12s %8s  %-12s %8s  %s  %s  %s\n", PROCESSES,
           "document", "bytes", "parser", "us", "to pugixml", "faults", "heap held");
    for (const XmlDocument &tDocument : MakeXmlDocuments()) {
        char szPath[] = "/tmp/xml_first_parse.XXXXXX";
        const int iFile = mkstemp(szPath);
        const size_t uSize = tDocument.strText.size();
        if (iFile < 0 || write(iFile, tDocument.strText.data(), uSize) != static_cast<ssize_t>(uSize))
            return 1;
        close(iFile);
        CompareOn(argv[0], tDocument, szPath);
        unlink(szPath);
    }
    return 0;
}
