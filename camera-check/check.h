/// The checks, in the order in which they are made. Each prints its own lines (report.h); none changes anything.
#pragma once

void Check_Caller();  ///< the user, and what a web server must give a program
bool Check_Daemon();  ///< ftok file, semaphore, snapshot, socket; whether keys can be read
void Check_Keys();    ///< every camera key that the catalogue names for this camera
void Check_Files();   ///< side files and capability file
void Check_Ptz();     ///< the PTZ daemon, as the camera's keys announce it
void Check_Network(); ///< analytics service, eth0
void Check_Log();     ///< the system logger
