#pragma once
// What the XML benchmarks share: the documents, and the product's parser beside other parsers of its kind.
#include <stddef.h>

#include <string>
#include <vector>

struct XmlDocument {
    const char *pszName;
    std::string strText;
};

// A settings file of 1.5 KB, a capability file of 64 KB with attributes, a list of 1 MB with 20,000 children of one
// root.
std::vector<XmlDocument> MakeXmlDocuments();

struct XmlEngine {
    const char *pszName;
    bool bReuse; // the document of one parse is handed to the next instead of being closed
    // Parses a NUL-terminated text; pBefore is a document to reuse or nullptr. nullptr: the text was refused.
    void *(*pfnOpen)(void *pBefore, const char *pszText, size_t uSize);
    void (*pfnClose)(void *pDocument);
};

// The product's parser with a fresh handle and with one handle for all parses, and the others. Expat builds no tree.
extern const std::vector<XmlEngine> g_atXmlEngine;
constexpr size_t PUGIXML_ENGINE = 2; // the one that the others are compared with
