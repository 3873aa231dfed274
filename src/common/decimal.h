/// Decimal fractions, read the same everywhere: the camera's C library does not round them as others do, and the last
/// bit decides where a motion window ends.
#pragma once

/// Reads a number as the camera's scanf does with "%lf": white space, a sign, then digits with at most one point and an
/// exponent, or "inf", "infinity" or "nan" in any case. The number is the double nearest to the text, however long that
/// is, and of two equally near the even one. Returns what follows the number, or null, with *pdNumber untouched, when
/// there is none. As scanf never goes back by more than a character, a number that breaks off is none: "1e", "1e+",
/// "infin". Hexadecimal is not read: "0x10" is the number 0, followed by "x10".
const char *Decimal_FromText(const char *pszText, double *pdNumber);
