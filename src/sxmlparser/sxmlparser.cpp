#include "sxmlparser/sxmlparser.h"

#include <stdarg.h>
#include <stdlib.h>
#include <string.h>

static uint32_t LowWord(void *pUserData) { return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(pUserData)); }

uint32_t DummyOpenTag(void *pUserData, const char * /*pszTag*/, int32_t /*iTagLen*/) { return LowWord(pUserData); }

uint32_t DummyCloseTag(void *pUserData, const char * /*pszTag*/, int32_t /*iTagLen*/) { return LowWord(pUserData); }

uint32_t DummyAttributeValue(void *pUserData, const char * /*pszTag*/, int32_t /*iTagLen*/, const char * /*pszName*/,
                             int32_t /*iNameLen*/, const char * /*pszValue*/, int32_t /*iValueLen*/)
{
    return LowWord(pUserData);
}

uint32_t DummyTagValue(void *pUserData, const char * /*pszTag*/, int32_t /*iTagLen*/, const char * /*pszValue*/,
                       int32_t /*iValueLen*/)
{
    return LowWord(pUserData);
}

static void SetCallbacks(SXMLParserContext *pThis, const SXMLParserOptions &tOptions)
{
    pThis->pfnOpenTag = tOptions.pfnOpenTag != NULL ? tOptions.pfnOpenTag : DummyOpenTag;
    pThis->pfnCloseTag = tOptions.pfnCloseTag != NULL ? tOptions.pfnCloseTag : DummyCloseTag;
    pThis->pfnAttributeValue = tOptions.pfnAttributeValue != NULL ? tOptions.pfnAttributeValue : DummyAttributeValue;
    pThis->pfnTagValue = tOptions.pfnTagValue != NULL ? tOptions.pfnTagValue : DummyTagValue;
    pThis->pUserData = tOptions.pUserData;
}

int SXMLParser_Initial(SXMLParserContext **ppThis)
{
    *ppThis = static_cast<SXMLParserContext *>(calloc(1, sizeof(SXMLParserContext)));
    if (*ppThis == NULL)
        return -1;
    SetCallbacks(*ppThis, SXMLParserOptions{});
    return 0;
}

int SXMLParser_Release(SXMLParserContext **ppThis)
{
    if (ppThis == NULL)
        return -1;
    if (*ppThis != NULL)
        free((*ppThis)->pBuffer);
    free(*ppThis);
    *ppThis = NULL;
    return 0;
}

int SXMLParser_SetOptions(SXMLParserContext *pThis, const SXMLParserOptions *pOptions)
{
    if (pThis == NULL || pOptions == NULL)
        return 0;
    if (pOptions->dwMask & SXML_SET_CALLBACK_MODE)
        pThis->iCallbackMode = pOptions->iCallbackMode;
    if (pOptions->dwMask & SXML_SET_CALLBACKS)
        SetCallbacks(pThis, *pOptions);
    if (pOptions->dwMask & SXML_SET_OPTION_WORDS) {
        pThis->dwOption1 = pOptions->dwOption1;
        pThis->dwOption2 = pOptions->dwOption2;
    }
    return 0;
}

int32_t SXMLParser_GetElementCount(const SXMLParserContext *pThis)
{
    return pThis != NULL ? pThis->iXMLElementCount : 0;
}

int32_t SXMLParser_GetAttributeCount(const SXMLParserContext *pThis)
{
    return pThis != NULL ? pThis->iXMLAttributeCount : 0;
}

// A parse that fails leaves counts without arrays, or records that were never built: those do not hold their own index.
const SXMLElement *SXMLParser_GetElementByIndex(const SXMLParserContext *pThis, int32_t iIndex)
{
    if (iIndex < 1 || iIndex > SXMLParser_GetElementCount(pThis) || pThis->pXMLElement == NULL)
        return NULL;
    const SXMLElement *pElement = &pThis->pXMLElement[iIndex];
    return pElement->iIndex == iIndex ? pElement : NULL;
}

char *SXMLParser_GetTagValueByIndex(const SXMLParserContext *pThis, int32_t iIndex)
{
    const SXMLElement *pElement = SXMLParser_GetElementByIndex(pThis, iIndex);
    return pElement != NULL ? pElement->pszValue : NULL;
}

char *SXMLParser_GetAttrValueByIndex(const SXMLParserContext *pThis, int32_t iIndex)
{
    if (iIndex < 1 || iIndex > SXMLParser_GetAttributeCount(pThis) || pThis->pXMLAttribute == NULL)
        return NULL;
    return pThis->pXMLAttribute[iIndex].pszValue;
}

const SXMLElement *SXMLParser_EnumStart(SXMLParserContext *pThis)
{
    if (pThis == NULL)
        return NULL;
    pThis->iEnumIndex = 1;
    return SXMLParser_GetElementByIndex(pThis, 1);
}

const SXMLElement *SXMLParser_EnumNext(SXMLParserContext *pThis)
{
    if (pThis == NULL || pThis->iEnumIndex >= pThis->iXMLElementCount)
        return NULL;
    return SXMLParser_GetElementByIndex(pThis, ++pThis->iEnumIndex);
}

// The element at the end of a list of tag names, or NULL.
static const SXMLElement *WalkTagPath(const SXMLParserContext *pThis, va_list &vaTags)
{
    const SXMLElement *pCandidate = SXMLParser_GetElementByIndex(pThis, 1);
    const SXMLElement *pResult = NULL;
    for (const char *pszTag = va_arg(vaTags, const char *); pszTag != NULL; pszTag = va_arg(vaTags, const char *)) {
        while (pCandidate != NULL && strcmp(pCandidate->pszTag, pszTag) != 0)
            pCandidate = pCandidate->pNextSibling;
        if (pCandidate == NULL)
            return NULL;
        pResult = pCandidate;
        pCandidate = pCandidate->pFirstChild;
    }
    return pResult;
}

static const SXMLAttribute *FindAttribute(const SXMLElement *pElement, const char *pszName)
{
    if (pElement == NULL || pszName == NULL)
        return NULL;
    for (int32_t i = 0; i < pElement->iAttributeCount; i++)
        if (strcmp(pElement->pFirstAttribute[i].pszName, pszName) == 0)
            return &pElement->pFirstAttribute[i];
    return NULL;
}

const SXMLElement *SXMLParser_GetElementByTag(const SXMLParserContext *pThis, ...)
{
    va_list vaTags;
    va_start(vaTags, pThis);
    const SXMLElement *pElement = WalkTagPath(pThis, vaTags);
    va_end(vaTags);
    return pElement;
}

char *SXMLParser_GetTagValueByName(const SXMLParserContext *pThis, ...)
{
    va_list vaTags;
    va_start(vaTags, pThis);
    const SXMLElement *pElement = WalkTagPath(pThis, vaTags);
    va_end(vaTags);
    return pElement != NULL ? pElement->pszValue : NULL;
}

int32_t SXMLParser_GetTagIndex(const SXMLParserContext *pThis, ...)
{
    va_list vaTags;
    va_start(vaTags, pThis);
    const SXMLElement *pElement = WalkTagPath(pThis, vaTags);
    va_end(vaTags);
    return pElement != NULL ? pElement->iIndex : 0;
}

char *SXMLParser_GetAttrValueByName(const SXMLParserContext *pThis, const char *pszName, ...)
{
    va_list vaTags;
    va_start(vaTags, pszName);
    const SXMLAttribute *pAttribute = FindAttribute(WalkTagPath(pThis, vaTags), pszName);
    va_end(vaTags);
    return pAttribute != NULL ? pAttribute->pszValue : NULL;
}

int32_t SXMLParser_GetAttrIndex(const SXMLParserContext *pThis, const char *pszName, ...)
{
    va_list vaTags;
    va_start(vaTags, pszName);
    const SXMLAttribute *pAttribute = FindAttribute(WalkTagPath(pThis, vaTags), pszName);
    va_end(vaTags);
    return pAttribute != NULL ? pAttribute->iIndex : 0;
}
