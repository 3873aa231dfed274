/// The parameter table and matching a request name against it.
#pragma once

#include "param/param_context.h"

enum ParamAccess : int32_t { ACCESS_READ_ONLY = 1, ACCESS_READ_WRITE = 2 };

/// One parameter. The name has zero, one or two "%d", which stand for 1-based indexes.
struct DispatchEntry {
    const char *pszName;
    int32_t iAccess; ///< a ParamAccess
    int32_t iIndexCount;
    const DispatchRecord *ptRecord;
};

/// Every parameter that the camera answers; the first entry that matches a name wins. Ends with a null name.
extern const DispatchEntry g_tDispatchTable[];

/// No name in the table is shorter.
constexpr int DISPATCH_NAME_MIN_LENGTH = 15;

/// 0 when a request name matches a template, which has iLength characters and iIndexCount "%d"; the indexes minus 1 are
/// then in iIndex1 and iIndex2. Otherwise -1. Only the first iLength characters of the request name count, so a name
/// that runs on still matches. Numbers must be written as printf writes them (no blank, no plus sign, no leading zero)
/// and fit 32 bits; they are not range-checked.
int QuorvexDispatchParser(const char *pszTemplate, const char *pszName, int iLength, int iIndexCount,
                          ParamContext *ptContext);

/// The first entry of g_tDispatchTable that QuorvexDispatchParser matches with a name, or null.
const DispatchEntry *Find_DispatchEntry(const char *pszName, ParamContext *ptContext);
