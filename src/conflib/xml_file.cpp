#include "conflib/xml_file.h"

#include "common/int32.h"
#include "common/string_util.h"

#include <syslog.h>

int Open_XMLFile(const char *pszPath, const char *pszCaller, SXMLParserContext **pptParser)
{
    if (SXMLParser_Initial(pptParser) != 0) {
        // This message names the same function for every caller; log watchers know it so.
        syslog(LOG_INFO, "SXMLParser_Initial failed in OnvifInitialize\n");
        return -1;
    }
    SXMLParserOptions tOptions = {};
    tOptions.dwMask = SXML_SET_CALLBACK_MODE | SXML_SET_CALLBACKS;
    tOptions.iCallbackMode = 1;
    if (SXMLParser_SetOptions(*pptParser, &tOptions) != 0) {
        syslog(LOG_INFO, "SXMLParser_SetOptions failed in %s\n", pszCaller);
        return -1;
    }
    if (SXMLParser_ProcessFile(*pptParser, pszPath, SXML_MODE_TREE) != 0) {
        syslog(LOG_INFO, "SXMLParser_ProcessFile failed in %s\n", pszCaller);
        return -1;
    }
    return 0;
}

IndexTag Make_IndexTag(char cLetter, int32_t iIndex)
{
    IndexTag tTag;
    tTag.szTag[0] = cLetter;
    Copy_Text(tTag.szTag + 1, sizeof tTag.szTag - 1, Int32_ToText(iIndex).szText);
    return tTag;
}
