/// Opening one of the camera's XML files as a tree, and the names of elements that are told apart by a number.
#pragma once

#include "sxmlparser/sxmlparser.h"

#include <stddef.h>
#include <stdint.h>

/// Creates a parser and parses a file with it. Returns 0, or -1 after one line in the system log, which names
/// pszCaller. *pptParser is the caller's to release in either case; it is NULL when no parser could be created.
int Open_XMLFile(const char *pszPath, const char *pszCaller, SXMLParserContext **pptParser);

/// Room for a codec's name as the name of an element. Longer ones are cut.
constexpr size_t CODEC_TAG_SIZE = 10;

/// An element name made of a letter and an index; two digits of the index at most have room.
struct IndexTag {
    char szTag[4];
};
IndexTag Make_IndexTag(char cLetter, int32_t iIndex);
