/// The door to the side files: whoever reads or stores a value in them comes through here.
#pragma once

#include "sidestore/side_file.h"

/// A heap copy of the text at a place, which the caller frees; NULL, after a line in the system log, when there is
/// none.
char *Read_SideText(const SidePlace &tPlace);

/// Stores a text, or the number that it begins with: rebuilds the image of all files, changes one value and rewrites
/// the file that holds it. 0; -1 when the image cannot be rebuilt, has no such place or has no room for the text, or
/// the file cannot be written; no file changes then.
int Store_SideText(const SidePlace &tPlace, const char *pszText);
