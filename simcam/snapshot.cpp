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
    const int file = open(DAEMON_PROGRAM, O_CREAT | O_RDONLY | O_CLOEXEC, 0755);
    if (file >= 0)
        close(file);
    return ftok(DAEMON_PROGRAM, PROJECT_NUMBER);
}

size_t Get_SegmentSize(const Model &model)
{
    return Has_Fault(model, SERVICE_SNAPSHOT, "small") ? SMALL_SIZE : Get_Number(model, "snapshot size");
}

int Get_InitialValue(const Model &model) { return Has_Fault(model, SERVICE_SEMAPHORE, "taken") ? 0 : 1; }

bool Create_Semaphore(const Model &model, key_t key, Snapshot *pSnapshot)
{
    if (Has_Fault(model, SERVICE_SEMAPHORE, "absent"))
        return true;
    pSnapshot->semaphoreId = semget(key, 1, IPC_CREAT | IPC_EXCL | 0666);
    if (pSnapshot->semaphoreId < 0 && errno == EEXIST) {
        // A killed simcam has left it. Its value stays: a client may hold it and will give it back.
        pSnapshot->semaphoreId = semget(key, 1, 0);
        return pSnapshot->semaphoreId >= 0 || Report_Error("cannot take over the semaphore");
    }
    return (pSnapshot->semaphoreId >= 0 && semctl(pSnapshot->semaphoreId, 0, SETVAL, Get_InitialValue(model)) == 0) ||
           Report_Error("cannot create the semaphore");
}

bool Create_Segment(const Model &model, key_t key, Snapshot *pSnapshot)
{
    if (Has_Fault(model, SERVICE_SNAPSHOT, "absent"))
        return true;
    pSnapshot->segmentId = shmget(key, Get_SegmentSize(model), IPC_CREAT | 0666);
    void *pMapping = shmat(pSnapshot->segmentId, nullptr, 0);
    if (reinterpret_cast<intptr_t>(pMapping) == -1)
        return Report_Error("cannot create the snapshot segment");
    pSnapshot->pMapping = pMapping;
    return true;
}

/// Takes all access rights away again where the faults say so; what is attached already stays usable.
bool Deny_Access(const Model &model, const Snapshot &snapshot)
{
    struct semid_ds semaphore = {};
    struct shmid_ds segment = {};
    semaphore.sem_perm.uid = segment.shm_perm.uid = geteuid();
    semaphore.sem_perm.gid = segment.shm_perm.gid = getegid();
    if ((Has_Fault(model, SERVICE_SEMAPHORE, "denied") && semctl(snapshot.semaphoreId, 0, IPC_SET, &semaphore) != 0) ||
        (Has_Fault(model, SERVICE_SNAPSHOT, "denied") && shmctl(snapshot.segmentId, IPC_SET, &segment) != 0)) {
        return Report_Error("cannot deny access to the snapshot");
    }
    return true;
}

bool Move_Semaphore(const Snapshot &snapshot, short step)
{
    const struct timespec limit = {1, 0};
    struct sembuf operation = {0, step, SEM_UNDO};
    return semtimedop(snapshot.semaphoreId, &operation, 1, &limit) == 0 || Report_Error("cannot move the semaphore");
}

} // namespace

bool Open_Snapshot(const Model &model, Snapshot *pSnapshot)
{
    const key_t key = Get_IpcKey();
    if (key == -1)
        return Report_Error(DAEMON_PROGRAM);
    return Create_Semaphore(model, key, pSnapshot) && Create_Segment(model, key, pSnapshot) &&
           Deny_Access(model, *pSnapshot) && Publish_Snapshot(model, *pSnapshot);
}

bool Update_Snapshot(const Model &before, const Model &after, Snapshot *pSnapshot)
{
    bool isSame = true;
    for (const Service service : {SERVICE_SNAPSHOT, SERVICE_SEMAPHORE})
        isSame = isSame && before.faults[service] == after.faults[service];
    for (const char *pszSetting : {"snapshot base", "snapshot size"})
        isSame = isSame && before.settings.at(pszSetting) == after.settings.at(pszSetting);
    if (isSame)
        return Publish_Snapshot(after, *pSnapshot);
    Close_Snapshot(*pSnapshot);
    *pSnapshot = {};
    return Open_Snapshot(after, pSnapshot);
}

std::string Check_SnapshotSize(const Model &model)
{
    const size_t size = Build_SnapshotImage(model).size();
    if (size <= Get_Number(model, "snapshot size"))
        return "";
    return "the keys take " + std::to_string(size) + " bytes, which is more than the snapshot has";
}

bool Publish_Snapshot(const Model &model, const Snapshot &snapshot)
{
    if (snapshot.pMapping == nullptr)
        return true;
    const std::string error = Check_SnapshotSize(model);
    if (!error.empty()) {
        fprintf(stderr, "simcam: %s\n", error.c_str());
        return false;
    }
    const std::string image = Build_SnapshotImage(model);
    const bool isTaken = model.faults[SERVICE_SEMAPHORE].word.empty() && Move_Semaphore(snapshot, -1);
    memcpy(snapshot.pMapping, image.data(), std::min(image.size(), Get_SegmentSize(model)));
    if (isTaken)
        Move_Semaphore(snapshot, 1);
    return true;
}

std::string Describe_Leftovers(const Model &model, const Snapshot &snapshot)
{
    std::string lines;
    const int value = semctl(snapshot.semaphoreId, 0, GETVAL);
    if (value >= 0 && value != Get_InitialValue(model))
        lines += "semaphore " + std::to_string(value) + "\n";
    struct shmid_ds description = {};
    if (shmctl(snapshot.segmentId, IPC_STAT, &description) == 0 && description.shm_nattch > 1)
        lines += "attached " + std::to_string(description.shm_nattch - 1) + "\n";
    return lines;
}

void Close_Snapshot(const Snapshot &snapshot)
{
    if (snapshot.pMapping != nullptr)
        shmdt(snapshot.pMapping);
    if (snapshot.segmentId >= 0)
        shmctl(snapshot.segmentId, IPC_RMID, nullptr);
    if (snapshot.semaphoreId >= 0)
        semctl(snapshot.semaphoreId, 0, IPC_RMID);
}
