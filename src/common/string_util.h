/// Small string helpers that other programs of the camera link as well.
#pragma once

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

/// Copies as much of a text as fits into uSize bytes with its terminator. Returns the length of the whole text.
size_t Copy_Text(char *pszTarget, size_t uSize, const char *pszText);

/// Formats as snprintf does with "%d" and "%s", all that it knows, into uSize bytes, at least one. For a key of two
/// numbers the camera's printf takes 3,000 instructions more, and the start makes one for each stream.
void Format_Text(char *pszTarget, size_t uSize, const char *pszFormat, ...) __attribute__((format(printf, 3, 4)));
void Format_Arguments(char *pszTarget, size_t uSize, const char *pszFormat, va_list tArguments)
    __attribute__((format(printf, 3, 0)));

/// Packs a dotted version text into one word, first part lowest: "1.2.3.4" gives 0x04030201. Looks at the first fifteen
/// characters and at most four parts; a part above 255 spills into the next byte. No part: 0.
uint32_t VersionStringToFourCC(const char *pszVersion);

/// Compares with A to Z folded to lower case: -1, 0 or 1. Callers rely on a text being "less" (-1) than its own prefix
/// as well as the prefix being less than the text.
int stricmp(const char *pszLeft, const char *pszRight);

/// Compares two byte blocks with A to Z folded to lower case, past NUL bytes: -1, 0 or 1.
int memicmp(const void *pLeft, const void *pRight, size_t uLength);

/// Drops from the text, in place, every character among the first iCount of pszSet. A negative count drops everything.
void removeChar(char *pszText, const char *pszSet, int iCount);
