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
    Service first; // the services that the fault can be had for
    Service last;
    bool isNumbered;
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
    {"small", SERVICE_SNAPSHOT, SERVICE_SNAPSHOT, false, "a segment of 4 bytes"},
    {"taken", SERVICE_SEMAPHORE, SERVICE_SEMAPHORE, false, "the semaphore is held for good"},
};

bool Is_Of_Service(const FaultRow &row, size_t service) { return row.first <= service && service <= row.last; }

std::string Get_Pattern(const FaultRow &row) { return std::string(row.pszWord) + (row.isNumbered ? ":N" : ""); }

std::string List_Services()
{
    std::string list;
    for (size_t service = SERVICE_ANALYTICS; service < SERVICE_COUNT; ++service)
        list += (list.empty() ? "" : ", ") + std::string(SERVICES[service].pszWord);
    return list;
}

std::string List_Faults(size_t service)
{
    std::string list;
    for (const FaultRow &row : FAULT_ROWS) {
        if (Is_Of_Service(row, service))
            list += (list.empty() ? "" : ", ") + Get_Pattern(row);
    }
    return list;
}

} // namespace

std::string Parse_Fault(const std::string &text, FaultList *pFaults)
{
    const size_t blank = text.find(' ');
    const std::string serviceWord = text.substr(0, blank);
    const std::string faultText = blank == std::string::npos ? "" : text.substr(blank + 1);
    const size_t colon = faultText.find(':');
    const bool isNumbered = colon != std::string::npos;
    size_t service = SERVICE_ANALYTICS;
    while (service < SERVICE_COUNT && serviceWord != SERVICES[service].pszWord)
        ++service;
    if (service == SERVICE_COUNT)
        return "no service \"" + serviceWord + "\"; there are " + List_Services();
    for (const FaultRow &row : FAULT_ROWS) {
        Fault fault = {row.pszWord, 0};
        if (!Is_Of_Service(row, service) || faultText.substr(0, colon) != row.pszWord || isNumbered != row.isNumbered ||
            (isNumbered && !Parse_Number(faultText.substr(colon + 1), MAX_NUMBER, &fault.number))) {
            continue;
        }
        (*pFaults)[service] = fault.word == "none" ? Fault() : fault;
        return "";
    }
    return "no fault \"" + faultText + "\" of " + serviceWord + "; there are " + List_Faults(service);
}

std::string Describe_Faults()
{
    std::string lines;
    for (size_t service = SERVICE_ANALYTICS; service < SERVICE_COUNT; ++service) {
        const std::string word = SERVICES[service].pszWord;
        lines += word + "\t\t" + SERVICES[service].pszWhat + "\n";
        for (const FaultRow &row : FAULT_ROWS) {
            if (Is_Of_Service(row, service))
                lines += word + "\t" + Get_Pattern(row) + "\t" + row.pszWhat + "\n";
        }
    }
    return lines;
}

std::string List_PresentFaults(const FaultList &faults)
{
    std::string lines;
    for (size_t service = SERVICE_ANALYTICS; service < SERVICE_COUNT; ++service) {
        const Fault &fault = faults[service];
        for (const FaultRow &row : FAULT_ROWS) {
            if (Is_Of_Service(row, service) && fault.word == row.pszWord)
                lines += std::string("now\t") + SERVICES[service].pszWord + "\t" + fault.word +
                         (row.isNumbered ? ":" + std::to_string(fault.number) : "") + "\n";
        }
    }
    return lines;
}
