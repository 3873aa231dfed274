#include "snapshot.h"

#include "snapshot_image.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <unistd.h>

namespace {

const char DAEMON_PROGRAM[] = "/usr/sbin/configer";
const int PROJECT_NUMBER = 99;
const size_t SMALL_SIZE = 4;

bool Report_Error(const char *pszWhat)
{
    fprintf(stderr, "simcam: %s: %s\n", pszWhat, strerror(errno));
    return false;
}

/// ftok wants the program file to exist.
key_t Get_IpcKey()
{
    const int iFile = open(DAEMON_PROGRAM, O_CREAT | O_RDONLY | O_CLOEXEC, 0755);
    if (iFile >= 0)
        close(iFile);
    return ftok(DAEMON_PROGRAM, PROJECT_NUMBER);
}

size_t Get_SegmentSize(const Model &tModel)
{
    return Has_Fault(tModel, SERVICE_SNAPSHOT, "small") ? SMALL_SIZE : Get_Number(tModel, "snapshot size");
}

int Get_InitialValue(const Model &tModel) { return Has_Fault(tModel, SERVICE_SEMAPHORE, "taken") ? 0 : 1; }

bool Create_Semaphore(const Model &tModel, key_t tKey, Snapshot *ptSnapshot)
{
    if (Has_Fault(tModel, SERVICE_SEMAPHORE, "absent"))
        return true;
    ptSnapshot->iSemaphoreId = semget(tKey, 1, IPC_CREAT | IPC_EXCL | 0666);
    if (ptSnapshot->iSemaphoreId < 0 && errno == EEXIST) {
        // A killed simcam has left it. Its value stays: a client may hold it and will give it back.
        ptSnapshot->iSemaphoreId = semget(tKey, 1, 0);
        return ptSnapshot->iSemaphoreId >= 0 || Report_Error("cannot take over the semaphore");
    }
    return (ptSnapshot->iSemaphoreId >= 0 &&
            semctl(ptSnapshot->iSemaphoreId, 0, SETVAL, Get_InitialValue(tModel)) == 0) ||
           Report_Error("cannot create the semaphore");
}

bool Create_Segment(const Model &tModel, key_t tKey, Snapshot *ptSnapshot)
{
    if (Has_Fault(tModel, SERVICE_SNAPSHOT, "absent"))
        return true;
    ptSnapshot->iSegmentId = shmget(tKey, Get_SegmentSize(tModel), IPC_CREAT | 0666);
    void *pMapping = shmat(ptSnapshot->iSegmentId, nullptr, 0);
    if (reinterpret_cast<intptr_t>(pMapping) == -1)
        return Report_Error("cannot create the snapshot segment");
    ptSnapshot->pMapping = pMapping;
    return true;
}

/// Takes all access rights away again where the faults say so; what is attached already stays usable.
bool Deny_Access(const Model &tModel, const Snapshot &tSnapshot)
{
    struct semid_ds tSemaphore = {};
    struct shmid_ds tSegment = {};
    tSemaphore.sem_perm.uid = tSegment.shm_perm.uid = geteuid();
    tSemaphore.sem_perm.gid = tSegment.shm_perm.gid = getegid();
    if ((Has_Fault(tModel, SERVICE_SEMAPHORE, "denied") &&
         semctl(tSnapshot.iSemaphoreId, 0, IPC_SET, &tSemaphore) != 0) ||
        (Has_Fault(tModel, SERVICE_SNAPSHOT, "denied") && shmctl(tSnapshot.iSegmentId, IPC_SET, &tSegment) != 0)) {
        return Report_Error("cannot deny access to the snapshot");
    }
    return true;
}

bool Move_Semaphore(const Snapshot &tSnapshot, short iStep)
{
    const struct timespec tLimit = {1, 0};
    struct sembuf tOperation = {0, iStep, SEM_UNDO};
    return semtimedop(tSnapshot.iSemaphoreId, &tOperation, 1, &tLimit) == 0 ||
           Report_Error("cannot move the semaphore");
}

} // namespace

bool Open_Snapshot(const Model &tModel, Snapshot *ptSnapshot)
{
    const key_t tKey = Get_IpcKey();
    if (tKey == -1)
        return Report_Error(DAEMON_PROGRAM);
    return Create_Semaphore(tModel, tKey, ptSnapshot) && Create_Segment(tModel, tKey, ptSnapshot) &&
           Deny_Access(tModel, *ptSnapshot) && Publish_Snapshot(tModel, *ptSnapshot);
}

bool Update_Snapshot(const Model &tBefore, const Model &tAfter, Snapshot *ptSnapshot)
{
    bool bSame = true;
    for (const Service eService : {SERVICE_SNAPSHOT, SERVICE_SEMAPHORE})
        bSame = bSame && tBefore.atFaults[eService] == tAfter.atFaults[eService];
    for (const char *pszSetting : {"snapshot base", "snapshot size"})
        bSame = bSame && tBefore.tSettings.at(pszSetting) == tAfter.tSettings.at(pszSetting);
    if (bSame)
        return Publish_Snapshot(tAfter, *ptSnapshot);
    Close_Snapshot(*ptSnapshot);
    *ptSnapshot = {};
    return Open_Snapshot(tAfter, ptSnapshot);
}

std::string Check_SnapshotSize(const Model &tModel)
{
    const size_t uSize = Build_SnapshotImage(tModel).size();
    if (uSize <= Get_Number(tModel, "snapshot size"))
        return "";
    return "the keys take " + std::to_string(uSize) + " bytes, which is more than the snapshot has";
}

bool Publish_Snapshot(const Model &tModel, const Snapshot &tSnapshot)
{
    if (tSnapshot.pMapping == nullptr)
        return true;
    const std::string strError = Check_SnapshotSize(tModel);
    if (!strError.empty()) {
        fprintf(stderr, "simcam: %s\n", strError.c_str());
        return false;
    }
    const std::string strImage = Build_SnapshotImage(tModel);
    const bool bTaken = tModel.atFaults[SERVICE_SEMAPHORE].strWord.empty() && Move_Semaphore(tSnapshot, -1);
    memcpy(tSnapshot.pMapping, strImage.data(), std::min(strImage.size(), Get_SegmentSize(tModel)));
    if (bTaken)
        Move_Semaphore(tSnapshot, 1);
    return true;
}

std::string Describe_Leftovers(const Model &tModel, const Snapshot &tSnapshot)
{
    std::string strLines;
    const int iValue = semctl(tSnapshot.iSemaphoreId, 0, GETVAL);
    if (iValue >= 0 && iValue != Get_InitialValue(tModel))
        strLines += "semaphore " + std::to_string(iValue) + "\n";
    struct shmid_ds tDescription = {};
    if (shmctl(tSnapshot.iSegmentId, IPC_STAT, &tDescription) == 0 && tDescription.shm_nattch > 1)
        strLines += "attached " + std::to_string(tDescription.shm_nattch - 1) + "\n";
    return strLines;
}

void Close_Snapshot(const Snapshot &tSnapshot)
{
    if (tSnapshot.pMapping != nullptr)
        shmdt(tSnapshot.pMapping);
    if (tSnapshot.iSegmentId >= 0)
        shmctl(tSnapshot.iSegmentId, IPC_RMID, nullptr);
    if (tSnapshot.iSemaphoreId >= 0)
        semctl(tSnapshot.iSemaphoreId, 0, IPC_RMID);
}
