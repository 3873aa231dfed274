#include "version.h"

#include <errno.h>
#include <fcntl.h>
#include <link.h> // ElfW: the ELF records of this processor, which are those of its programs
#include <stdio.h>
#include <string.h>
#include <unistd.h>

static constexpr size_t NOTES_SIZE = 1024; ///< of a segment of notes; the linker's own take a few dozen bytes

/// Copies the text of a member, up to its closing quote.
static void Copy_Member(const char *pszRecord, const char *pszMember, char *pszText, size_t uSize)
{
    const char *pcFound = strstr(pszRecord, pszMember);
    const char *pcText = pcFound != nullptr ? pcFound + strlen(pszMember) : "";
    snprintf(pszText, uSize, "%.*s", static_cast<int>(strcspn(pcText, "\"")), pcText);
}

/// Looks for the record in the notes of one segment. Every note is a head, an owner and a record, each of whole words.
static bool Find_Record(const char *pcNotes, size_t uSize, char *pszRecord, size_t uRecordSize)
{
    ElfW(Nhdr) tHead;
    for (size_t uAt = 0; uSize - uAt >= sizeof tHead;) {
        memcpy(&tHead, pcNotes + uAt, sizeof tHead);
        uAt += sizeof tHead;
        const size_t uOwner = (size_t{tHead.n_namesz} + 3) / 4 * 4;
        const size_t uRecord = (size_t{tHead.n_descsz} + 3) / 4 * 4;
        if (uOwner > uSize - uAt || uRecord > uSize - uAt - uOwner)
            return false;
        if (uOwner == sizeof "FDO" && memcmp(pcNotes + uAt, "FDO", uOwner) == 0 && uRecord < uRecordSize) {
            memcpy(pszRecord, pcNotes + uAt + uOwner, uRecord);
            pszRecord[uRecord] = '\0';
            return true;
        }
        uAt += uOwner + uRecord;
    }
    return false;
}

static bool Read_Record(int iFile, char *pszRecord, size_t uSize)
{
    ElfW(Ehdr) tFile = {};
    bool bFound = pread(iFile, &tFile, sizeof tFile, 0) == sizeof tFile && memcmp(tFile.e_ident, ELFMAG, SELFMAG) == 0;
    const int iSegments = bFound ? tFile.e_phnum : 0;
    bFound = false;
    for (int iSegment = 0; iSegment < iSegments && !bFound; ++iSegment) {
        ElfW(Phdr) tSegment = {};
        char acNotes[NOTES_SIZE];
        const off_t lAt = static_cast<off_t>(tFile.e_phoff) + iSegment * static_cast<off_t>(sizeof tSegment);
        if (pread(iFile, &tSegment, sizeof tSegment, lAt) != sizeof tSegment || tSegment.p_type != PT_NOTE)
            continue;
        const ssize_t lRead = pread(iFile, acNotes, sizeof acNotes, static_cast<off_t>(tSegment.p_offset));
        const size_t uNotes = lRead > 0 ? static_cast<size_t>(lRead) : 0;
        bFound = Find_Record(acNotes, tSegment.p_filesz < uNotes ? tSegment.p_filesz : uNotes, pszRecord, uSize);
    }
    return bFound;
}

const char *Get_Version(const char *pszProgram)
{
    static char s_szText[160];
    char szRecord[256] = "";
    char szVersion[32];
    char szBuild[96];
    const int iFile = open(pszProgram, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (iFile < 0)
        return strerror(errno);
    const bool bFound = Read_Record(iFile, szRecord, sizeof szRecord);
    close(iFile);
    if (!bFound)
        return "unknown";
    Copy_Member(szRecord, "\"version\":\"", szVersion, sizeof szVersion);
    Copy_Member(szRecord, "\"build\":\"", szBuild, sizeof szBuild);
    snprintf(s_szText, sizeof s_szText, "%s, build %s", szVersion, szBuild);
    return s_szText;
}
