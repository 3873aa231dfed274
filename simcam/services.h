/// The sockets of the simulated camera, served in one poll loop:
///
///   /tmp/configer     the configuration daemon, one request per connection
///   /tmp/ptzctrl      the PTZ daemon, the same
///   127.0.0.1:80      the analytics HTTP service
///   /dev/log          the system logger, a datagram socket
///   /tmp/simcam       changes of the camera while it runs (control.h)
///
/// Faults of the model change when a service listens, reads, answers and closes, never what it logs of a request that
/// it has read.
#pragma once

#include "requests.h"

const size_t MAX_CHANGE = 65536; // bytes that are sent at once

/// Sends lines of the model grammar to the camera that runs here. Returns its answer, or why there is none.
std::string Send_Change(const std::string &strLines);

/// Opens the sockets that the model's faults let exist, says "simcam: ready" on standard error, and serves until the
/// descriptor becomes readable; then takes in what clients have already sent, so that it stands in the log. Removes the
/// sockets. Returns false after a message on standard error when one cannot be opened.
bool Run_Services(int iStopDescriptor, Camera *ptCamera);
