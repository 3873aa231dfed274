/// 32-bit arithmetic that gives the same result on the camera's ARM and on any build host, for every input.
#pragma once

#include <stdint.h>

/// What numbers in a text are made of, whatever the locale: the blanks that may stand in front, and digits.
constexpr char NUMBER_BLANKS[] = " \t\n\v\f\r";
constexpr bool Is_Digit(char c) { return c >= '0' && c <= '9'; }

/// The number at the start of a text, as atoi reads it (POSIX): leading white space and a sign are taken, the first
/// character that is not a digit ends it, no digits at all give 0. Beyond the 32-bit range the result saturates.
/// *ppszEnd, when asked for, is what follows the number, or the text itself when there is none.
int32_t Int32_FromText(const char *pszText, const char **ppszEnd = nullptr);

/// The number as "%d" prints it, for which the camera's printf takes 1,000 instructions more.
struct NumberText {
    char szText[12];
};
NumberText Int32_ToText(int32_t iNumber);

/// Conversion toward zero. Not-a-number gives 0; values beyond the 32-bit range saturate.
int32_t Int32_FromDouble(double dValue);

/// Product and sum modulo 2^32, as the camera's registers compute them.
int32_t Int32_Multiply(int32_t iLeft, int32_t iRight);
int32_t Int32_Add(int32_t iLeft, int32_t iRight);
