/// The System V shared-memory segment with the configuration snapshot and the semaphore that guards it, both under the
/// key that ftok gives for the daemon's program file and project number 99.
#pragma once

#include "model.h"

struct Snapshot {
    int iSegmentId = -1;
    int iSemaphoreId = -1;
    void *pMapping = nullptr; // our own mapping, which the addresses inside know nothing of
};

/// Creates both, as far as the model's faults let them exist, and publishes the model's keys. Returns false after a
/// message on standard error, with whatever was created left for Close_Snapshot.
bool Open_Snapshot(const Model &tModel, Snapshot *ptSnapshot);

/// Takes over what has changed between two models: a changed size, base or fault is like a restart of the daemon, with
/// another segment and semaphore. Returns false after a message on standard error.
bool Update_Snapshot(const Model &tBefore, const Model &tAfter, Snapshot *ptSnapshot);

/// Returns an empty text, or by how much the keys have outgrown the segment.
std::string Check_SnapshotSize(const Model &tModel);

/// Rewrites the segment under the semaphore. A client that never gives the semaphore back delays this by a second only.
/// A tree that has outgrown the segment stays as it was. Returns false after a message on standard error.
bool Publish_Snapshot(const Model &tModel, const Snapshot &tSnapshot);

/// What clients left behind: lines of the request log, none after a clean run.
std::string Describe_Leftovers(const Model &tModel, const Snapshot &tSnapshot);

/// Removes both.
void Close_Snapshot(const Snapshot &tSnapshot);
