#include "sidestore/side_value.h"

#include "sidestore/side_image.h"

char *Read_SideText(const SidePlace &tPlace) { return Copy_SideText(tPlace); }

int Store_SideText(const SidePlace &tPlace, const char *pszText)
{
    if (!Is_Storable(pszText))
        return -1;
    const SideFile eFile = Get_SideFile(tPlace);
    int iResult = -1;
    Hold_SideFile(eFile);
    if (Read_ImageShape() == 0) {
        Lock_SideFiles();
        // An image that could not be rebuilt is never written: it would wipe what the file holds for the others.
        if (Fill_Image() == 0 && Put_InImage(tPlace, pszText) == 0)
            iResult = Write_ImageFile(eFile);
        Unlock_SideFiles();
    }
    Release_QuorvexXMLFile_Data();
    return iResult;
}
