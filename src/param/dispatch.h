/// The parameter table and matching a request name against it.
#pragma once

#include "param/param_context.h"

#include <stddef.h>

enum ParamAccess : uint8_t { ACCESS_READ_ONLY = 1, ACCESS_READ_WRITE = 2 };

/// Longer names are never matched.
constexpr int TEMPLATE_MAX_LENGTH = 255;

/// One parameter. The name has zero, one or two "%d", which stand for 1-based indexes.
struct DispatchEntry {
    const char *pszName = nullptr;
    uint8_t iLength = 0; ///< of the name
    uint8_t iAccess = 0; ///< a ParamAccess
    int8_t iIndexCount = -1;
    const DispatchRecord *ptRecord = nullptr;

    constexpr DispatchEntry() = default; ///< the end of the table
    template <size_t uSize>
    constexpr DispatchEntry(const char (&szName)[uSize], ParamAccess eAccess, int8_t iIndexes, const DispatchRecord *pt)
        : pszName(szName), iLength(uSize - 1), iAccess(eAccess), iIndexCount(iIndexes), ptRecord(pt)
    {
        static_assert(uSize - 1 <= TEMPLATE_MAX_LENGTH, "longer than any name that is matched");
    }
};

/// Every parameter that the camera answers; the first entry that matches a name wins. Ends with a null name.
extern const DispatchEntry g_tDispatchTable[];

/// 0 when a request name matches a template, which has iLength characters and iIndexCount "%d"; the indexes minus 1 are
/// then in iIndex1 and iIndex2. Otherwise -1. Only the first iLength characters of the request name count, so a name
/// that runs on still matches. Numbers must be written as printf writes them (no blank, no plus sign, no leading zero)
/// and fit 32 bits; they are not range-checked.
int QuorvexDispatchParser(const char *pszTemplate, const char *pszName, int iLength, int iIndexCount,
                          ParamContext *ptContext);

/// The first entry of g_tDispatchTable that QuorvexDispatchParser matches with a name, or null.
const DispatchEntry *Find_DispatchEntry(const char *pszName, ParamContext *ptContext);
