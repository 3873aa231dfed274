// What can be made to go wrong with the simulated camera: one fault at a time for each of its services, named in a
// model line "fault SERVICE FAULT". The socket services are the configuration daemon, the PTZ daemon, the analytics
// HTTP service and the system logger; the shared-memory snapshot and its semaphore count as services of their own.
// The table of the faults is in faults.cpp.
#pragma once

#include <array>
#include <string>

enum Service {
    SERVICE_CONFIGER,
    SERVICE_PTZ,
    SERVICE_ANALYTICS,
    SERVICE_SYSLOG,
    SERVICE_SNAPSHOT,
    SERVICE_SEMAPHORE,
    SERVICE_COUNT
};

struct Fault {
    std::string word;         // empty: the service is in good health
    unsigned long number = 0; // of the faults that are written with one, as in "late:1500"
};

using FaultList = std::array<Fault, SERVICE_COUNT>;

// Enters the fault of "SERVICE FAULT" into the list, in place of an earlier one of the same service; the fault "none"
// takes it away. Returns null, or what is wrong.
const char *Parse_Fault(const std::string &text, FaultList *pFaults);
