#include "conflib/cdf_range.h"

#include "common/string_util.h"
#include "conflib/xml_file.h"
#include "sxmlparser/sxmlparser.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>

static constexpr char CDF_PATH[] = "/etc/CDF.xml";

/// Converts the bound at a place of a range text. What may follow it there is never part of a number.
static int Parse_Bound(const char *pszBound, float *pfBound)
{
    errno = 0;
    *pfBound = static_cast<float>(strtod(pszBound, nullptr));
    return errno == 0 ? 0 : -1;
}

int QuorvexParseXMLFloatRange(char *pszText, QuorvexFloatRange *ptRange)
{
    if (pszText == nullptr || ptRange == nullptr)
        return -1;
    char *pcComma = strchr(pszText, ',');
    char *pcQuote = pcComma != nullptr ? strchr(pcComma, '"') : nullptr;
    if (pcQuote == nullptr)
        return -1;
    const char *pcLower = pcQuote + 1;
    char *pcEnd = strchr(pcQuote + 1, '"');
    if (pcEnd == nullptr)
        return -1;
    *pcEnd = '\0';

    const char *pcUpperBefore = strchr(pcLower, '~');
    if (pcUpperBefore == nullptr)
        pcUpperBefore = strrchr(pcLower, ',');
    if (pcUpperBefore == nullptr)
        return -1;
    if (Parse_Bound(pcLower, &ptRange->fLower) != 0)
        return -1;
    return Parse_Bound(pcUpperBefore + 1, &ptRange->fUpper);
}

static int Parse_CodecRange(const SXMLParserContext *ptParser, const char *pszChannel, const char *pszCodec,
                            QuorvexFloatRange *ptRange)
{
    char *pszCheck = SXMLParser_GetTagValueByName(ptParser, "root", "videoin", pszChannel, "s0", pszCodec, "bitrate",
                                                  "check", static_cast<char *>(nullptr));
    if (pszCheck == nullptr) {
        syslog(LOG_INFO, "Can't get the %s bitrate range\n", pszCodec);
        return -1;
    }
    if (QuorvexParseXMLFloatRange(pszCheck, ptRange) != 0) {
        syslog(LOG_INFO, "Parse %s range fail\n", pszCodec);
        return -1;
    }
    return 0;
}

/// A range that was found. One request asks for both bounds, of several streams, and each time the whole file is
/// parsed.
struct KeptRange {
    char szCodec[CODEC_TAG_SIZE]; ///< empty: none is kept here
    int32_t iChannel;
    QuorvexFloatRange tRange;
};
static KeptRange g_atKeptRange[32]; ///< as many as eight channels with four codecs have

static bool Is_RangeOf(const KeptRange *pt, const char *pszCodec, int32_t iChannel)
{
    return pt->szCodec[0] != '\0' && pt->iChannel == iChannel && strcmp(pt->szCodec, pszCodec) == 0;
}

/// The place where a range is kept, or where it can be: the last one when all are full.
static KeptRange *Find_KeptRange(const char *pszCodec, int32_t iChannel)
{
    KeptRange *const ptLast = &g_atKeptRange[sizeof g_atKeptRange / sizeof g_atKeptRange[0] - 1];
    KeptRange *pt = g_atKeptRange;
    while (pt < ptLast && pt->szCodec[0] != '\0' && !Is_RangeOf(pt, pszCodec, iChannel))
        ++pt;
    return pt;
}

int Get_Range_FromCDF(const char *pszCodec, QuorvexFloatRange *ptRange, int32_t iChannel)
{
    char szCodec[CODEC_TAG_SIZE];
    Copy_Text(szCodec, sizeof szCodec, pszCodec);
    KeptRange *ptKept = Find_KeptRange(szCodec, iChannel);
    if (Is_RangeOf(ptKept, szCodec, iChannel)) {
        *ptRange = ptKept->tRange;
        return 0;
    }

    SXMLParserContext *ptParser = nullptr;
    int iResult = Open_XMLFile(CDF_PATH, "OnvifInitialize", &ptParser);
    if (iResult == 0)
        iResult = Parse_CodecRange(ptParser, Make_IndexTag('c', iChannel).szTag, szCodec, ptRange);
    SXMLParser_Release(&ptParser);
    if (iResult == 0) {
        memcpy(ptKept->szCodec, szCodec, sizeof szCodec);
        ptKept->iChannel = iChannel;
        ptKept->tRange = *ptRange;
    }
    return iResult;
}
