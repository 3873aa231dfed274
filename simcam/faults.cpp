#include "faults.h"

#include "text.h"

namespace {

const unsigned long MAX_NUMBER = 64UL << 20;

const char *const SERVICE_WORDS[SERVICE_COUNT] = {"control", "analytics", "configer", "ptz",
                                                  "syslog",  "snapshot",  "semaphore"};

struct FaultRow {
    const char *pszWord;
    Service first; // the services that the fault can be had for
    Service last;
    bool isNumbered;
};

// What they mean is told in the header.
const FaultRow FAULT_ROWS[] = {
    {"none", SERVICE_ANALYTICS, SERVICE_SEMAPHORE, false},
    {"absent", SERVICE_ANALYTICS, SERVICE_SEMAPHORE, false},
    {"refuse", SERVICE_ANALYTICS, SERVICE_SYSLOG, false},
    {"denied", SERVICE_CONFIGER, SERVICE_SEMAPHORE, false},
    {"hang", SERVICE_ANALYTICS, SERVICE_SYSLOG, false},
    {"close", SERVICE_ANALYTICS, SERVICE_PTZ, false},
    {"close-at-once", SERVICE_ANALYTICS, SERVICE_PTZ, false},
    {"reset", SERVICE_ANALYTICS, SERVICE_PTZ, false},
    {"bytes", SERVICE_ANALYTICS, SERVICE_PTZ, true},
    {"garbage", SERVICE_ANALYTICS, SERVICE_PTZ, false},
    {"late", SERVICE_ANALYTICS, SERVICE_PTZ, true},
    {"cut", SERVICE_ANALYTICS, SERVICE_PTZ, true},
    {"split", SERVICE_ANALYTICS, SERVICE_PTZ, true},
    {"loop", SERVICE_SNAPSHOT, SERVICE_SNAPSHOT, false},
    {"alias-loop", SERVICE_SNAPSHOT, SERVICE_SNAPSHOT, false},
    {"wild", SERVICE_SNAPSHOT, SERVICE_SNAPSHOT, false},
    {"wild-next", SERVICE_SNAPSHOT, SERVICE_SNAPSHOT, false},
    {"wild-names", SERVICE_SNAPSHOT, SERVICE_SNAPSHOT, false},
    {"wild-texts", SERVICE_SNAPSHOT, SERVICE_SNAPSHOT, false},
    {"unterminated", SERVICE_SNAPSHOT, SERVICE_SNAPSHOT, false},
    {"unterminated-texts", SERVICE_SNAPSHOT, SERVICE_SNAPSHOT, false},
    {"small", SERVICE_SNAPSHOT, SERVICE_SNAPSHOT, false},
    {"taken", SERVICE_SEMAPHORE, SERVICE_SEMAPHORE, false},
};

} // namespace

const char *Parse_Fault(const std::string &text, FaultList *pFaults)
{
    const size_t blank = text.find(' ');
    const size_t colon = text.find(':');
    const bool isNumbered = colon != std::string::npos;
    const std::string word = blank == std::string::npos ? "" : text.substr(blank + 1, colon - blank - 1);
    for (size_t service = 0; service < SERVICE_COUNT; ++service) {
        for (const FaultRow &row : FAULT_ROWS) {
            if (text.substr(0, blank) != SERVICE_WORDS[service] || word != row.pszWord)
                continue;
            Fault fault = {word, 0};
            if (service < row.first || service > row.last || isNumbered != row.isNumbered ||
                (isNumbered && !Parse_Number(text.substr(colon + 1), MAX_NUMBER, &fault.number))) {
                return "no fault of this service, or its number is missing or wrong";
            }
            (*pFaults)[service] = word == "none" ? Fault() : fault;
            return nullptr;
        }
    }
    return "unknown service or fault";
}
