// What can be made to go wrong with the simulated camera: one fault at a time for each of its services, named in a
// model line "fault SERVICE FAULT".
//
//   all of them:
//     none                in good health again
//   analytics, configer, ptz, syslog, snapshot, semaphore:
//     absent              there is no such socket, segment or semaphore
//     denied              access mode 0000, which only bites without root's rights (not analytics)
//   analytics, configer, ptz, syslog:
//     refuse              the socket file is there, nobody listens
//     hang                accepts and reads, never answers; the system logger does not even read
//   analytics, configer, ptz:
//     close               reads the request, closes without an answer
//     close-at-once       closes on accept: the client may find out while it writes or while it reads
//     reset               resets the connection when the request has come
//     bytes:N             answers with N times "x"
//     garbage             answers with the bytes 0x80 to 0xff, a NUL behind each
//     late:N              the true answer after N milliseconds
//     cut:N               the first N bytes of the true answer
//     split:N             the true answer in pieces of N bytes, 20 ms apart
//   snapshot:
//     loop                the last child of the root has the first one as its next sibling
//     alias-loop          system_hostname and system_ntp are aliases of each other
//     wild                every link of every node points outside the segment or straddles its end
//     wild-next, wild-names, wild-texts
//                         only the links to the next sibling do, or the addresses of the names or of the texts
//     unterminated        no NUL from the first name to the end of the segment
//     unterminated-texts  no NUL from the first text to the end of the segment
//     small               a segment of 4 bytes
//   semaphore:
//     taken               the semaphore is held for good
#pragma once

#include <array>
#include <string>

// In this order the services that a fault can be had for stand side by side; the way to change the camera has none.
enum Service {
    SERVICE_CONTROL,
    SERVICE_ANALYTICS,
    SERVICE_CONFIGER,
    SERVICE_PTZ,
    SERVICE_SYSLOG,
    SERVICE_SNAPSHOT,
    SERVICE_SEMAPHORE,
    SERVICE_COUNT
};

struct Fault {
    std::string word;         // empty: the service is in good health
    unsigned long number = 0; // of the faults that are written with one, as in "late:1500"

    bool operator!=(const Fault &other) const { return word != other.word || number != other.number; }
};

using FaultList = std::array<Fault, SERVICE_COUNT>;

// Enters the fault of "SERVICE FAULT" into the list, in place of an earlier one of the same service. Returns null, or
// what is wrong.
const char *Parse_Fault(const std::string &text, FaultList *pFaults);
