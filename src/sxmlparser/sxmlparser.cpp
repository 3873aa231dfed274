#include "sxmlparser/sxmlparser.h"

#include <stdarg.h>
#include <stdlib.h>
#include <string.h>

static uint32_t Low_Word(void *pUserData) { return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(pUserData)); }

uint32_t DummyOpenTag(void *pUserData, const char * /*pszTag*/, int32_t /*iTagLen*/) { return Low_Word(pUserData); }

uint32_t DummyCloseTag(void *pUserData, const char * /*pszTag*/, int32_t /*iTagLen*/) { return Low_Word(pUserData); }

uint32_t DummyAttributeValue(void *pUserData, const char * /*pszTag*/, int32_t /*iTagLen*/, const char * /*pszName*/,
                             int32_t /*iNameLen*/, const char * /*pszValue*/, int32_t /*iValueLen*/)
{
    return Low_Word(pUserData);
}

uint32_t DummyTagValue(void *pUserData, const char * /*pszTag*/, int32_t /*iTagLen*/, const char * /*pszValue*/,
                       int32_t /*iValueLen*/)
{
    return Low_Word(pUserData);
}

static void Set_Callbacks(SXMLParserContext *pThis, const SXMLParserOptions &tOptions)
{
    pThis->pfnOpenTag = tOptions.pfnOpenTag != nullptr ? tOptions.pfnOpenTag : DummyOpenTag;
    pThis->pfnCloseTag = tOptions.pfnCloseTag != nullptr ? tOptions.pfnCloseTag : DummyCloseTag;
    pThis->pfnAttributeValue = tOptions.pfnAttributeValue != nullptr ? tOptions.pfnAttributeValue : DummyAttributeValue;
    pThis->pfnTagValue = tOptions.pfnTagValue != nullptr ? tOptions.pfnTagValue : DummyTagValue;
    pThis->pUserData = tOptions.pUserData;
}

int SXMLParser_Initial(SXMLParserContext **ppThis)
{
    *ppThis = static_cast<SXMLParserContext *>(calloc(1, sizeof(SXMLParserContext)));
    if (*ppThis == nullptr)
        return -1;
    Set_Callbacks(*ppThis, SXMLParserOptions{});
    return 0;
}

int SXMLParser_Release(SXMLParserContext **ppThis)
{
    if (ppThis == nullptr)
        return -1;
    if (*ppThis != nullptr)
        free((*ppThis)->pBuffer);
    free(*ppThis);
    *ppThis = nullptr;
    return 0;
}

int SXMLParser_SetOptions(SXMLParserContext *pThis, const SXMLParserOptions *pOptions)
{
    if (pThis == nullptr || pOptions == nullptr)
        return 0;
    if (pOptions->dwMask & SXML_SET_CALLBACK_MODE)
        pThis->iCallbackMode = pOptions->iCallbackMode;
    if (pOptions->dwMask & SXML_SET_CALLBACKS)
        Set_Callbacks(pThis, *pOptions);
    if (pOptions->dwMask & SXML_SET_OPTION_WORDS) {
        pThis->dwOption1 = pOptions->dwOption1;
        pThis->dwOption2 = pOptions->dwOption2;
    }
    return 0;
}

int32_t SXMLParser_GetElementCount(const SXMLParserContext *pThis)
{
    return pThis != nullptr ? pThis->iXMLElementCount : 0;
}

int32_t SXMLParser_GetAttributeCount(const SXMLParserContext *pThis)
{
    return pThis != nullptr ? pThis->iXMLAttributeCount : 0;
}

// A parse that fails leaves counts without arrays, or records that were never built: those do not hold their own index.
const SXMLElement *SXMLParser_GetElementByIndex(const SXMLParserContext *pThis, int32_t iIndex)
{
    if (iIndex < 1 || iIndex > SXMLParser_GetElementCount(pThis) || pThis->pXMLElement == nullptr)
        return nullptr;
    const SXMLElement *pElement = &pThis->pXMLElement[iIndex];
    return pElement->iIndex == iIndex ? pElement : nullptr;
}

char *SXMLParser_GetTagValueByIndex(const SXMLParserContext *pThis, int32_t iIndex)
{
    const SXMLElement *pElement = SXMLParser_GetElementByIndex(pThis, iIndex);
    return pElement != nullptr ? pElement->pszValue : nullptr;
}

char *SXMLParser_GetAttrValueByIndex(const SXMLParserContext *pThis, int32_t iIndex)
{
    if (iIndex < 1 || iIndex > SXMLParser_GetAttributeCount(pThis) || pThis->pXMLAttribute == nullptr)
        return nullptr;
    return pThis->pXMLAttribute[iIndex].pszValue;
}

const SXMLElement *SXMLParser_EnumStart(SXMLParserContext *pThis)
{
    if (pThis == nullptr)
        return nullptr;
    pThis->iEnumIndex = 1;
    return SXMLParser_GetElementByIndex(pThis, 1);
}

const SXMLElement *SXMLParser_EnumNext(SXMLParserContext *pThis)
{
    if (pThis == nullptr || pThis->iEnumIndex >= pThis->iXMLElementCount)
        return nullptr;
    return SXMLParser_GetElementByIndex(pThis, ++pThis->iEnumIndex);
}

// The element at the end of a list of tag names, or NULL.
static const SXMLElement *Walk_TagPath(const SXMLParserContext *pThis, va_list &vaTags)
{
    const SXMLElement *pCandidate = SXMLParser_GetElementByIndex(pThis, 1);
    const SXMLElement *pResult = nullptr;
    for (const char *pszTag = va_arg(vaTags, const char *); pszTag != nullptr; pszTag = va_arg(vaTags, const char *)) {
        while (pCandidate != nullptr && strcmp(pCandidate->pszTag, pszTag) != 0)
            pCandidate = pCandidate->pNextSibling;
        if (pCandidate == nullptr)
            return nullptr;
        pResult = pCandidate;
        pCandidate = pCandidate->pFirstChild;
    }
    return pResult;
}

static const SXMLAttribute *Find_Attribute(const SXMLElement *pElement, const char *pszName)
{
    if (pElement == nullptr || pszName == nullptr)
        return nullptr;
    for (int32_t i = 0; i < pElement->iAttributeCount; i++)
        if (strcmp(pElement->pFirstAttribute[i].pszName, pszName) == 0)
            return &pElement->pFirstAttribute[i];
    return nullptr;
}

const SXMLElement *SXMLParser_GetElementByTag(const SXMLParserContext *pThis, ...)
{
    va_list vaTags;
    va_start(vaTags, pThis);
    const SXMLElement *pElement = Walk_TagPath(pThis, vaTags);
    va_end(vaTags);
    return pElement;
}

char *SXMLParser_GetTagValueByName(const SXMLParserContext *pThis, ...)
{
    va_list vaTags;
    va_start(vaTags, pThis);
    const SXMLElement *pElement = Walk_TagPath(pThis, vaTags);
    va_end(vaTags);
    return pElement != nullptr ? pElement->pszValue : nullptr;
}

int32_t SXMLParser_GetTagIndex(const SXMLParserContext *pThis, ...)
{
    va_list vaTags;
    va_start(vaTags, pThis);
    const SXMLElement *pElement = Walk_TagPath(pThis, vaTags);
    va_end(vaTags);
    return pElement != nullptr ? pElement->iIndex : 0;
}

char *SXMLParser_GetAttrValueByName(const SXMLParserContext *pThis, const char *pszName, ...)
{
    va_list vaTags;
    va_start(vaTags, pszName);
    const SXMLAttribute *pAttribute = Find_Attribute(Walk_TagPath(pThis, vaTags), pszName);
    va_end(vaTags);
    return pAttribute != nullptr ? pAttribute->pszValue : nullptr;
}

int32_t SXMLParser_GetAttrIndex(const SXMLParserContext *pThis, const char *pszName, ...)
{
    va_list vaTags;
    va_start(vaTags, pszName);
    const SXMLAttribute *pAttribute = Find_Attribute(Walk_TagPath(pThis, vaTags), pszName);
    va_end(vaTags);
    return pAttribute != nullptr ? pAttribute->iIndex : 0;
}
