/// How a running camera is changed: lines of the model grammar (model.h), and "reset" for the camera as it was started,
/// come on the control socket as one text up to the end of the stream. A fault that changes is like a restart of its
/// service: who waits for an answer sees the connection end.
#pragma once

#include "requests.h"

/// Applies all of the lines, or none. Returns the answer for who sent them: "ok", or which line is wrong and why.
std::string Change_Camera(const std::string &strText, Camera *ptCamera);
