/// The bytes of the configuration snapshot: 32-bit little-endian words whose links are addresses in the daemon's own
/// mapping of the segment.
///
///   0  the base address of that mapping        8  the element records, nine words each, the root first
///   4  the address of the root element            then the texts, then the names, each ended by a NUL
///
/// An element record: its number; the addresses of its name and its text; the count of its children and of its
/// attributes; the addresses of its first attribute, first child, next sibling and parent, 0 for none.
#pragma once

#include "model.h"

/// Lays out the image, spoilt as the model's snapshot fault says. It is as large as its content, except for the faults
/// that fill the segment to its end.
std::string Build_SnapshotImage(const Model &tModel);
