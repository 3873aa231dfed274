/// Taking parameter names, one after the other, out of the request text.
#pragma once

#include "param/param_context.h"

/// Outcome of looking for the next item of a request.
enum ItemOutcome { ITEM_TAKEN, ITEM_NONE, ITEM_BAD_NAME, ITEM_NO_END };

/// Takes the next "req=<name>&" of a read request into szParamName and moves iParseOffset on, counted as if "req="
/// stood exactly at the old offset. Returns ITEM_TAKEN, or ITEM_NONE when there is no usable name.
ItemOutcome Take_ReadItem(ParamContext *ptContext);

/// Takes the name of the next "<name>=<value>\r\n" of a write request and moves iParseOffset behind the line. Otherwise
/// ITEM_NONE (there is no "="), ITEM_BAD_NAME (empty, or over 127 characters) or ITEM_NO_END (no "\r\n" behind the
/// "=").
ItemOutcome Take_WriteItem(ParamContext *ptContext);

/// Copies, without a terminator, the text between the first occurrence of a key (plus iSkip characters) and the next
/// "&". Returns 0; -1 when the key or the "&" is missing, the text is longer than iMax, or text or key begin with "0"
/// (logged).
int GetStringValueFromText(const char *pszText, const char *pszKey, int iSkip, char *pcOutput, int iMax);
