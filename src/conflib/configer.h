/// Client of the configuration daemon: one short-lived connection to its Unix-domain stream socket per request, one
/// request text, at most one reply, no retry. The daemon's semaphore is given back before. Diagnostics go to standard
/// output when they occur, so they stand in front of the CGI header; platform drivers have seen them there ever since.
#pragma once

#include <stddef.h>
#include <stdint.h>

constexpr char CONFIGER_SOCKET[] = "/tmp/configer";

enum ConfigerCommand : int32_t { CONFIGER_GET = 0, CONFIGER_SET = 1, CONFIGER_APPLY = 2 };

/// The first number of every request line that this program sends.
constexpr int32_t CONFIGER_ARG1 = 99;

/// One request. Zero the record, then set what the command needs; the payload stays the caller's.
struct ConfigerRequest {
    int32_t iCommand;       ///< a ConfigerCommand; anything else is refused
    char szForm[16];        ///< form of the payload ("NameValue", "Value"); must not be empty
    char szApplyArg[128];   ///< apply only, must not be empty there
    const char *pszPayload; ///< text behind the request line; must not be NULL
    int32_t iArg1;          ///< first number of the request line
    int32_t iArg2;          ///< second number: set and apply
    int32_t iArg3;          ///< third number: get and set
};

/// Sends the request and takes the answer of one read into pcReply (uReplySize bytes, not terminated: hand in a zeroed
/// buffer). An answer that fills the buffer counts as failed, since it may have been cut; no answer at all is a
/// success. Without a buffer the answer is echoed to standard output until the daemon closes. Returns 0, or -1 after
/// the stated message (none when the request itself is refused).
int Configer_Control(const ConfigerRequest *ptRequest, char *pcReply, size_t uReplySize);

/// Composes what a set request carries: key, "=" and value, cut to 127 characters and escape-decoded. 0; -1 when
/// nothing is left after decoding, or when what is left holds a line feed or a carriage return.
constexpr size_t CONFIGER_SET_SIZE = 128;
int Compose_Set(const char *pszKey, const char *pszValue, char (&szPayload)[CONFIGER_SET_SIZE]);

/// Writes one camera key. Returns the result of the request; -1 without contacting the daemon when none can be
/// composed.
int Set_Configer(const char *pszKey, const char *pszValue);
