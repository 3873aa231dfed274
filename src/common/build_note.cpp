// Which build a program is, for a field report: "readelf -n" prints it, camera-check reads it. The form is that of the
// package metadata for ELF files (https://systemd.io/ELF_PACKAGE_METADATA/): a note of the owner "FDO" with a record in
// JSON.
#include "build_id.h"

#include <elf.h>

#define BUILD_RECORD                                                                          \
    "{\"type\":\"firmware\",\"name\":\"" PARAM_PROGRAM_NAME "\",\"version\":\"" PARAM_VERSION \
    "\",\"build\":\"" PARAM_BUILD_ID "\"}"

struct PackageNote {
    Elf32_Nhdr tHead; ///< the same in programs of 64 bits
    char szOwner[4];
    char szRecord[(sizeof BUILD_RECORD + 3) / 4 * 4]; ///< whole words
};

extern const PackageNote g_tPackageNote;
__attribute__((section(".note.package"), used, aligned(4))) const PackageNote g_tPackageNote = {
    {sizeof g_tPackageNote.szOwner, sizeof g_tPackageNote.szRecord, 0xcafe1a7e}, "FDO", BUILD_RECORD};
