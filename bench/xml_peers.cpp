#include "xml_peers.h"

#include "sxmlparser/sxmlparser.h"

#include <expat.h>
#include <pugixml.hpp>
#include <tinyxml2.h>

static std::string Element(const std::string &strTag, const std::string &strContent)
{
    return "<" + strTag + ">" + strContent + "</" + strTag + ">";
}

static std::string MakeSettings()
{
    std::string strText = "<root>\n\t<quorvex>\n\t\t<image>\n";
    for (int c = 0; strText.size() < 1200; c++) {
        const std::string strChannel = "c" + std::to_string(c);
        strText += "\t\t\t<" + strChannel + ">\n";
        for (const char *pszName : {"contrast", "brightness", "saturation", "sharpness"})
            strText += "\t\t\t\t" + Element(pszName, std::to_string(40 + c)) + "\n";
        for (int s = 0; s < 2; s++) {
            const std::string strStream = "s" + std::to_string(s);
            strText += "\t\t\t\t<" + strStream + ">\n";
            for (const char *pszCodec : {"h264", "h265"})
                strText += "\t\t\t\t\t" + Element(pszCodec, "\n\t\t\t\t\t\t<gop>30</gop>\n\t\t\t\t\t") + "\n";
            strText += "\t\t\t\t</" + strStream + ">\n";
        }
        strText += "\t\t\t</" + strChannel + ">\n";
    }
    return strText + "\t\t</image>\n\t</quorvex>\n</root>\n";
}

static std::string MakeCapabilities()
{
    std::string strText = "<?xml version=\"1.0\"?>\n<root version=\"2.0\">\n\t<videoin>\n";
    for (int c = 0; strText.size() < 65300; c++) {
        const std::string strChannel = "c" + std::to_string(c);
        strText += "\t\t<" + strChannel + " type=\"channel\">\n\t\t\t<s0>\n";
        for (const char *pszCodec : {"h264", "h265", "mjpeg"})
            strText += "\t\t\t\t" +
                       Element(pszCodec, "\n\t\t\t\t\t<bitrate rw=\"6/6\" mode='none'>\n"
                                         "\t\t\t\t\t\t<value>512000</value>\n"
                                         "\t\t\t\t\t\t<check type=\"string\">string,\"1000~8000000\"</check>\n"
                                         "\t\t\t\t\t\t<aliasxpath/>\n\t\t\t\t\t</bitrate>\n\t\t\t\t") +
                       "\n";
        strText += "\t\t\t</s0>\n\t\t</" + strChannel + ">\n";
    }
    return strText + "\t</videoin>\n</root>\n";
}

static std::string MakeList()
{
    std::string strText = "<root>\n";
    for (int i = 0; i < 20000; i++) {
        const std::string strValue(static_cast<size_t>(15 + i * 7 % 23), 'v');
        strText += "\t" + Element("item" + std::to_string(i), strValue) + "\n";
    }
    return strText + "</root>\n";
}

std::vector<XmlDocument> MakeXmlDocuments()
{
    return {{"settings", MakeSettings()}, {"capability", MakeCapabilities()}, {"list", MakeList()}};
}

static void CloseSXMLParser(void *pDocument)
{
    SXMLParserContext *pParser = static_cast<SXMLParserContext *>(pDocument);
    SXMLParser_Release(&pParser);
}

static void *OpenSXMLParser(void *pBefore, const char *pszText, size_t /*uSize*/)
{
    SXMLParserContext *pParser = static_cast<SXMLParserContext *>(pBefore);
    if (pParser == nullptr && SXMLParser_Initial(&pParser) != 0)
        return nullptr;
    if (SXMLParser_Process(pParser, pszText, SXML_MODE_TREE) == 0)
        return pParser;
    CloseSXMLParser(pParser);
    return nullptr;
}

static void *OpenPugixml(void * /*pBefore*/, const char *pszText, size_t uSize)
{
    auto *pDocument = new pugi::xml_document;
    if (pDocument->load_buffer(pszText, uSize))
        return pDocument;
    delete pDocument;
    return nullptr;
}

static void *OpenTinyXml2(void * /*pBefore*/, const char *pszText, size_t uSize)
{
    auto *pDocument = new tinyxml2::XMLDocument;
    if (pDocument->Parse(pszText, uSize) == tinyxml2::XML_SUCCESS)
        return pDocument;
    delete pDocument;
    return nullptr;
}

static void *OpenExpat(void * /*pBefore*/, const char *pszText, size_t uSize)
{
    XML_Parser pParser = XML_ParserCreate(nullptr);
    XML_SetElementHandler(
        pParser, [](void *, const char *, const char **) {}, [](void *, const char *) {});
    XML_SetCharacterDataHandler(pParser, [](void *, const char *, int) {});
    if (XML_Parse(pParser, pszText, static_cast<int>(uSize), XML_TRUE) == XML_STATUS_OK)
        return pParser;
    XML_ParserFree(pParser);
    return nullptr;
}

const std::vector<XmlEngine> g_atXmlEngine = {
    {"sxmlparser", false, OpenSXMLParser, CloseSXMLParser},
    {"sxmlparser, reused", true, OpenSXMLParser, CloseSXMLParser},
    {"pugixml", false, OpenPugixml, [](void *p) { delete static_cast<pugi::xml_document *>(p); }},
    {"tinyxml2", false, OpenTinyXml2, [](void *p) { delete static_cast<tinyxml2::XMLDocument *>(p); }},
    {"expat", false, OpenExpat, [](void *p) { XML_ParserFree(static_cast<XML_Parser>(p)); }},
};
