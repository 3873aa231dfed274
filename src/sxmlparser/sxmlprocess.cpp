// The parsing itself. One tokenizer walks the text and reports to a sink. There are three sinks: the counting pass,
// which sizes the tree's block exactly, the building pass, which fills it, and the callbacks of the caller.
#include "sxmlparser/sxmlparser.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

namespace {

// Classes of characters: those of the C locale, whatever the locale and the signedness of char. NUL is in none of them.
enum CharClass : uint8_t { CLASS_TAG_START = 1, CLASS_ATTRIBUTE_START = 2, CLASS_NAME = 4 };

struct CharClassTable {
    uint8_t abClass[256];
};

constexpr CharClassTable Make_CharClassTable()
{
    CharClassTable tTable = {};
    for (int i = 'A'; i <= 'Z'; i++) {
        tTable.abClass[i] = CLASS_TAG_START | CLASS_ATTRIBUTE_START | CLASS_NAME;
        tTable.abClass[i + ('a' - 'A')] = tTable.abClass[i];
    }
    for (int i = '0'; i <= '9'; i++)
        tTable.abClass[i] = CLASS_NAME;
    tTable.abClass[int{'-'}] = tTable.abClass[int{'.'}] = tTable.abClass[int{':'}] = CLASS_NAME;
    tTable.abClass[int{'_'}] = CLASS_TAG_START | CLASS_NAME;
    return tTable;
}

constexpr CharClassTable g_tCharClass = Make_CharClassTable();

inline bool Is_Class(char c, CharClass eClass) { return g_tCharClass.abClass[static_cast<uint8_t>(c)] & eClass; }

// The end of the name that psz is in. Unrolled here, a whole parse takes an eighth less on the host.
inline const char *Skip_Name(const char *psz)
{
#pragma GCC unroll 4
    while (Is_Class(*psz, CLASS_NAME))
        psz++;
    return psz;
}

// A line end is no blank: a tag stands on one line.
inline const char *Skip_Blanks(const char *psz)
{
    while (*psz == ' ' || *psz == '\t')
        psz++;
    return psz;
}

inline const char *Find_Byte(const char *psz, char c, const char *pszEnd)
{
    return static_cast<const char *>(memchr(psz, c, static_cast<size_t>(pszEnd - psz)));
}

// A part of the parsed text, which is no longer than INT32_MAX.
struct Span {
    const char *psz;
    int32_t iLen;
};

inline Span Make_Span(const char *pszBegin, const char *pszEnd)
{
    return {pszBegin, static_cast<int32_t>(pszEnd - pszBegin)};
}

// What a pass does with each token. The results are 0 or the code to stop with; tTag is the last start tag's name.
struct TokenSink {
    int32_t (*pfnStartTag)(SXMLParserContext *pThis, Span tTag);
    int32_t (*pfnAttribute)(SXMLParserContext *pThis, Span tTag, Span tName, Span tValue);
    int32_t (*pfnEmptyTag)(SXMLParserContext *pThis, Span tTag);
    int32_t (*pfnText)(SXMLParserContext *pThis, Span tTag, Span tText);
    /// Reads an end tag's name and returns its end, NULL if it does not match the open element.
    const char *(*pfnReadEndName)(SXMLParserContext *pThis, const char *psz);
    int32_t (*pfnEndTag)(SXMLParserContext *pThis, Span tName);
};

// Where the tokenizer stands.
struct Scanner {
    const char *psz;
    const char *pszEnd; ///< the terminator
    Span tTag;          ///< name of the last start tag
    bool bClosed;       ///< the last tag was an end tag or "<tag/>", so no element waits for its text
};

// The scanner stands at the first character of a name, which its caller has looked at, here and at a start tag.
template <const TokenSink &tSink> inline int32_t Read_Attribute(SXMLParserContext *pThis, Scanner *pScan)
{
    const char *psz = Skip_Name(pScan->psz + 1);
    const Span tName = Make_Span(pScan->psz, psz);
    psz = Skip_Blanks(psz);
    if (*psz != '=')
        return SXML_NO_EQUALS_SIGN;
    psz = Skip_Blanks(psz + 1);
    if (*psz != '"' && *psz != '\'')
        return SXML_BAD_VALUE;
    const char *pszQuote = Find_Byte(psz + 1, *psz, pScan->pszEnd);
    if (pszQuote == nullptr)
        return SXML_BAD_VALUE;
    pScan->psz = Skip_Blanks(pszQuote + 1);
    return tSink.pfnAttribute(pThis, pScan->tTag, tName, Make_Span(psz + 1, pszQuote));
}

template <const TokenSink &tSink> inline int32_t Read_StartTag(SXMLParserContext *pThis, Scanner *pScan)
{
    const char *psz = Skip_Name(pScan->psz + 1);
    pScan->tTag = Make_Span(pScan->psz, psz);
    int32_t iCode = tSink.pfnStartTag(pThis, pScan->tTag);
    pScan->psz = Skip_Blanks(psz);
    while (iCode == 0 && *pScan->psz != '>') {
        if (Is_Class(*pScan->psz, CLASS_ATTRIBUTE_START)) {
            iCode = Read_Attribute<tSink>(pThis, pScan);
        } else if (pScan->psz[0] == '/' && pScan->psz[1] == '>') {
            pScan->psz += 2;
            pScan->bClosed = true;
            return tSink.pfnEmptyTag(pThis, pScan->tTag);
        } else {
            return SXML_OPEN_TAG;
        }
    }
    pScan->psz++;
    pScan->bClosed = false;
    return iCode;
}

template <const TokenSink &tSink> inline int32_t Read_EndTag(SXMLParserContext *pThis, Scanner *pScan)
{
    const char *pszNameEnd = tSink.pfnReadEndName(pThis, pScan->psz);
    if (pszNameEnd == nullptr)
        return SXML_END_TAG_MISMATCH;
    const char *psz = Skip_Blanks(pszNameEnd);
    if (*psz != '>')
        return SXML_OPEN_TAG;
    const Span tName = Make_Span(pScan->psz, pszNameEnd);
    pScan->psz = psz + 1;
    pScan->bClosed = true;
    return tSink.pfnEndTag(pThis, tName);
}

// The text behind a comment or an instruction, NULL if it is not closed. Nothing behind it counts as not closed:
// files that end with a comment have always been refused.
const char *Skip_Past(const char *psz, const char *pszCloser)
{
    const char *pszClose = strstr(psz, pszCloser);
    if (pszClose == nullptr)
        return nullptr;
    pszClose += strlen(pszCloser);
    return *pszClose != '\0' ? pszClose : nullptr;
}

// Reads what follows a "<"; tText is what lay before it.
template <const TokenSink &tSink> inline int32_t Read_Markup(SXMLParserContext *pThis, Scanner *pScan, Span tText)
{
    const char *psz = pScan->psz;
    if (Is_Class(*psz, CLASS_TAG_START))
        return Read_StartTag<tSink>(pThis, pScan);
    if (*psz == '/') {
        pScan->psz++;
        const int32_t iCode = pScan->bClosed ? 0 : tSink.pfnText(pThis, pScan->tTag, tText);
        return iCode != 0 ? iCode : Read_EndTag<tSink>(pThis, pScan);
    }
    const bool bComment = strncmp(psz, "!--", 3) == 0;
    if (!bComment && *psz != '?')
        return SXML_BAD_TAG_START;
    pScan->psz = bComment ? Skip_Past(psz + 3, "-->") : Skip_Past(psz + 1, "?>");
    if (pScan->psz != nullptr)
        return 0;
    return bComment ? SXML_OPEN_COMMENT : SXML_OPEN_INSTRUCTION;
}

// Walks the text up to its terminator, which no check accepts: a text that ends inside a tag fails where it ends.
template <const TokenSink &tSink>
int32_t Tokenize(SXMLParserContext *pThis, const char *pszText, const char *pszTextEnd)
{
    Scanner tScan = {pszText, pszTextEnd, {pszText, 0}, true};
    int32_t iCode = 0;
    while (iCode == 0) {
        const char *pszOpen = Find_Byte(tScan.psz, '<', pszTextEnd);
        if (pszOpen == nullptr)
            return 0;
        const Span tText = Make_Span(tScan.psz, pszOpen);
        tScan.psz = pszOpen + 1;
        iCode = Read_Markup<tSink>(pThis, &tScan, tText);
    }
    return iCode;
}

const char *Skip_EndName(SXMLParserContext * /*pThis*/, const char *psz) { return Skip_Name(psz); }

// The counting pass.

int32_t Count_StartTag(SXMLParserContext *pThis, Span tTag)
{
    pThis->iXMLStrSize += tTag.iLen + 1;
    pThis->iXMLElementCount++;
    if (++pThis->iCurDepth > pThis->iMaxDepth)
        pThis->iMaxDepth = pThis->iCurDepth;
    return 0;
}

int32_t Count_Attribute(SXMLParserContext *pThis, Span /*tTag*/, Span tName, Span tValue)
{
    pThis->iXMLStrSize += tName.iLen + 1 + tValue.iLen + 1;
    pThis->iXMLAttributeCount++;
    return 0;
}

int32_t Count_EmptyTag(SXMLParserContext *pThis, Span /*tTag*/)
{
    pThis->iXMLStrSize++;
    pThis->iCurDepth--;
    return 0;
}

int32_t Count_Text(SXMLParserContext *pThis, Span /*tTag*/, Span tText)
{
    pThis->iXMLStrSize += tText.iLen + 1;
    return 0;
}

int32_t Count_EndTag(SXMLParserContext *pThis, Span /*tName*/) { return --pThis->iCurDepth < 0 ? SXML_UNBALANCED : 0; }

constexpr TokenSink g_tCountSink = {Count_StartTag, Count_Attribute, Count_EmptyTag,
                                    Count_Text,     Skip_EndName,    Count_EndTag};

// The building pass.

char g_szNoText[1]; // the text of every element without one

// What the C library's assert prints, for checks that stay in a release build, under the source and function name that
// the message has always carried.
[[noreturn]] __attribute__((cold, noinline)) void Fail_Assertion(const char *pszText, int iLine)
{
#if defined(__UCLIBC__) && !defined(__UCLIBC_HAS_PROGRAM_INVOCATION_NAME__)
    const char *pszProgram = "param.cgi";
#else
    const char *pszProgram = program_invocation_short_name;
#endif
    fprintf(stderr, "%s: src/sxmlparser.c:%d: ConstructDOMCb: Assertion `%s' failed.\n", pszProgram, iLine, pszText);
    abort();
}

#define SXML_ASSERT(condition) ((condition) ? (void)0 : Fail_Assertion(#condition, __LINE__))

char *Store_String(SXMLParserContext *pThis, Span tString)
{
    char *pszCopy = pThis->pszCurXMLStr;
    pThis->pszCurXMLStr += tString.iLen + 1;
    SXML_ASSERT(pThis->pszCurXMLStr <= pThis->pszXMLString + pThis->iXMLStrSize);
    memcpy(pszCopy, tString.psz, static_cast<size_t>(tString.iLen));
    pszCopy[tString.iLen] = '\0';
    return pszCopy;
}

// Appends to the children of the innermost open element. The slot of the new element's depth still names the sibling
// that used it last, so the chain need not be walked.
void Link_Element(SXMLParserContext *pThis, SXMLElement *pElement)
{
    SXMLElement *pParent = pThis->pDepthStack[pThis->iCurDepth - 1];
    pElement->pParent = pParent;
    if (pParent->iChildCount++ == 0)
        pParent->pFirstChild = pElement;
    else
        pThis->pDepthStack[pThis->iCurDepth]->pNextSibling = pElement;
}

int32_t Build_StartTag(SXMLParserContext *pThis, Span tTag)
{
    SXMLElement *pElement = ++pThis->pCurElement;
    SXML_ASSERT(pThis->pCurElement < (pThis->pXMLElement + pThis->iXMLElementCount + 1));
    pElement->pszTag = Store_String(pThis, tTag);
    pElement->pszValue = g_szNoText;
    pElement->iIndex = ++pThis->iEnumIndex;
    if (pThis->iCurDepth >= pThis->iMaxDepth)
        return SXML_TOO_DEEP;
    if (pThis->iCurDepth > 0)
        Link_Element(pThis, pElement);
    pThis->pDepthStack[pThis->iCurDepth++] = pElement;
    return 0;
}

int32_t Build_Attribute(SXMLParserContext *pThis, Span /*tTag*/, Span tName, Span tValue)
{
    SXMLAttribute *pAttribute = ++pThis->pCurAttribute;
    SXML_ASSERT(pThis->pCurAttribute < pThis->pXMLAttribute + pThis->iXMLAttributeCount + 1);
    pAttribute->iIndex = ++pThis->iCurAttrIndex;
    pAttribute->pszName = Store_String(pThis, tName);
    SXML_ASSERT(pThis->pCurAttribute);
    pAttribute->pszValue = Store_String(pThis, tValue);
    if (pThis->pCurElement->iAttributeCount++ == 0)
        pThis->pCurElement->pFirstAttribute = pAttribute;
    return 0;
}

// The innermost open element, taken off the stack; NULL if there is none.
SXMLElement *Pop_Element(SXMLParserContext *pThis)
{
    return pThis->iCurDepth > 0 ? pThis->pDepthStack[--pThis->iCurDepth] : nullptr;
}

int32_t Build_Text(SXMLParserContext *pThis, Span /*tTag*/, Span tText)
{
    SXML_ASSERT(pThis->pCurElement);
    pThis->pCurElement->pszValue = Store_String(pThis, tText);
    return 0;
}

// An end tag that is cut short closes its element, deliberately: "</a>" ends "<abc>".
const char *Build_ReadEndName(SXMLParserContext *pThis, const char *psz)
{
    const char *pszTag = pThis->iCurDepth > 0 ? pThis->pDepthStack[pThis->iCurDepth - 1]->pszTag : "";
    while (*psz == *pszTag && *pszTag != '\0') {
        psz++;
        pszTag++;
    }
    return Is_Class(*psz, CLASS_NAME) ? nullptr : psz;
}

int32_t Build_EndTag(SXMLParserContext *pThis, Span /*tName*/)
{
    return Pop_Element(pThis) != nullptr ? 0 : SXML_UNBALANCED;
}

int32_t Build_EmptyTag(SXMLParserContext *pThis, Span tTag)
{
    Build_Text(pThis, tTag, Span{"", 0});
    return Build_EndTag(pThis, tTag);
}

constexpr TokenSink g_tBuildSink = {Build_StartTag, Build_Attribute,   Build_EmptyTag,
                                    Build_Text,     Build_ReadEndName, Build_EndTag};

// The callbacks of the caller.

int32_t Call_OpenTag(SXMLParserContext *pThis, Span tTag)
{
    pThis->pfnOpenTag(pThis->pUserData, tTag.psz, tTag.iLen);
    return 0;
}

int32_t Call_Attribute(SXMLParserContext *pThis, Span tTag, Span tName, Span tValue)
{
    pThis->pfnAttributeValue(pThis->pUserData, tTag.psz, tTag.iLen, tName.psz, tName.iLen, tValue.psz, tValue.iLen);
    return 0;
}

int32_t Call_TagValue(SXMLParserContext *pThis, Span tTag, Span tText)
{
    pThis->pfnTagValue(pThis->pUserData, tTag.psz, tTag.iLen, tText.psz, tText.iLen);
    return 0;
}

int32_t Call_CloseTag(SXMLParserContext *pThis, Span tName)
{
    pThis->pfnCloseTag(pThis->pUserData, tName.psz, tName.iLen);
    return 0;
}

int32_t Call_EmptyTag(SXMLParserContext *pThis, Span tTag)
{
    Call_TagValue(pThis, tTag, Span{nullptr, 0});
    return Call_CloseTag(pThis, tTag);
}

constexpr TokenSink g_tCallbackSink = {Call_OpenTag,  Call_Attribute, Call_EmptyTag,
                                       Call_TagValue, Skip_EndName,   Call_CloseTag};

// Forgets the tree before and keeps its block: a text that fails in the counting pass leaves no tree. One with a wrong
// end tag gets to the building pass, and what was built of it up to there answers.
void Forget_Tree(SXMLParserContext *pThis)
{
    pThis->iMaxDepth = pThis->iXMLStrSize = pThis->iXMLElementCount = pThis->iXMLAttributeCount = 0;
    pThis->iCurDepth = pThis->iEnumIndex = pThis->iCurAttrIndex = 0;
    pThis->pszXMLString = pThis->pszCurXMLStr = nullptr;
    pThis->pXMLElement = pThis->pCurElement = nullptr;
    pThis->pXMLAttribute = pThis->pCurAttribute = nullptr;
    pThis->pDepthStack = nullptr;
}

int32_t Provide_Block(SXMLParserContext *pThis, uint64_t qwSize)
{
    if (qwSize > INT32_MAX)
        return SXML_NO_MEMORY;
    const size_t uSize = static_cast<size_t>(qwSize);
    if (uSize <= static_cast<size_t>(pThis->iBufferSize)) {
        memset(pThis->pBuffer, 0, static_cast<size_t>(pThis->iBufferSize));
        return 0;
    }
    free(pThis->pBuffer);
    pThis->pBuffer = calloc(1, uSize);
    pThis->iBufferSize = pThis->pBuffer != nullptr ? static_cast<int32_t>(uSize) : 0;
    return pThis->pBuffer != nullptr ? 0 : SXML_NO_MEMORY;
}

// Strings, elements, attributes and depth stack, in this order in one block.
int32_t LayOut_Tree(SXMLParserContext *pThis)
{
    constexpr uint64_t ALIGNMENT = alignof(SXMLElement);
    const uint64_t qwStrings = static_cast<uint64_t>(pThis->iXMLStrSize) + ALIGNMENT - 1;
    const uint64_t qwElements = (static_cast<uint64_t>(pThis->iXMLElementCount) + 1) * sizeof(SXMLElement);
    const uint64_t qwAttributes = (static_cast<uint64_t>(pThis->iXMLAttributeCount) + 1) * sizeof(SXMLAttribute);
    const uint64_t qwStack = static_cast<uint64_t>(pThis->iMaxDepth) * sizeof(void *);
    const int32_t iCode = Provide_Block(pThis, qwStrings + qwElements + qwAttributes + qwStack);
    if (iCode != 0)
        return iCode;
    char *pszBlock = static_cast<char *>(pThis->pBuffer);
    char *pszRecords = pszBlock + qwStrings / ALIGNMENT * ALIGNMENT;
    pThis->pszXMLString = pThis->pszCurXMLStr = pszBlock;
    pThis->pXMLElement = pThis->pCurElement = reinterpret_cast<SXMLElement *>(pszRecords);
    pThis->pXMLAttribute = pThis->pCurAttribute = reinterpret_cast<SXMLAttribute *>(pszRecords + qwElements);
    pThis->pDepthStack = reinterpret_cast<SXMLElement **>(pszRecords + qwElements + qwAttributes);
    return 0;
}

int32_t Build_Tree(SXMLParserContext *pThis, const char *pszText, const char *pszEnd)
{
    Forget_Tree(pThis);
    int32_t iCode = Tokenize<g_tCountSink>(pThis, pszText, pszEnd);
    if (iCode == 0 && pThis->iCurDepth != 0)
        iCode = SXML_UNBALANCED;
    if (iCode == 0)
        iCode = LayOut_Tree(pThis);
    return iCode == 0 ? Tokenize<g_tBuildSink>(pThis, pszText, pszEnd) : iCode;
}

} // namespace

int SXMLParser_Process(SXMLParserContext *pThis, const char *pszText, int32_t iMode)
{
    if (iMode != SXML_MODE_TREE && iMode != SXML_MODE_CALLBACK)
        return 0;
    if (pThis == nullptr || pszText == nullptr || (iMode == SXML_MODE_CALLBACK && pThis->iCallbackMode != 1))
        return -1;
    const size_t uLength = strlen(pszText);
    if (uLength > INT32_MAX)
        return SXML_NO_MEMORY;
    if (iMode == SXML_MODE_TREE)
        return Build_Tree(pThis, pszText, pszText + uLength);
    return Tokenize<g_tCallbackSink>(pThis, pszText, pszText + uLength);
}

int SXMLParser_ProcessFile(SXMLParserContext *pThis, const char *pszPath, int32_t iMode)
{
    // A pipe in the file's place must not hold the program up until somebody writes to it.
    const int iFile = open(pszPath, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (iFile < 0)
        return -1;
    const off_t iSize = lseek(iFile, 0, SEEK_END);
    if (iSize < 0) {
        close(iFile);
        return 0;
    }
    char *pszText = iSize < INT32_MAX ? static_cast<char *>(malloc(static_cast<size_t>(iSize) + 1)) : nullptr;
    ssize_t iRead = -1;
    if (pszText != nullptr && lseek(iFile, 0, SEEK_SET) == 0)
        iRead = read(iFile, pszText, static_cast<size_t>(iSize));
    close(iFile);
    if (pszText == nullptr)
        return -1;
    pszText[iRead > 0 ? iRead : 0] = '\0'; // the file may have been cut since its size was taken
    const int iResult = SXMLParser_Process(pThis, pszText, iMode);
    free(pszText);
    return iResult;
}
