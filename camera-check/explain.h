/// What camera-check does beyond the checks.
#pragma once

/// Runs a read of NAME, or a write of NAME=VALUE whose effects are only shown, and prints what it looks at and its
/// answer. 0; 1 when the answer is an error.
int Explain(const char *pszItem);

/// Prints the camera as a model for the simulated one. 0; 1 when it cannot be read. Keys that look like passwords are
/// left out unless bAll.
int Record(bool bAll);

/// Whether reads of keys, side files and ranges are shown from now on (seams.cpp).
void Show_Accesses(bool bShown);

/// Whether a key would have been set by now, as far as can be told (seams.cpp).
bool Has_Set();
