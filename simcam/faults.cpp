#include "faults.h"

#include "text.h"

namespace {

const unsigned long MAX_NUMBER = 64UL << 20;

/// In the order of the enumeration.
const struct {
    const char *pszWord;
    const char *pszWhat;
} SERVICES[SERVICE_COUNT] = {
    {"control", nullptr},
    {"analytics", "the analytics service: CustomEvents, and what counts people"},
    {"configer", "the configuration daemon: every write of a key, and reads of keys that are not in the snapshot"},
    {"ptz", "the PTZ daemon, where the camera has one: every request asks for its version"},
    {"syslog", "the system logger: whatever param.cgi logs"},
    {"snapshot", "the shared memory with all keys: nearly every read"},
    {"semaphore", "what guards the snapshot: nearly every read, and writes of values in files"},
};

struct FaultRow {
    const char *pszWord;
    Service eFirst; // the services that the fault can be had for
    Service eLast;
    bool bNumbered;
    const char *pszWhat;
};

const FaultRow FAULT_ROWS[] = {
    {"none", SERVICE_ANALYTICS, SERVICE_SEMAPHORE, false, "in good health again"},
    {"absent", SERVICE_ANALYTICS, SERVICE_SEMAPHORE, false, "there is no such socket, segment or semaphore"},
    {"refuse", SERVICE_ANALYTICS, SERVICE_SYSLOG, false, "the socket file is there, nobody listens"},
    {"denied", SERVICE_CONFIGER, SERVICE_SEMAPHORE, false, "access mode 0000, which only bites without root's rights"},
    {"hang", SERVICE_ANALYTICS, SERVICE_PTZ, false, "accepts and reads, never answers"},
    {"hang", SERVICE_SYSLOG, SERVICE_SYSLOG, false, "does not read"},
    {"close", SERVICE_ANALYTICS, SERVICE_PTZ, false, "reads the request, closes without an answer"},
    {"close-at-once", SERVICE_ANALYTICS, SERVICE_PTZ, false,
     "closes on accept: the client may find out while it writes or while it reads"},
    {"reset", SERVICE_ANALYTICS, SERVICE_PTZ, false, "resets the connection when the request has come"},
    {"bytes", SERVICE_ANALYTICS, SERVICE_PTZ, true, "answers with N times \"x\""},
    {"garbage", SERVICE_ANALYTICS, SERVICE_PTZ, false, "answers with the bytes 0x80 to 0xff, a NUL behind each"},
    {"late", SERVICE_ANALYTICS, SERVICE_PTZ, true, "the true answer after N milliseconds"},
    {"cut", SERVICE_ANALYTICS, SERVICE_PTZ, true, "the first N bytes of the true answer"},
    {"split", SERVICE_ANALYTICS, SERVICE_PTZ, true, "the true answer in pieces of N bytes, 20 ms apart"},
    {"backwards", SERVICE_SNAPSHOT, SERVICE_SNAPSHOT, false, "every element has its children in reverse order"},
    {"loop", SERVICE_SNAPSHOT, SERVICE_SNAPSHOT, false, "the last child of the root has the first as its next sibling"},
    {"alias-loop", SERVICE_SNAPSHOT, SERVICE_SNAPSHOT, false,
     "system_hostname and system_ntp are aliases of each other"},
    {"wild", SERVICE_SNAPSHOT, SERVICE_SNAPSHOT, false,
     "every link of every node points outside the segment or straddles its end"},
    {"wild-next", SERVICE_SNAPSHOT, SERVICE_SNAPSHOT, false, "only the links to the next sibling do"},
    {"wild-names", SERVICE_SNAPSHOT, SERVICE_SNAPSHOT, false, "only the addresses of the names do"},
    {"wild-texts", SERVICE_SNAPSHOT, SERVICE_SNAPSHOT, false, "only the addresses of the texts do"},
    {"unterminated", SERVICE_SNAPSHOT, SERVICE_SNAPSHOT, false, "no NUL from the first name to the end of the segment"},
    {"unterminated-texts", SERVICE_SNAPSHOT, SERVICE_SNAPSHOT, false,
     "no NUL from the first text to the end of the segment"},
    {"bare", SERVICE_SNAPSHOT, SERVICE_SNAPSHOT, false, "a root without children: a daemon that has just started"},
    {"small", SERVICE_SNAPSHOT, SERVICE_SNAPSHOT, false, "a segment of 4 bytes"},
    {"taken", SERVICE_SEMAPHORE, SERVICE_SEMAPHORE, false, "the semaphore is held for good"},
};

bool Is_OfService(const FaultRow &tRow, size_t uService) { return tRow.eFirst <= uService && uService <= tRow.eLast; }

std::string Get_Pattern(const FaultRow &tRow) { return std::string(tRow.pszWord) + (tRow.bNumbered ? ":N" : ""); }

std::string List_Services()
{
    std::string strList;
    for (size_t uService = SERVICE_ANALYTICS; uService < SERVICE_COUNT; ++uService)
        strList += (strList.empty() ? "" : ", ") + std::string(SERVICES[uService].pszWord);
    return strList;
}

std::string List_Faults(size_t uService)
{
    std::string strList;
    for (const FaultRow &tRow : FAULT_ROWS) {
        if (Is_OfService(tRow, uService))
            strList += (strList.empty() ? "" : ", ") + Get_Pattern(tRow);
    }
    return strList;
}

} // namespace

std::string Parse_Fault(const std::string &strText, FaultList *pFaults)
{
    const size_t uBlank = strText.find(' ');
    const std::string strServiceWord = strText.substr(0, uBlank);
    const std::string strFaultText = uBlank == std::string::npos ? "" : strText.substr(uBlank + 1);
    const size_t uColon = strFaultText.find(':');
    const bool bNumbered = uColon != std::string::npos;
    size_t uService = SERVICE_ANALYTICS;
    while (uService < SERVICE_COUNT && strServiceWord != SERVICES[uService].pszWord)
        ++uService;
    if (uService == SERVICE_COUNT)
        return "no service \"" + strServiceWord + "\"; there are " + List_Services();
    for (const FaultRow &tRow : FAULT_ROWS) {
        Fault tFault = {tRow.pszWord, 0};
        if (!Is_OfService(tRow, uService) || strFaultText.substr(0, uColon) != tRow.pszWord ||
            bNumbered != tRow.bNumbered ||
            (bNumbered && !Parse_Number(strFaultText.substr(uColon + 1), MAX_NUMBER, &tFault.uNumber))) {
            continue;
        }
        (*pFaults)[uService] = tFault.strWord == "none" ? Fault() : tFault;
        return "";
    }
    return "no fault \"" + strFaultText + "\" of " + strServiceWord + "; there are " + List_Faults(uService);
}

std::string Describe_Faults()
{
    std::string strLines;
    for (size_t uService = SERVICE_ANALYTICS; uService < SERVICE_COUNT; ++uService) {
        const std::string strWord = SERVICES[uService].pszWord;
        strLines += strWord + "\t\t" + SERVICES[uService].pszWhat + "\n";
        for (const FaultRow &tRow : FAULT_ROWS) {
            if (Is_OfService(tRow, uService))
                strLines += strWord + "\t" + Get_Pattern(tRow) + "\t" + tRow.pszWhat + "\n";
        }
    }
    return strLines;
}

std::string List_PresentFaults(const FaultList &atFaults)
{
    std::string strLines;
    for (size_t uService = SERVICE_ANALYTICS; uService < SERVICE_COUNT; ++uService) {
        const Fault &tFault = atFaults[uService];
        for (const FaultRow &tRow : FAULT_ROWS) {
            if (Is_OfService(tRow, uService) && tFault.strWord == tRow.pszWord)
                strLines += std::string("now\t") + SERVICES[uService].pszWord + "\t" + tFault.strWord +
                            (tRow.bNumbered ? ":" + std::to_string(tFault.uNumber) : "") + "\n";
        }
    }
    return strLines;
}
