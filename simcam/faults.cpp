#include "faults.h"

#include "text.h"

namespace {

enum ServiceSet : unsigned {
    STREAMS = 1U << SERVICE_CONFIGER | 1U << SERVICE_PTZ | 1U << SERVICE_ANALYTICS,
    UNIX_SOCKETS = 1U << SERVICE_CONFIGER | 1U << SERVICE_PTZ | 1U << SERVICE_SYSLOG,
    SNAPSHOT = 1U << SERVICE_SNAPSHOT,
    SEMAPHORE = 1U << SERVICE_SEMAPHORE,
    SOCKETS = STREAMS | UNIX_SOCKETS,
    IPC = SNAPSHOT | SEMAPHORE
};

const unsigned long MAX_NUMBER = 64UL << 20;

const char *const SERVICE_WORDS[SERVICE_COUNT] = {"configer", "ptz", "analytics", "syslog", "snapshot", "semaphore"};

struct FaultRow {
    const char *pszWord;
    unsigned services; // where the fault can be had
    bool isNumbered;
};

const FaultRow FAULT_ROWS[] = {
    {"none", SOCKETS | IPC, false},
    {"absent", SOCKETS | IPC, false},        // the socket, segment or semaphore does not exist
    {"refuse", SOCKETS, false},              // the socket file exists, nobody listens on it
    {"denied", UNIX_SOCKETS | IPC, false},   // access mode 0000, which only bites for users other than root
    {"hang", SOCKETS, false},                // accepts and reads, never answers; the logger does not even read
    {"close", STREAMS, false},               // reads the request, closes without an answer
    {"close-at-once", STREAMS, false},       // closes on accept, maybe under the client's hands while it writes
    {"reset", STREAMS, false},               // resets the connection when the request has come
    {"bytes", STREAMS, true},                // answers with as many "x" as the number says
    {"garbage", STREAMS, false},             // answers with the bytes 0x80 to 0xff, a NUL behind each
    {"late", STREAMS, true},                 // the true answer after that many milliseconds
    {"cut", STREAMS, true},                  // that many bytes of the true answer
    {"split", STREAMS, true},                // the true answer in pieces of that many bytes, 20 ms apart
    {"loop", SNAPSHOT, false},               // the last child of the root has the first one as its next sibling
    {"alias-loop", SNAPSHOT, false},         // system_hostname and system_ntp are aliases of each other
    {"wild", SNAPSHOT, false},               // every link of every node points outside or straddles the end
    {"wild-next", SNAPSHOT, false},          // only the links to the next sibling do
    {"wild-names", SNAPSHOT, false},         // only the addresses of the names do
    {"wild-texts", SNAPSHOT, false},         // only the addresses of the texts do
    {"unterminated", SNAPSHOT, false},       // no NUL from the first name to the end of the segment
    {"unterminated-texts", SNAPSHOT, false}, // no NUL from the first text to the end of the segment
    {"small", SNAPSHOT, false},              // a segment of 4 bytes
    {"taken", SEMAPHORE, false},             // the semaphore is held for good
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
            Fault fault = {word == "none" ? "" : word, 0};
            if ((row.services & (1U << service)) == 0 || isNumbered != row.isNumbered ||
                (isNumbered && !Parse_Number(text.substr(colon + 1), MAX_NUMBER, &fault.number))) {
                return "no fault of this service, or its number is missing or wrong";
            }
            (*pFaults)[service] = fault;
            return nullptr;
        }
    }
    return "unknown service or fault";
}
