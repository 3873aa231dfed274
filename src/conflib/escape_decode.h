/// The camera platform's escape decoding of set payloads. A default is built in; the CMake option PARAM_ESCAPE_LIBRARY
/// names the platform's own library instead.
#pragma once

extern "C" {
/// Decodes iLength bytes at pszSource to pszTarget, which may be the same buffer, and stores the number of decoded
/// bytes (never more than iLength) in *piDecodedLength. No terminator is written. The program always passes iFlag 1.
///
/// The default decodes "%" followed by two hexadecimal digits of either case. Every other byte stays as it is: "+", a
/// cut or malformed sequence, and "%00", which would end the text early.
void EscapeDecodeString(const char *pszSource, int iLength, char *pszTarget, int *piDecodedLength, int iFlag);
}
