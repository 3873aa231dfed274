/// The checks, in the order in which they are made. Each prints its own lines (report.h); none changes anything.
#pragma once

/// What the checks behind that of the configuration daemon are to know of it.
struct DaemonHealth {
    bool bReadable; ///< keys can be read from the snapshot
    bool bAnswers;  ///< it answers what its snapshot holds
};

/// Whether a web server has started this, even one that leaves something out (RFC 3875).
bool Is_CgiProgram();

void Check_Caller();         ///< the user, and what a web server must give a program
DaemonHealth Check_Daemon(); ///< ftok file, semaphore, snapshot, socket
/// Every camera key that the catalogue names for this camera. Where the daemon does not answer, a key that is empty or
/// that nobody can tell of is its fault, which has been told.
void Check_Keys(const DaemonHealth &tDaemon);
void Check_Files();         ///< side files and capability file
void Check_Ptz();           ///< the PTZ daemon, as the camera's keys announce it
void Check_Network();       ///< analytics service, eth0
bool Has_HardwareAddress(); ///< of eth0, which stands in for a serial number
void Check_Log();           ///< the system logger
