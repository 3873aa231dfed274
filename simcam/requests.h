/// What the simulated services say: each request is written to the request log and gets its true answer. The log has
/// one line per request, in the order of arrival, with everything unprintable as C escapes:
///
///   set NAME=VALUE              a set request of the configuration daemon
///   get NAME                    a get request
///   ptz TEXT                    a request of the PTZ daemon
///   analytics GET /PATH BYTES   an HTTP request: method and path, and the bytes that had come when it was complete
///   log PRIORITY TEXT           a message of param.cgi to the system logger; any other datagram is "log raw TEXT"
///   bad TEXT                    anything else that came to the configuration daemon
///   change LINES                a change that was asked of the camera (control.h); its answer tells whether it was
///   semaphore N, attached N     on exit, unless everything was given back: the semaphore's value, and how many still
///                               have the snapshot attached
#pragma once

#include "model.h"
#include "snapshot.h"

#include <cstdio>
#include <string>

struct Camera {
    Model tModel;
    Model tStart; // as it was when the camera started
    Snapshot tSnapshot;
    FILE *ptLog = nullptr;
};

/// Logs a request of a stream service, carries it out and returns the answer of a camera in good health.
std::string Answer_Request(Service eService, const std::string &strRequest, Camera *ptCamera);

/// Logs a datagram of the system logger.
void Log_Datagram(const std::string &strDatagram, const Camera &tCamera);
