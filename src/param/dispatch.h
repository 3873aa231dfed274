/// The parameter table and matching a request name against it.
#pragma once

#include "param/param_context.h"

#include <array>

/// Routines of a parameter; a missing one is null. Several parameters share one record.
struct DispatchRecord {
    MappingRoutine *pfnCheck;
    MappingRoutine *pfnSet;
    MappingRoutine *pfnGet;
};

enum ParamAccess : int32_t { ACCESS_READ_ONLY = 1, ACCESS_READ_WRITE = 2 };

/// One parameter. The name has zero, one or two "%d", which stand for 1-based indexes.
struct DispatchEntry {
    const char *pszName;
    int32_t iAccess; ///< a ParamAccess
    int32_t iIndexCount;
    const DispatchRecord *ptRecord;
};

constexpr int PARAM_ENTRY_COUNT = 172;

/// Every parameter that the camera answers; the first entry that matches a name wins. Ends with a null name.
extern const DispatchEntry g_tDispatchTable[PARAM_ENTRY_COUNT + 1];

/// What matching needs to know of an entry's name beside the text.
struct DispatchHint {
    uint8_t byLength; ///< length of the name
    uint8_t byShared; ///< how many characters it has in common with the name of the entry before
};
extern const std::array<DispatchHint, PARAM_ENTRY_COUNT> g_tDispatchHint;

/// How far the comparison of a name with a template has come.
struct TemplateWalk {
    int iTemplate; ///< next character of the template
    int iName;     ///< next character of the name
    int iSeen;     ///< last character of the name that had a say; past any name when the template's length had one, too
    int iRead;     ///< numbers read so far
    int32_t aiNumber[2]; ///< these numbers
};

/// 0 when a request name matches a template, which has iLength characters and iIndexCount "%d"; the indexes minus 1 are
/// then in iIndex1 and iIndex2. Otherwise -1. Only the first iLength characters of the request name count, so a name
/// that runs on still matches. Numbers must be written as printf writes them (no blank, no plus sign, no leading zero)
/// and fit 32 bits; they are not range-checked. The comparison starts where *ptWalk stands (zeroed: at the beginning)
/// and leaves there where it ended.
int QuorvexDispatchParser(const char *pszTemplate, const char *pszName, int iLength, int iIndexCount,
                          ParamContext *ptContext, TemplateWalk *ptWalk);

/// The first entry of g_tDispatchTable that QuorvexDispatchParser matches with a name, or null.
const DispatchEntry *Find_DispatchEntry(const char *pszName, ParamContext *ptContext);
