/// Which builds of the programs a camera has, as the note in their files tells it (src/common/build_note.cpp).
#pragma once

/// "VERSION, build BUILD" of a program file; "unknown" for one without the note, and the reason for one that cannot be
/// opened. The text lives until the next call.
const char *Get_Version(const char *pszProgram);
