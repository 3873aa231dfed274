/// The configuration daemon's semaphore (System V, number 0 of its set, 1 when it is free). Every take and give carries
/// SEM_UNDO: the kernel gives it back when the process ends.
#pragma once

/// Takes it, within a wait of the kind WAIT_LOCKS. 0; -1 with errno set, after a line on standard error.
int Take_Semaphore(int iSemaphore);

/// Gives it back. 0; -1 with errno set, after a line on standard error.
int Give_Semaphore(int iSemaphore);

/// Leaves a taken semaphore taken when there is nothing to read under it. The next take has it already, and whoever is
/// about to wait for something else gives it back before: the daemon, or who is waited for, may be waiting for it.
void Keep_Semaphore(int iSemaphore);
void Give_KeptSemaphore();
