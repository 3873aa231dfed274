// Stands between the mapping routines and the camera: what they read is shown when somebody asks for it, what they
// would write is shown and never written. Keys and ranges: the build gives the real functions, of which these take the
// place, names that begin with "Real_". Side files: the door (side_value.h) is this file's, so that no setter of any
// parameter can write one; the real one is not in the program.
#include "ask.h"
#include "explain.h"
#include "key_table.h"
#include "report.h"

#include "conflib/cdf_range.h"
#include "conflib/configer.h"
#include "conflib/snapshot.h"
#include "sidestore/side_image.h"
#include "sidestore/side_value.h"

#include <errno.h>
#include <string.h>
#include <unistd.h>

#define REAL(Name) decltype(Name) Real_##Name
REAL(Configer_LookUp);
REAL(Get_Range_FromCDF);
#undef REAL

static bool g_bShown;
static bool g_bSet;

void Show_Accesses(bool bShown) { g_bShown = bShown; }

bool Has_Set() { return g_bSet; }

static void Say_Quoted(const char *pszText)
{
    Report_Say("\"");
    Report_SayEscaped(pszText, strlen(pszText));
    Report_Say("\"\n");
}

// Keys.

SnapshotOutcome Configer_LookUp(const char *pszXPath, char *pszOutput, size_t uSize)
{
    const SnapshotOutcome eOutcome = Real_Configer_LookUp(pszXPath, pszOutput, uSize);
    if (!g_bShown)
        return eOutcome;
    Report_Say("  key   %s", pszXPath);
    if (eOutcome == SNAPSHOT_READ) {
        Report_Say(" = ");
        Say_Quoted(pszOutput);
    } else if (eOutcome == SNAPSHOT_DOES_NOT_FIT) {
        Report_Say(": not read, longer than the %zu characters that have room\n", uSize - 1);
    } else {
        Report_Say(eOutcome == SNAPSHOT_NO_SUCH_KEY
                       ? ": missing\n"
                       : ": cannot be looked up; camera-check without options tells why\n");
    }
    return eOutcome;
}

int Configer_GetParamValueByXPath(const char *pszXPath, char *pszOutput, size_t uSize)
{
    return Configer_LookUp(pszXPath, pszOutput, uSize) == SNAPSHOT_READ ? 0 : -1;
}

/// Asks the daemon for a key in the place of setting it, as it fails and waits alike. Null, or why it would fail.
static const char *Find_Silence(const char *pszKey)
{
    char szReply[1024];
    if (Ask_Configer(pszKey, szReply, sizeof szReply) == 0)
        return nullptr;
    return errno != 0 ? Get_Reason(errno) : "its answer is too long";
}

int Set_Configer(const char *pszKey, const char *pszValue)
{
    char szPayload[CONFIGER_SET_SIZE];
    const int iResult = Compose_Set(pszKey, pszValue, szPayload);
    const char *pszSilence = iResult == 0 ? Find_Silence(pszKey) : nullptr;
    Report_Say(iResult == 0 ? "  set   (not sent) " : "  set   refused, there is a line end in or nothing left of ");
    Say_Quoted(szPayload);
    if (pszSilence != nullptr)
        Report_Say("        fails, configer gives no answer: %s\n", pszSilence);
    const bool bTaken = iResult == 0 && pszSilence == nullptr;
    g_bSet = g_bSet || bTaken;
    return bTaken ? 0 : -1;
}

int Get_Range_FromCDF(const char *pszCodec, QuorvexFloatRange *ptRange, int32_t iChannel)
{
    const int iResult = Real_Get_Range_FromCDF(pszCodec, ptRange, iChannel);
    if (!g_bShown)
        return iResult;
    Report_Say("  range c%d %s in %s", iChannel, pszCodec, g_szCapabilityFile);
    if (iResult == 0)
        Report_Say(" = %.0f to %.0f\n", static_cast<double>(ptRange->fLower), static_cast<double>(ptRange->fUpper));
    else
        Report_Say(": missing or no range\n");
    return iResult;
}

// Side files.

static void Say_Place(const char *pszVerb, const SidePlace &tPlace)
{
    SidePath tPath;
    Make_SidePath(tPlace, &tPath);
    Report_Say("  %s  %s", pszVerb, tPath.apszTag[0]);
    for (size_t uTag = 1; uTag < sizeof tPath.apszTag / sizeof tPath.apszTag[0] && tPath.apszTag[uTag] != nullptr;
         ++uTag)
        Report_Say("/%s", tPath.apszTag[uTag]);
    Report_Say(" in %s", g_apszSideFile[tPath.eFile]);
}

char *Read_SideText(const SidePlace &tPlace)
{
    char *pszText = Copy_SideText(tPlace);
    if (!g_bShown)
        return pszText;
    Say_Place("side", tPlace);
    if (pszText == nullptr) {
        Report_Say(": missing\n");
        return pszText;
    }
    Report_Say(" = ");
    Say_Quoted(pszText);
    return pszText;
}

/// What keeps a text from being stored, or null.
static const char *Find_Obstacle(const SidePlace &tPlace, const char *pszText)
{
    if (!Is_Storable(pszText))
        return "the value cannot be kept";
    const bool bImage = Create_QuorvexXMLFile_DataStructure() == 0;
    const bool bPlace = bImage && Put_InImage(tPlace, pszText) == 0;
    const SideFile eFile = Get_SideFile(tPlace);
    const bool bLoses = bPlace && Loses_Elements(eFile);
    Release_QuorvexXMLFile_Data();
    if (!bImage)
        return "a file, a key of the shape or an element is missing";
    if (!bPlace)
        return "there is no such element";
    if (bLoses)
        return "elements would be lost that no key has said to be gone";
    return access(g_apszSideFile[eFile], W_OK) == 0 ? nullptr : "this user cannot write to the file";
}

int Store_SideText(const SidePlace &tPlace, const char *pszText)
{
    const bool bShown = g_bShown;
    g_bShown = false; // the keys of the camera's shape are no news
    const char *pszObstacle = Find_Obstacle(tPlace, pszText);
    g_bShown = bShown;
    Say_Place("keep", tPlace);
    if (pszObstacle != nullptr) {
        Report_Say(": fails, %s\n", pszObstacle);
        return -1;
    }
    Report_Say(" (not written) ");
    Say_Quoted(pszText);
    return 0;
}
