/// The three side files as texts: the lock over them, reading one as a tree, and putting a new text in its place.
#pragma once

#include "sidestore/side_place.h"
#include "sxmlparser/sxmlparser.h"

#include <stddef.h>

/// The text at a place in the tree of its file; NULL, after a line in the system log, when there is none. The copy is
/// on the heap.
const char *Find_SideText(const SXMLParserContext *ptParser, const SidePlace &tPlace);
char *Copy_SideText(const SidePlace &tPlace);

/// The tree of a file. One that cannot be parsed is logged and then has no elements, or those up to the fault.
SXMLParserContext *Open_SideFile(SideFile eFile);
void Close_SideFile(SideFile eFile, SXMLParserContext *ptParser);

/// Keeps readers and other setters away until Unlock, and what is opened meanwhile from being parsed again. A lock that
/// cannot be had in time is done without.
void Lock_SideFiles();
void Unlock_SideFiles();

/// Keeps other writers, not readers, from a file until Let_SideFile: what a parameter stores and what it tells the
/// camera stay together when two requests write it at once. Whoever stores holds the file, and the end of an item lets
/// it go; a routine that tells the camera first holds it itself. One that cannot be had in time is done without.
void Hold_SideFile(SideFile eFile);
void Let_SideFile();

/// The text of a file while it is composed. Begin with a zeroed one; free pcText.
struct SideText {
    char *pcText;
    size_t uLength;
    size_t uRoom;
    int iDepth;   ///< elements that are open, at most seven
    bool bFailed; ///< there was no memory for all of it
};
void Open_SideElement(SideText *ptText, const char *pszName);
void Close_SideElement(SideText *ptText, const char *pszName);
/// A whole element on one line. The value is written as it stands.
void Append_SideElement(SideText *ptText, const char *pszName, const char *pszValue);

/// Rewrites a file in place, or creates it. It keeps its owner, mode and links, and a reader finds one of both texts
/// whole whenever the process is killed. 0; -1 when that fails, logged under pszWriter when the file cannot be opened;
/// it then is as it was.
int Replace_SideFile(SideFile eFile, const char *pszWriter, SideText *ptText);

/// A parser with a file's tree (0 or -1), and giving it back (0, or -1 when there is none).
int Init_QuorvexXMLParser(const char *pszPath, SXMLParserContext **pptParser);
int Release_QuorvexXMLParser(SXMLParserContext **pptParser);
