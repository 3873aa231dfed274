// The XML parser in both modes. Whatever the text: no fault, queries that can be read, and a complete tree whose
// records, links and strings agree with its counts and with what the callbacks saw.
#include "fuzz.h"

#include "sxmlparser/sxmlparser.h"

static int32_t g_iOpenTags, g_iAttributes;

static uint32_t Count_OpenTag(void * /*pUserData*/, const char * /*pszTag*/, int32_t /*iTagLen*/)
{
    return static_cast<uint32_t>(g_iOpenTags++);
}

static uint32_t Count_Attribute(void * /*pUserData*/, const char * /*pszTag*/, int32_t /*iTagLen*/,
                                const char * /*pszName*/, int32_t /*iNameLen*/, const char * /*pszValue*/,
                                int32_t /*iValueLen*/)
{
    return static_cast<uint32_t>(g_iAttributes++);
}

/// Bytes that a string takes of the string area. Only the text of an element without one lies outside.
static size_t Get_SizeInArea(const SXMLParserContext *p, const char *psz, bool bMayBeShared)
{
    const bool bInside = psz >= p->pszXMLString && psz < p->pszXMLString + p->iXMLStrSize;
    Require(bInside || (bMayBeShared && *psz == '\0'), "strings lie in the string area");
    return bInside ? strlen(psz) + 1 : 0;
}

static void Check_Children(const SXMLElement *pElement)
{
    int32_t iCount = 0, iLast = pElement->iIndex;
    for (const SXMLElement *p = pElement->pFirstChild; p != nullptr; p = p->pNextSibling) {
        Require(p->pParent == pElement && p->iIndex > iLast, "children know their parent and stand in order");
        iLast = p->iIndex;
        iCount++;
    }
    Require(iCount == pElement->iChildCount, "the child count is the chain's length");
}

static void Check_Tree(SXMLParserContext *p)
{
    size_t uStrings = 0;
    int32_t iLinked = 0, iTop = 0, iAttribute = 0, iElement = 0;
    for (const SXMLElement *e = SXMLParser_EnumStart(p); e != nullptr; e = SXMLParser_EnumNext(p)) {
        Require(e->iIndex == ++iElement, "elements are numbered in order");
        uStrings += Get_SizeInArea(p, e->pszTag, false) + Get_SizeInArea(p, e->pszValue, true);
        Check_Children(e);
        iLinked += e->iChildCount;
        iTop += e->pParent == nullptr;
        Require(e->iAttributeCount == 0 || e->pFirstAttribute == &p->pXMLAttribute[iAttribute + 1],
                "attributes follow");
        iAttribute += e->iAttributeCount;
    }
    for (int32_t i = 1; i <= iAttribute; i++) {
        const SXMLAttribute &tAttribute = p->pXMLAttribute[i];
        Require(tAttribute.iIndex == i, "attributes are numbered in order");
        uStrings += Get_SizeInArea(p, tAttribute.pszName, false) + Get_SizeInArea(p, tAttribute.pszValue, false);
    }
    Require(iElement == SXMLParser_GetElementCount(p) && iLinked + iTop == iElement, "every element is linked once");
    Require(iAttribute == SXMLParser_GetAttributeCount(p), "every attribute has an element");
    Require(uStrings == static_cast<size_t>(p->iXMLStrSize), "the string area is full");
    Require(p->iCurDepth == 0, "every element is closed");
}

/// After a failure answers may be missing, but those that come can be read.
static void Read_Answers(SXMLParserContext *p)
{
    size_t uLength = 0;
    for (const SXMLElement *e = SXMLParser_EnumStart(p); e != nullptr; e = SXMLParser_EnumNext(p)) {
        Check_Children(e);
        uLength += strlen(e->pszTag) + strlen(e->pszValue);
    }
    for (int32_t i = SXMLParser_GetAttributeCount(p); i >= 0; i--) {
        const char *pszValue = SXMLParser_GetAttrValueByIndex(p, i);
        uLength += pszValue != nullptr ? strlen(pszValue) : 0;
    }
    const char *pszValue = SXMLParser_GetAttrValueByName(p, "b", "a", "a", nullptr);
    Require(pszValue == nullptr || strlen(pszValue) <= uLength, "the value found by name is among all values");
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *pData, size_t uSize)
{
    const FuzzText acText = Make_Text(pData, uSize);
    SXMLParserContext *pParser = nullptr;
    Require(SXMLParser_Initial(&pParser) == 0, "there is a parser");
    const SXMLParserOptions tOptions = {3, 1, Count_OpenTag, nullptr, Count_Attribute, nullptr, nullptr, 0, 0};
    SXMLParser_SetOptions(pParser, &tOptions);
    g_iOpenTags = g_iAttributes = 0;

    const int iCallback = SXMLParser_Process(pParser, acText.data(), SXML_MODE_CALLBACK);
    for (int iRound = 0; iRound < 2; iRound++) { // the second parse reuses the block
        const int iTree = SXMLParser_Process(pParser, acText.data(), SXML_MODE_TREE);
        Read_Answers(pParser);
        if (iTree != 0)
            continue;
        Check_Tree(pParser);
        Require(iCallback == 0, "callbacks accept what the tree accepts");
        Require(g_iOpenTags == pParser->iXMLElementCount && g_iAttributes == pParser->iXMLAttributeCount,
                "both count alike");
    }
    SXMLParser_Release(&pParser);
    return 0;
}
