// First parses: what a parse costs in a process that has never parsed, which is all that a CGI program ever does,
// beside other parsers. Every sample is a process of its own: it times one parse and reports the page faults and the
// heap that the parse took.
#include "sxmlparser/sxmlparser.h"

#include <expat.h>
#include <fcntl.h>
#include <malloc.h>
#include <pugixml.hpp>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <time.h>
#include <tinyxml2.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

struct XmlDocument {
    const char *pszName;
    std::string strText;
};

static std::string Make_Element(const std::string &strTag, const std::string &strContent)
{
    return "<" + strTag + ">" + strContent + "</" + strTag + ">";
}

static std::string Make_Settings()
{
    std::string strText = "<root>\n\t<quorvex>\n\t\t<image>\n";
    for (int c = 0; strText.size() < 1200; c++) {
        const std::string strChannel = "c" + std::to_string(c);
        strText += "\t\t\t<" + strChannel + ">\n";
        for (const char *pszName : {"contrast", "brightness", "saturation", "sharpness"})
            strText += "\t\t\t\t" + Make_Element(pszName, std::to_string(40 + c)) + "\n";
        for (int s = 0; s < 2; s++) {
            const std::string strStream = "s" + std::to_string(s);
            strText += "\t\t\t\t<" + strStream + ">\n";
            for (const char *pszCodec : {"h264", "h265"})
                strText += "\t\t\t\t\t" + Make_Element(pszCodec, "\n\t\t\t\t\t\t<gop>30</gop>\n\t\t\t\t\t") + "\n";
            strText += "\t\t\t\t</" + strStream + ">\n";
        }
        strText += "\t\t\t</" + strChannel + ">\n";
    }
    return strText + "\t\t</image>\n\t</quorvex>\n</root>\n";
}

static std::string Make_Capabilities()
{
    std::string strText = "<?xml version=\"1.0\"?>\n<root version=\"2.0\">\n\t<videoin>\n";
    for (int c = 0; strText.size() < 65300; c++) {
        const std::string strChannel = "c" + std::to_string(c);
        strText += "\t\t<" + strChannel + " type=\"channel\">\n\t\t\t<s0>\n";
        for (const char *pszCodec : {"h264", "h265", "mjpeg"})
            strText += "\t\t\t\t" +
                       Make_Element(pszCodec, "\n\t\t\t\t\t<bitrate rw=\"6/6\" mode='none'>\n"
                                              "\t\t\t\t\t\t<value>512000</value>\n"
                                              "\t\t\t\t\t\t<check type=\"string\">string,\"1000~8000000\"</check>\n"
                                              "\t\t\t\t\t\t<aliasxpath/>\n\t\t\t\t\t</bitrate>\n\t\t\t\t") +
                       "\n";
        strText += "\t\t\t</s0>\n\t\t</" + strChannel + ">\n";
    }
    return strText + "\t</videoin>\n</root>\n";
}

static std::string Make_List()
{
    std::string strText = "<root>\n";
    for (int i = 0; i < 20000; i++) {
        const std::string strValue(static_cast<size_t>(15 + i * 7 % 23), 'v');
        strText += "\t" + Make_Element("item" + std::to_string(i), strValue) + "\n";
    }
    return strText + "</root>\n";
}

/// A settings file of 1.5 KB, a capability file of 64 KB with attributes, a list of 1 MB with 20,000 children of one
/// root.
static std::vector<XmlDocument> Make_Documents()
{
    return {{"settings", Make_Settings()}, {"capability", Make_Capabilities()}, {"list", Make_List()}};
}

static bool Parse_BySXMLParser(const char *pszText, size_t /*uSize*/)
{
    SXMLParserContext *pParser = nullptr;
    return SXMLParser_Initial(&pParser) == 0 && SXMLParser_Process(pParser, pszText, SXML_MODE_TREE) == 0;
}

static bool Parse_ByPugixml(const char *pszText, size_t uSize)
{
    return (new pugi::xml_document)->load_buffer(pszText, uSize);
}

static bool Parse_ByTinyXml2(const char *pszText, size_t uSize)
{
    return (new tinyxml2::XMLDocument)->Parse(pszText, uSize) == tinyxml2::XML_SUCCESS;
}

/// It builds no tree.
static bool Parse_ByExpat(const char *pszText, size_t uSize)
{
    XML_Parser pParser = XML_ParserCreate(nullptr);
    XML_SetElementHandler(
        pParser, [](void *, const char *, const char **) {}, [](void *, const char *) {});
    XML_SetCharacterDataHandler(pParser, [](void *, const char *, int) {});
    return XML_Parse(pParser, pszText, static_cast<int>(uSize), XML_TRUE) == XML_STATUS_OK;
}

/// What a parse holds is never given back: a request's process ends soon, too.
struct XmlEngine {
    const char *pszName;
    bool (*pfnParse)(const char *pszText, size_t uSize); // of a NUL-terminated text
};

constexpr XmlEngine ENGINES[] = {{"sxmlparser", Parse_BySXMLParser},
                                 {"pugixml", Parse_ByPugixml},
                                 {"tinyxml2", Parse_ByTinyXml2},
                                 {"expat", Parse_ByExpat}};
constexpr size_t PUGIXML_ENGINE = 1; // the one that the others are compared with

constexpr int PROCESSES = 201;

struct Sample {
    double dMicroseconds;
    long iPageFaults;
    size_t uHeapBytes;
};

static double Get_Microseconds()
{
    timespec tNow = {};
    clock_gettime(CLOCK_MONOTONIC, &tNow);
    return static_cast<double>(tNow.tv_sec) * 1e6 + static_cast<double>(tNow.tv_nsec) / 1e3;
}

static long Count_PageFaults()
{
    rusage tUsage = {};
    getrusage(RUSAGE_SELF, &tUsage);
    return tUsage.ru_minflt + tUsage.ru_majflt;
}

static size_t Get_HeapBytes()
{
    const struct mallinfo2 tInfo = mallinfo2();
    return tInfo.uordblks + tInfo.hblkhd;
}

/// The child: the document is read past the heap, which stays as the program start left it.
static int Parse_Once(const char *pszPath, const XmlEngine &tEngine)
{
    const int iFile = open(pszPath, O_RDONLY | O_CLOEXEC);
    struct stat tStat = {};
    if (iFile < 0 || fstat(iFile, &tStat) != 0)
        return 1;
    const size_t uSize = static_cast<size_t>(tStat.st_size);
    void *pText = mmap(nullptr, uSize + 1, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pText == MAP_FAILED || read(iFile, pText, uSize) != tStat.st_size)
        return 1;
    (void)Get_Microseconds(); // its own first call is not the parser's cost
    const size_t uHeap = Get_HeapBytes();
    const long iFaults = Count_PageFaults();
    const double dStart = Get_Microseconds();
    const bool bParsed = tEngine.pfnParse(static_cast<const char *>(pText), uSize);
    const double dEnd = Get_Microseconds();
    printf("%.3f %ld %zu\n", dEnd - dStart, Count_PageFaults() - iFaults, Get_HeapBytes() - uHeap);
    return bParsed ? 0 : 1;
}

static Sample Run_Child(const char *pszProgram, const std::string &strPath, size_t uEngine)
{
    const std::string strCommand = std::string(pszProgram) + " " + strPath + " " + std::to_string(uEngine);
    Sample tSample = {};
    FILE *pPipe = popen(strCommand.c_str(), "r"); // NOLINT(cert-env33-c): the command is made here
    const bool bRead = pPipe != nullptr && fscanf(pPipe, "%lf %ld %zu", &tSample.dMicroseconds, &tSample.iPageFaults,
                                                  &tSample.uHeapBytes) == 3;
    if (!bRead || pclose(pPipe) != 0) {
        fprintf(stderr, "failed: %s\n", strCommand.c_str());
        exit(1);
    }
    return tSample;
}

static void Compare_Engines(const char *pszProgram, const XmlDocument &tDocument, const std::string &strPath)
{
    std::vector<std::vector<Sample>> aatSample(std::size(ENGINES));
    for (int i = 0; i < PROCESSES; i++)
        for (size_t e = 0; e < std::size(ENGINES); e++)
            aatSample[e].push_back(Run_Child(pszProgram, strPath, e));
    for (auto &atSample : aatSample)
        std::sort(atSample.begin(), atSample.end(),
                  [](const Sample &a, const Sample &b) { return a.dMicroseconds < b.dMicroseconds; });
    const double dPugixml = aatSample[PUGIXML_ENGINE][PROCESSES / 2].dMicroseconds;
    for (size_t e = 0; e < std::size(ENGINES); e++) {
        const Sample &tMedian = aatSample[e][PROCESSES / 2];
        printf("%-12s %8zu  %-12s %8.1f  %10.2f  %6ld  %9zu\n", tDocument.pszName, tDocument.strText.size(),
               ENGINES[e].pszName, tMedian.dMicroseconds, tMedian.dMicroseconds / dPugixml, tMedian.iPageFaults,
               tMedian.uHeapBytes);
    }
}

int main(int argc, char **argv)
{
    if (argc == 3)
        return Parse_Once(argv[1], ENGINES[strtoul(argv[2], nullptr, 10)]);
    printf("first parse in a process, medians of %d processes\n%-12s %8s  %-12s %8s  %s  %s  %s\n", PROCESSES,
           "document", "bytes", "parser", "us", "to pugixml", "faults", "heap held");
    for (const XmlDocument &tDocument : Make_Documents()) {
        char szPath[] = "/tmp/xml_bench.XXXXXX";
        const int iFile = mkstemp(szPath);
        const size_t uSize = tDocument.strText.size();
        if (iFile < 0 || write(iFile, tDocument.strText.data(), uSize) != static_cast<ssize_t>(uSize))
            return 1;
        close(iFile);
        Compare_Engines(argv[0], tDocument, szPath);
        unlink(szPath);
    }
    return 0;
}
