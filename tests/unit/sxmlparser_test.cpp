// The XML parser: queries, result codes, callbacks, files, and the block that holds the tree.
#include "sxmlparser/sxmlparser.h"

#include <gtest/gtest.h>

#include <ctype.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

/// Runs before every calloc of this program (the linker's --wrap=calloc sends them here); false makes it fail.
static std::function<bool()> g_pfnOnCalloc;
extern "C" void *__real_calloc(size_t uCount, size_t uSize); // NOLINT
extern "C" void *__wrap_calloc(size_t uCount, size_t uSize)  // NOLINT
{
    return !g_pfnOnCalloc || g_pfnOnCalloc() ? __real_calloc(uCount, uSize) : nullptr;
}

using Parser = std::unique_ptr<SXMLParserContext, void (*)(SXMLParserContext *)>;

static Parser Make_Parser(const SXMLParserOptions &tOptions = {SXML_SET_CALLBACK_MODE, 1, {}, {}, {}, {}, {}, 0, 0})
{
    SXMLParserContext *pParser = nullptr;
    EXPECT_EQ(SXMLParser_Initial(&pParser), 0);
    EXPECT_EQ(SXMLParser_SetOptions(pParser, &tOptions), 0);
    return {pParser, [](SXMLParserContext *p) { SXMLParser_Release(&p); }};
}

/// Parses from a block that ends with the terminator, so that a sanitizer sees a read behind it.
static int Parse(const Parser &pParser, const std::string &strText, int32_t iMode = SXML_MODE_TREE)
{
    const std::unique_ptr<char[]> pText(new char[strText.size() + 1]);
    memcpy(pText.get(), strText.c_str(), strText.size() + 1);
    return SXMLParser_Process(pParser.get(), pText.get(), iMode);
}

static Parser Parse_Tree(const std::string &strText)
{
    Parser pParser = Make_Parser();
    EXPECT_EQ(Parse(pParser, strText), 0) << strText;
    return pParser;
}

static std::string TextOf(const char *pszText) { return pszText != nullptr ? pszText : "(none)"; }

static std::string Get_Tags(SXMLParserContext *p)
{
    std::string strTags;
    for (const SXMLElement *pElement = SXMLParser_EnumStart(p); pElement != nullptr; pElement = SXMLParser_EnumNext(p))
        strTags += std::string(pElement->pszTag) + " ";
    return strTags;
}

TEST(SxmlParser, AnswersByPathIndexAndAttribute)
{
    const Parser pParser =
        Parse_Tree("<?xml version=\"1.0\"?>\n<root v='2'>\n<quorvex><ntpinterval></ntpinterval><n>1</n><n>2</n>"
                   "</quorvex><e x = \"a'b\"\ty='&lt;'k:1.-_=\"\"/></root>\n<top>t</top>");
    SXMLParserContext *p = pParser.get();
    const auto pfnValue = [p](auto... pszTag) { return TextOf(SXMLParser_GetTagValueByName(p, pszTag..., nullptr)); };
    EXPECT_EQ(pfnValue("root", "quorvex", "ntpinterval") + pfnValue("root", "quorvex", "n"), "1");
    EXPECT_EQ(pfnValue("root", "n") + pfnValue("top") + pfnValue("root", "quorvex"), "(none)(none)");
    const auto pfnAttribute = [p](const char *pszName, auto... pszTag) {
        return TextOf(SXMLParser_GetAttrValueByName(p, pszName, pszTag..., nullptr)) + "|" +
               std::to_string(pszName != nullptr ? SXMLParser_GetAttrIndex(p, pszName, pszTag..., nullptr) : 0);
    };
    EXPECT_EQ(pfnAttribute("x", "root", "e") + pfnAttribute("y", "root", "e"), "a'b|2&lt;|3");
    EXPECT_EQ(pfnAttribute("k:1.-_", "root", "e") + pfnAttribute("y", "root", "quorvex"), "|4(none)|0");
    EXPECT_EQ(pfnAttribute("y", "root") + pfnAttribute(nullptr, "root", "e"), "(none)|0(none)|0");
    EXPECT_EQ(SXMLParser_GetElementByTag(p, nullptr), nullptr);
    EXPECT_EQ(SXMLParser_GetElementByTag(p, "root", "e", nullptr), SXMLParser_GetElementByIndex(p, 6));
    EXPECT_EQ(SXMLParser_GetTagIndex(p, "root", "quorvex", "n", nullptr), 4);
    EXPECT_EQ(TextOf(SXMLParser_GetTagValueByIndex(p, 7)) + TextOf(SXMLParser_GetAttrValueByIndex(p, 1)), "t2");
    for (const int32_t iIndex : {INT32_MIN, -1, 0, 8, INT32_MAX})
        EXPECT_TRUE(!SXMLParser_GetElementByIndex(p, iIndex) && !SXMLParser_GetAttrValueByIndex(p, iIndex)) << iIndex;
    EXPECT_EQ(Get_Tags(p), "root quorvex ntpinterval n n e top ");
}

TEST(SxmlParser, AnswersNothingWithoutATree)
{
    EXPECT_EQ(Get_Tags(nullptr) + TextOf(SXMLParser_GetAttrValueByName(nullptr, "x", "a", nullptr)), "(none)");
    EXPECT_EQ(TextOf(SXMLParser_GetAttrValueByIndex(nullptr, 1)) + TextOf(SXMLParser_GetTagValueByIndex(nullptr, 1)) +
                  (SXMLParser_EnumNext(nullptr) == nullptr ? "" : "next"),
              "(none)(none)");
    const Parser pParser = Make_Parser();
    EXPECT_EQ(SXMLParser_SetOptions(nullptr, nullptr) + SXMLParser_SetOptions(pParser.get(), nullptr), 0);
    EXPECT_EQ(SXMLParser_Process(nullptr, "<a/>", SXML_MODE_TREE), -1);
    EXPECT_EQ(SXMLParser_Process(pParser.get(), nullptr, SXML_MODE_TREE), -1);
    for (const char *pszText : {"", "no tag at all", "<!-- -->\n"}) {
        EXPECT_EQ(Get_Tags(pParser.get()), "");
        EXPECT_EQ(SXMLParser_GetTagIndex(pParser.get(), "root", nullptr), 0);
        EXPECT_EQ(Parse(pParser, pszText), 0);
    }
    EXPECT_EQ(SXMLParser_Release(nullptr), -1);
    SXMLParserContext *pReleased = Make_Parser().release();
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(SXMLParser_Release(&pReleased), 0);
    EXPECT_EQ(pReleased, nullptr);
}

TEST(SxmlParser, KeepsTheTextBetweenATagAndItsEnd)
{
    const std::map<std::string, std::vector<const char *>> tTextsByValue = {
        {"", {"<a/>x", "<a></a>", "<a>x<b/></a>", "<a>x<b>z</b>y</a>", "<a>x<?i?></a>", "<a>x<!--c--></a>"}},
        {"x", {"<a>x</a>", "<a y=''>x</a \t>", "<a >x</>", "<abc>x</ab>", "<_a>x</_a>y", "<a>y<!-->-->x</a>"}},
        {"\n x\t", {"<a>\n x\t</a>"}},
        {"&amp;>]]>-->?>", {"<a>&amp;>]]>-->?></a>"}},
        {"\xC3\xBC\xBC|\xFF", {"<a>\xC3\xBC\xBC|\xFF</a>"}}, // "|" and 0xBC are "<" but for one bit
    };
    for (const auto &[strValue, apszText] : tTextsByValue)
        for (const char *pszText : apszText)
            EXPECT_EQ(TextOf(SXMLParser_GetTagValueByIndex(Parse_Tree(pszText).get(), 1)), strValue) << pszText;
}

TEST(SxmlParser, ReportsWhatIsWrong)
{
    const std::map<uint32_t, std::vector<const char *>> tTextsByCode = {
        {0x80000005, {"<a></b><c d=''/>", "<ab></abc>", "<a><b></a></b>"}},
        {0x80000006, {"<", "<1/>", "<![CDATA[x]]>", "<!DOCTYPE a>", "<!-x-->", "<a>< /a>"}},
        {0x80000009, {"<a b>", "<a b\n='1'>", "<a b='1'c"}},
        {0x8000000B, {"<!--->", "<a/><!--x-->"}},
        {0x8000000C, {"<?>x", "<?i>", "<?i?>"}},
        {0x8000000D, {"<a", "</", "<a\n>", "<a/ >", "<a _b='1'>", "<a></a x>", "<a b='1'\nc='2'/>"}},
        {0x8000000E, {"<a b=", "<a b=1>", "<a b=\n'1'>", "<a b='1\"/>"}},
        {0x80000010, {"<a>", "</a>", "<a/></a><a>"}},
    };
    for (const auto &[dwCode, apszText] : tTextsByCode) {
        const bool bTreeOnly = dwCode == 0x80000005 || dwCode == 0x80000010; // callbacks see no nesting
        for (const char *pszText : apszText) {
            const Parser pParser = Make_Parser();
            EXPECT_EQ(static_cast<uint32_t>(Parse(pParser, pszText)), dwCode) << pszText;
            EXPECT_EQ(static_cast<uint32_t>(Parse(pParser, pszText, SXML_MODE_CALLBACK)), bTreeOnly ? 0 : dwCode)
                << pszText;
        }
    }
    EXPECT_EQ(Parse(Make_Parser({}), "", SXML_MODE_CALLBACK), -1);
    EXPECT_EQ(Parse(Make_Parser(), "<", 3), 0);
}

TEST(SxmlParser, KnowsTheCharactersOfNames)
{
    const Parser pParser = Make_Parser();
    for (int i = 1; i < 256; i++) {
        const std::string strChar(1, static_cast<char>(i));
        const bool bName = isalnum(i) != 0 || strchr("-.:_", i) != nullptr;
        EXPECT_EQ(Parse(pParser, "<" + strChar + "/>") == 0, isalpha(i) != 0 || i == '_') << i;
        EXPECT_EQ(Parse(pParser, "<a " + strChar + "=''/>") == 0, isalpha(i) != 0) << i;
        EXPECT_EQ(Parse(pParser, "<a" + strChar + "b/>") == 0, bName) << i;
        EXPECT_EQ(Parse(pParser, "<a" + strChar + ">-</a>") == 0, bName || strchr(" \t>", i)) << i;
    }
}

/// Appends the parts of one event to the log that is the callbacks' user data.
static uint32_t Log(void *pLog, std::initializer_list<std::pair<const char *, int32_t>> atPart)
{
    for (const auto &[psz, iLen] : atPart)
        *static_cast<std::string *>(pLog) += (psz ? std::string(psz, static_cast<size_t>(iLen)) : "NULL") + " ";
    return 1;
}

TEST(SxmlParser, CallsBackInOrder)
{
    std::string strLog;
    SXMLParserOptions tOptions = {SXML_SET_CALLBACK_MODE | SXML_SET_CALLBACKS, 1, {}, {}, {}, {}, &strLog, 8, 9};
    tOptions.pfnOpenTag = [](void *p, const char *psz, int32_t i) { return Log(p, {{"+", 1}, {psz, i}}); };
    tOptions.pfnCloseTag = [](void *p, const char *psz, int32_t i) { return Log(p, {{"-", 1}, {psz, i}}); };
    tOptions.pfnAttributeValue = [](void *p, const char *psz, int32_t i, const char *pszName, int32_t iName,
                                    const char *pszValue, int32_t iValue) {
        return Log(p, {{"@", 1}, {psz, i}, {pszName, iName}, {pszValue, iValue}});
    };
    tOptions.pfnTagValue = [](void *p, const char *psz, int32_t i, const char *pszValue, int32_t iValue) {
        return Log(p, {{"=", 1}, {psz, i}, {pszValue, iValue}});
    };
    const Parser pParser = Make_Parser(tOptions);
    EXPECT_EQ(Parse(pParser, "x</z><a b='1' c=''>t</d ><e/>u</f>", SXML_MODE_CALLBACK), 0);
    EXPECT_EQ(strLog, "- z + a @ a b 1 @ a c  = a t - d + e = e NULL - e - f ");
    tOptions = {SXML_SET_CALLBACKS | SXML_SET_OPTION_WORDS, 7, {}, {}, {}, {}, {}, 8, 9};
    SXMLParser_SetOptions(pParser.get(), &tOptions);
    EXPECT_EQ(pParser->pfnTagValue, DummyTagValue);
    EXPECT_EQ(pParser->iCallbackMode * 100 + static_cast<int32_t>(pParser->dwOption1 * 10 + pParser->dwOption2), 189);
}

static std::string Repeat(int iCount, const std::string &strText)
{
    std::string strAll;
    while (iCount-- > 0)
        strAll += strText;
    return strAll;
}

TEST(SxmlParser, TakesAnyShape)
{
    const Parser pWide = Parse_Tree("<root><c><d/></c>" + Repeat(50000, "<b/>") + "</root>");
    const SXMLElement *pFirst = pWide->pXMLElement;
    EXPECT_EQ(pFirst[1].iChildCount, 50001);
    EXPECT_TRUE(pFirst[4].pParent == pFirst + 1 && pFirst[2].pNextSibling == pFirst + 4);
    EXPECT_EQ(Parse_Tree(Repeat(300000, "<a>") + Repeat(300000, "</a>"))->iMaxDepth, 300000);
    const Parser pLong = Parse_Tree("<a" + Repeat(20000, " b=''") + " c='d'/>");
    EXPECT_EQ(SXMLParser_GetAttrIndex(pLong.get(), "c", "a", nullptr), 20001);
}

TEST(SxmlParser, KeepsOneBlockOfTheExactSize)
{
    const Parser pParser = Parse_Tree("<abc x='1'><b>t</b><c></c></abc>");
    const size_t uStrings = strlen("abc|x|1|b|t|c||") + alignof(SXMLElement) - 1; // "|" for the terminators
    const size_t uRecords = 4 * sizeof(SXMLElement) + 2 * sizeof(SXMLAttribute) + 2 * sizeof(void *);
    EXPECT_EQ(static_cast<size_t>(pParser->iBufferSize), uStrings + uRecords);
    const void *pBlock = pParser->pBuffer;
    EXPECT_EQ(Parse(pParser, "<abc>"), SXML_UNBALANCED);
    EXPECT_EQ(Parse(pParser, "<abc/>"), 0);
    EXPECT_EQ(Get_Tags(pParser.get()), "abc ");
    EXPECT_EQ(pParser->pBuffer, pBlock);
    EXPECT_EQ(Parse(pParser, "<a><b/><c/><d/></a>"), 0);
    EXPECT_EQ(Get_Tags(pParser.get()), "a b c d ");
}

TEST(SxmlParser, SurvivesWithoutMemory)
{
    const Parser pParser = Parse_Tree("<a/>");
    SXMLParserContext *pNone = pParser.get();
    g_pfnOnCalloc = [] { return false; };
    EXPECT_EQ(SXMLParser_Initial(&pNone), -1);
    EXPECT_EQ(Parse(pParser, "<root><a x='1'/></root>"), SXML_NO_MEMORY);
    EXPECT_EQ(SXMLParser_GetAttrValueByIndex(pParser.get(), SXMLParser_GetAttributeCount(pParser.get())), nullptr);
    g_pfnOnCalloc = nullptr;
    EXPECT_EQ(Get_Tags(pNone) + Get_Tags(pParser.get()), "");
    EXPECT_EQ(Parse(pParser, "<a/>"), 0);
}

/// Only a text that changes between the passes gets to these checks.
static int Process_Changing(SXMLParserContext *p, std::string strText, const std::string &strBuilt)
{
    g_pfnOnCalloc = [&] { return !strText.replace(0, strBuilt.size(), strBuilt).empty(); };
    const int iCode = SXMLParser_Process(p, strText.c_str(), SXML_MODE_TREE);
    g_pfnOnCalloc = nullptr;
    return iCode;
}

TEST(SxmlParser, RefusesATreeThatIsNotTheOneThatWasCounted)
{
    const std::tuple<const char *, std::string, int, const char *> CASES[] = {
        {"<a></a><b></b>", "<a><b></b></a>", SXML_TOO_DEEP, "b"},
        {"<a></a><b></b>", "<a></a></>", SXML_UNBALANCED, "no element"},
        {"<a></a>", std::string("<a></a") + '\0', SXML_OPEN_TAG, "a"}};
    for (const auto &[pszCounted, strBuilt, iCode, pszLast] : CASES) {
        const Parser pParser = Make_Parser();
        EXPECT_EQ(Process_Changing(pParser.get(), pszCounted, strBuilt), iCode) << strBuilt;
        const SXMLElement *pLast =
            SXMLParser_GetElementByIndex(pParser.get(), SXMLParser_GetElementCount(pParser.get()));
        EXPECT_EQ(pLast != nullptr ? TextOf(pLast->pszTag) : "no element", pszLast) << strBuilt;
    }
}

TEST(SxmlParserDeathTest, AbortsWhenTheTreeOutgrowsItsCount)
{
    const std::string aastrCase[][3] = {
        {"<a></a>  ", "<a/><a/> ", "pThis->pCurElement < .pThis->pXMLElement . pThis->iXMLElementCount . 1."},
        {"<a>01234</a>", "<a b='1'>2</", "pThis->pCurAttribute < pThis->pXMLAttribute . pThis->iXMLAttributeCount . 1"},
        {"<a></a>", "<abcd/>", "pThis->pszCurXMLStr <= pThis->pszXMLString . pThis->iXMLStrSize"},
    };
    for (const auto &[strCounted, strBuilt, strAssertion] : aastrCase)
        EXPECT_DEATH(Process_Changing(Make_Parser().get(), strCounted, strBuilt),
                     ": src/sxmlparser.c:[0-9]+: ConstructDOMCb: Assertion `" + strAssertion + "' failed");
}

TEST(SxmlParser, ReadsFiles)
{
    const std::filesystem::path tFolder = testing::TempDir() + "sxmlparser." + std::to_string(getpid());
    std::filesystem::create_directory(tFolder);
    const std::string strFile = tFolder / "file.xml", strPipe = tFolder / "pipe";
    ASSERT_EQ(mkfifo(strPipe.c_str(), 0600), 0) << strPipe;
    std::ofstream(strFile) << "<root><a>" << std::string(70000, 'x') << "</a></root>";
    const Parser pParser = Make_Parser();
    const auto pfnRead = [&](const std::string &str) {
        return SXMLParser_ProcessFile(pParser.get(), str.c_str(), SXML_MODE_TREE);
    };
    EXPECT_EQ(pfnRead(strFile + "x"), -1);
    EXPECT_EQ(pfnRead(strFile), 0);
    EXPECT_EQ(TextOf(SXMLParser_GetTagValueByName(pParser.get(), "root", "a", nullptr)).size(), 70000U);
    EXPECT_EQ(pfnRead(strPipe), 0);
    EXPECT_EQ(Get_Tags(pParser.get()), "root a ") << "where no size can be told nothing is parsed";
    EXPECT_LE(pfnRead(tFolder), 0);
    std::filesystem::resize_file(strFile, 1UL << 31);
    EXPECT_EQ(pfnRead(strFile), -1) << "larger than memory";
    std::filesystem::remove_all(tFolder);
}
