/// What can be made to go wrong with the simulated camera: one fault at a time for each of its services, named in a
/// model line "fault SERVICE FAULT". "simcam --faults" prints what there is and what each does.
#pragma once

#include <array>
#include <string>

/// In this order the services that a fault can be had for stand side by side; the way to change the camera has none.
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
    std::string strWord;       // empty: the service is in good health
    unsigned long uNumber = 0; // of the faults that are written with one, as in "late:1500"

    bool operator==(const Fault &tOther) const { return strWord == tOther.strWord && uNumber == tOther.uNumber; }
};

using FaultList = std::array<Fault, SERVICE_COUNT>;

/// Enters the fault of "SERVICE FAULT" into the list, in place of an earlier one of the same service. Returns an empty
/// text, or what is wrong and what there is instead.
std::string Parse_Fault(const std::string &strText, FaultList *pFaults);

/// A line "SERVICE<TAB>FAULT<TAB>WHAT IT DOES" for each fault that can be had. A service has one more in front of them
/// that has no fault: what the service is and what shows that it is ill.
std::string Describe_Faults();

/// A line "now<TAB>SERVICE<TAB>FAULT" for each fault that there is.
std::string List_PresentFaults(const FaultList &atFaults);
