/// What mapping routines are made of: reading and writing one camera key, answering, and
/// rewriting words between the platform's and the camera's vocabulary. All return 0 or -1 unless said otherwise.
#pragma once

#include "common/int32.h"
#include "param/param_context.h"

#include <stddef.h>

/// A camera key made from a format, such as "videoin_c%d_rotate"; it stands where a key's name is asked for. Longer
/// ones than any camera has are cut. The format is one of Format_Text.
struct CameraKey {
    char szKey[128];
    operator const char *() const { return szKey; }
};
CameraKey Make_Key(const char *pszFormat, ...) __attribute__((format(printf, 1, 2)));

/// Reads a key into pszText; the result is that of the lookup. On failure the text keeps what the lookup left there,
/// terminated. The second form logs "unable to get <key>\n" on failure.
int Read_Key(char *pszText, size_t uSize, const char *pszKey);
int Read_KeyOrLog(char *pszText, size_t uSize, const char *pszKey);

/// Reads a key whose value counts as far as it fits: pszText is zeroed and one byte larger than the room that the value
/// has, so that the terminator stands behind a value that fills it. The result is that of the lookup.
int Read_KeyTruncated(char *pszText, size_t uSize, const char *pszKey);

/// Reads a key as a number; one that cannot be read in SIZE bytes counts as 0.
template <size_t SIZE> int32_t Read_KeyNumber(const char *pszKey)
{
    char szText[SIZE] = {};
    return Read_Key(szText, sizeof szText, pszKey) == 0 ? Int32_FromText(szText) : 0;
}

/// Writes a key; the result is the daemon client's.
int Write_Key(const char *pszKey, const char *pszValue);
int Write_KeyNumber(const char *pszKey, int32_t iValue);

/// Answers the text (cut at 511 characters), the number, "true" or "false"; return 0.
int Answer_Text(ParamContext *ptContext, const char *pszText);
int Answer_Number(ParamContext *ptContext, int32_t iNumber);
int Answer_Boolean(ParamContext *ptContext, bool bValue);

/// Answers the text of a key, without conversion.
int Answer_Key(ParamContext *ptContext, const char *pszKey);

/// Answers "true" when a key of at most three characters is exactly "1", else "false".
int Answer_BooleanKey(ParamContext *ptContext, const char *pszKey);

/// Answers a heap text of the side files and frees it. -1 when there is none or it has 512 characters or more.
int Answer_StoredText(ParamContext *ptContext, char *pszStored);

/// Appends to the answer what still fits; Cut_LastComma ends a list made of "item," pieces.
void Append_Answer(ParamContext *ptContext, const char *pszText);
void Cut_LastComma(ParamContext *ptContext);

/// A word of the platform and the camera's word for the same.
struct WordPair {
    const char *pszPlatform;
    const char *pszCamera;
};

/// Replaces a value that is exactly a platform word by the camera's. -1, and nothing changed, for any other value.
int Rewrite_Value(ParamContext *ptContext, const WordPair *ptPairs, size_t uCount);
template <size_t N> int Rewrite_Value(ParamContext *ptContext, const WordPair (&atPairs)[N])
{
    return Rewrite_Value(ptContext, atPairs, N);
}

/// Bit rates: the platform speaks kbit/s, the camera bit/s.
constexpr int32_t BITS_PER_KBIT = 1000;

/// Replaces the value by the number that it starts with, times iFactor (32-bit, wrapping).
int Rewrite_ScaledValue(ParamContext *ptContext, int32_t iFactor);

/// Rewrites exactly "true" and "false" to "1" and "0"; -1 for any other value.
int Rewrite_Boolean(ParamContext *ptContext);

/// Whether the number that the value starts with lies in iLow..iHigh.
bool Value_InRange(const ParamContext *ptContext, int32_t iLow, int32_t iHigh);
