#include "sidestore/side_value.h"

#include "sidestore/side_image.h"

char *Read_SideText(const SidePlace &tPlace) { return Find_SideText(tPlace); }

int Store_SideText(const SidePlace &tPlace, const char *pszText)
{
    if (!Is_Storable(pszText))
        return -1;
    int iResult = -1;
    Lock_SideFiles();
    // An image that could not be rebuilt is never written: it would wipe what the file holds for the others.
    if (Create_QuorvexXMLFile_DataStructure() == 0 && Put_InImage(tPlace, pszText) == 0)
        iResult = Write_ImageFile(Make_SidePath(tPlace).eFile);
    Unlock_SideFiles();
    Release_QuorvexXMLFile_Data();
    return iResult;
}
