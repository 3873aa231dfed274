/// Decimal fractions, read the same everywhere: the camera's C library does not round them as others do, and the last
/// bit decides where a motion window ends.
#pragma once

/// Reads a number as scanf's "%lf" does, hexadecimal ones, infinities and not-a-number apart: white space, a sign,
/// digits with at most one point, an exponent. Up to 15 digits are correctly rounded; of longer numbers the first 19
/// count. Returns what follows the number, or null, with *pdNumber untouched, when there is none.
const char *Decimal_FromText(const char *pszText, double *pdNumber);
