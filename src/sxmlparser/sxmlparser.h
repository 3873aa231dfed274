/// A small XML parser for the camera's own files: elements, attributes with quoted values, element text, comments and
/// processing instructions, in one block of memory per document. Names, values and texts are kept as written; entities
/// are never decoded. Order of calls: SXMLParser_Initial, SXMLParser_SetOptions, one or more SXMLParser_Process or
/// SXMLParser_ProcessFile (each tree replaces the one before), queries, SXMLParser_Release. A handle is for one thread.
#pragma once

#include <stdint.h>

/// What SXMLParser_Process returns besides 0 and -1: the top bit and a number, as a negative int.
enum SXMLResult : int32_t {
    SXML_NO_MEMORY = INT32_MIN + 0x4,
    SXML_END_TAG_MISMATCH = INT32_MIN + 0x5,
    SXML_BAD_TAG_START = INT32_MIN + 0x6,
    SXML_NO_EQUALS_SIGN = INT32_MIN + 0x9,
    SXML_TOO_DEEP = INT32_MIN + 0xA,
    SXML_OPEN_COMMENT = INT32_MIN + 0xB,
    SXML_OPEN_INSTRUCTION = INT32_MIN + 0xC,
    SXML_OPEN_TAG = INT32_MIN + 0xD,
    SXML_BAD_VALUE = INT32_MIN + 0xE,
    SXML_UNBALANCED = INT32_MIN + 0x10,
};

enum SXMLMode : int32_t { SXML_MODE_TREE = 1, SXML_MODE_CALLBACK = 2 };

/// Bits of SXMLParserOptions::dwMask: which fields SXMLParser_SetOptions copies.
enum SXMLOptionMask : uint32_t { SXML_SET_CALLBACK_MODE = 1, SXML_SET_CALLBACKS = 2, SXML_SET_OPTION_WORDS = 4 };

struct SXMLAttribute {
    int32_t iIndex; ///< 1-based, in document order
    char *pszName;
    char *pszValue; ///< the text between the quotes
};

/// The configuration daemon publishes its snapshot in records of this layout as well.
struct SXMLElement {
    int32_t iIndex; ///< 1-based, in the order of the start tags
    char *pszTag;
    char *pszValue; ///< never NULL in a complete tree
    int32_t iChildCount;
    int32_t iAttributeCount;
    SXMLAttribute *pFirstAttribute; ///< the element's attributes are consecutive
    SXMLElement *pFirstChild;
    SXMLElement *pNextSibling; ///< NULL for every top-level element
    SXMLElement *pParent;      ///< NULL for a top-level element
};

static_assert(sizeof(void *) != 4 || (sizeof(SXMLElement) == 36 && sizeof(SXMLAttribute) == 12),
              "on a 32-bit camera an element is nine words and an attribute three");

/// Names and texts point into the parsed text and are not terminated. The results are ignored.
using SXMLTagCallback = uint32_t (*)(void *pUserData, const char *pszTag, int32_t iTagLen);
using SXMLAttributeCallback = uint32_t (*)(void *pUserData, const char *pszTag, int32_t iTagLen, const char *pszName,
                                           int32_t iNameLen, const char *pszValue, int32_t iValueLen);
using SXMLTagValueCallback = uint32_t (*)(void *pUserData, const char *pszTag, int32_t iTagLen, const char *pszValue,
                                          int32_t iValueLen); ///< pszValue is NULL for "<tag/>"

struct SXMLParserOptions {
    uint32_t dwMask; ///< SXMLOptionMask
    int32_t iCallbackMode;
    SXMLTagCallback pfnOpenTag; ///< a NULL callback stands for its Dummy default
    SXMLTagCallback pfnCloseTag;
    SXMLAttributeCallback pfnAttributeValue;
    SXMLTagValueCallback pfnTagValue;
    void *pUserData;
    uint32_t dwOption1, dwOption2;
};

struct SXMLParserContext {
    int32_t iCallbackMode; ///< 1 allows SXML_MODE_CALLBACK
    SXMLTagCallback pfnOpenTag;
    SXMLTagCallback pfnCloseTag;
    SXMLAttributeCallback pfnAttributeValue;
    SXMLTagValueCallback pfnTagValue;
    void *pUserData;
    uint32_t dwOption1, dwOption2; ///< kept for the caller
    void *pBuffer;                 ///< the one block: strings, elements, attributes, depth stack
    int32_t iBufferSize;           ///< bytes of pBuffer
    int32_t iMaxDepth;
    int32_t iXMLStrSize; ///< bytes of all strings with their terminators
    int32_t iXMLElementCount;
    int32_t iXMLAttributeCount;
    char *pszXMLString;
    SXMLElement *pXMLElement;     ///< record 0 is never used
    SXMLAttribute *pXMLAttribute; ///< record 0 is never used
    int32_t iCurDepth;
    int32_t iEnumIndex; ///< cursor of the enumeration; during a parse the elements built so far
    int32_t iCurAttrIndex;
    char *pszCurXMLStr;
    SXMLElement *pCurElement;
    SXMLElement **pDepthStack; ///< open elements by depth, iMaxDepth entries
    SXMLAttribute *pCurAttribute;
};

/// The default callbacks: they return the low 32 bits of their first argument and do nothing.
uint32_t DummyOpenTag(void *pUserData, const char *pszTag, int32_t iTagLen);
uint32_t DummyCloseTag(void *pUserData, const char *pszTag, int32_t iTagLen);
uint32_t DummyAttributeValue(void *pUserData, const char *pszTag, int32_t iTagLen, const char *pszName,
                             int32_t iNameLen, const char *pszValue, int32_t iValueLen);
uint32_t DummyTagValue(void *pUserData, const char *pszTag, int32_t iTagLen, const char *pszValue, int32_t iValueLen);

/// 0, or -1 when the handle cannot be allocated (the variable is NULL then).
int SXMLParser_Initial(SXMLParserContext **ppThis);
/// Frees the tree and the handle and clears the variable; 0, or -1 for a NULL address.
int SXMLParser_Release(SXMLParserContext **ppThis);
/// Always 0.
int SXMLParser_SetOptions(SXMLParserContext *pThis, const SXMLParserOptions *pOptions);

/// Parses a NUL-terminated text; 0, -1 for a callback parse without iCallbackMode 1, or an SXMLResult. After a failure
/// queries answer none or whatever part of the tree was built. Any other mode than the two does nothing and returns 0.
int SXMLParser_Process(SXMLParserContext *pThis, const char *pszText, int32_t iMode);
/// The same for a whole file; also -1 when it cannot be opened or held in memory, and 0 with nothing parsed when its
/// size cannot be told (a pipe).
int SXMLParser_ProcessFile(SXMLParserContext *pThis, const char *pszPath, int32_t iMode);

/// Queries. They take a NULL handle, allocate nothing, and answer NULL or 0 for "none". Strings live in the tree's
/// block until the next parse with this handle or its release.
const SXMLElement *SXMLParser_EnumStart(SXMLParserContext *pThis);
const SXMLElement *SXMLParser_EnumNext(SXMLParserContext *pThis);
int32_t SXMLParser_GetElementCount(const SXMLParserContext *pThis);
int32_t SXMLParser_GetAttributeCount(const SXMLParserContext *pThis);
const SXMLElement *SXMLParser_GetElementByIndex(const SXMLParserContext *pThis, int32_t iIndex);
char *SXMLParser_GetTagValueByIndex(const SXMLParserContext *pThis, int32_t iIndex);
char *SXMLParser_GetAttrValueByIndex(const SXMLParserContext *pThis, int32_t iIndex);

/// Queries by tag path: the names from the top element down, ended by NULL. Of several children with one name the first
/// answers, and only the first top-level element can be reached.
#define SXML_TAG_PATH __attribute__((sentinel))
SXML_TAG_PATH const SXMLElement *SXMLParser_GetElementByTag(const SXMLParserContext *pThis, ...);
SXML_TAG_PATH char *SXMLParser_GetTagValueByName(const SXMLParserContext *pThis, ...);
SXML_TAG_PATH int32_t SXMLParser_GetTagIndex(const SXMLParserContext *pThis, ...);
SXML_TAG_PATH char *SXMLParser_GetAttrValueByName(const SXMLParserContext *pThis, const char *pszName, ...);
SXML_TAG_PATH int32_t SXMLParser_GetAttrIndex(const SXMLParserContext *pThis, const char *pszName, ...);
