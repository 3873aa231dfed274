/// Ranges of settings in the camera's capability definition file, "/etc/CDF.xml".
#pragma once

#include <stdint.h>

/// Bounds of a range, lower first, in the unit of the file (bits per second for bit rates).
struct QuorvexFloatRange {
    float fLower;
    float fUpper;
};

/// Bit-rate range of a codec on a camera channel; stream 0's range serves every stream of the channel. Returns 0, or -1
/// after one line in the system log. What was found is kept for the rest of the request; a failure is not.
int Get_Range_FromCDF(const char *pszCodec, QuorvexFloatRange *ptRange, int32_t iChannel);

/// Parses a range text: anything up to a comma, then in double quotes either "lower~upper" or a list, whose first and
/// last item are the bounds. A bound is what strtod reads there, 0 without a number; blanks and units are passed over.
/// Ends the text at the closing quote. Returns 0; -1 when it has another form or a bound overflows (the lower one may
/// then be stored already).
int QuorvexParseXMLFloatRange(char *pszText, QuorvexFloatRange *ptRange);
