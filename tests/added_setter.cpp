// camera-check with one setter more, written as the others are.
#include "report.h"
#include "sidestore/side_value.h"

static int Set_Added_to_QuorvexXMLFile(const char *pszValue) { return Store_SideText({SIDE_NTP_INTERVAL}, pszValue); }

int main() { return Report_Open() != 0 || Set_Added_to_QuorvexXMLFile("77") != 0 || Report_Close() != 0; }
