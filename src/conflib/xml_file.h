/// Opening one of the camera's XML files as a tree.
#pragma once

#include "sxmlparser/sxmlparser.h"

/// Creates a parser and parses a file with it. Returns 0, or -1 after one line in the system log, which names
/// pszCaller. *pptParser is the caller's to release in either case; it is NULL when no parser could be created.
int Open_XMLFile(const char *pszPath, const char *pszCaller, SXMLParserContext **pptParser);
