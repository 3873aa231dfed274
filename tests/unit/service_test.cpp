// Waiting for services: what hangs is waited for once, and only the time of its own kind is spent.
#include "common/daemon_socket.h"
#include "conflib/configer.h"
#include "conflib/semaphore.h"
#include "conflib/snapshot.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/un.h>
#include <unistd.h>

TEST(DaemonSocket, WhatHangsSpendsTheTimeOfItsKindAlone)
{
    const std::string strPath = testing::TempDir() + "service_test" + std::to_string(getpid());
    struct sockaddr_un tAddress = {};
    tAddress.sun_family = AF_UNIX;
    strPath.copy(tAddress.sun_path, sizeof tAddress.sun_path - 1);
    const int iListener = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(bind(iListener, reinterpret_cast<const struct sockaddr *>(&tAddress), sizeof tAddress), 0);
    ASSERT_EQ(listen(iListener, 0), 0);
    const int aiClient[] = {socket(AF_UNIX, SOCK_STREAM, 0), socket(AF_UNIX, SOCK_STREAM, 0)};
    EXPECT_EQ(UnixSocket_Connect(aiClient[0], strPath.c_str(), WAIT_PTZ), 0);
    EXPECT_GT(g_atWaitLimit[WAIT_PTZ].iTogether, 0);

    g_atWaitLimit[WAIT_PTZ] = g_atWaitLimit[WAIT_DAEMON] = {20, 0};
    EXPECT_EQ(UnixSocket_Connect(aiClient[1], strPath.c_str(), WAIT_PTZ), -1);
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_EQ(g_atWaitLimit[WAIT_PTZ].iTogether, 0);
    EXPECT_EQ(g_atWaitLimit[WAIT_DAEMON].iTogether, 20);
    char cByte = 0;
    EXPECT_EQ(Socket_Receive(aiClient[0], &cByte, 1, WAIT_DAEMON), -1);
    EXPECT_EQ(g_atWaitLimit[WAIT_DAEMON].iTogether, 0);
    for (const int iSocket : {iListener, aiClient[0], aiClient[1]})
        close(iSocket);
    unlink(strPath.c_str());
}

TEST(Semaphore, IsWaitedForOnceAndGivenBackBeforeTheDaemonIsAsked)
{
    const int iSemaphore = semget(IPC_PRIVATE, 1, IPC_CREAT | 0600);
    g_atWaitLimit[WAIT_LOCKS] = {20, 0};
    EXPECT_EQ(Take_Semaphore(iSemaphore), -1);
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_EQ(g_atWaitLimit[WAIT_LOCKS].iTogether, 0);

    ASSERT_EQ(semctl(iSemaphore, 0, SETVAL, 1), 0);
    EXPECT_EQ(Take_Semaphore(iSemaphore), 0);
    Keep_Semaphore(iSemaphore);
    EXPECT_EQ(Take_Semaphore(iSemaphore), 0);
    Keep_Semaphore(iSemaphore);
    ConfigerRequest tRequest = {CONFIGER_GET, "Value", "", "key", CONFIGER_ARG1, 0, 0};
    char szReply[8] = "";
    Configer_Control(&tRequest, szReply, sizeof szReply);
    EXPECT_EQ(semctl(iSemaphore, 0, GETVAL), 1);
    semctl(iSemaphore, 0, IPC_RMID);
}

TEST(Snapshot, IsDamagedWhereTheRootIsTheHeaderOrHasNoChild)
{
    for (const uint32_t dwRoot : {0U, 8U}) {
        uint32_t adwSegment[20] = {0, dwRoot};
        adwSegment[offsetof(SnapshotNode, dwFirstChild) / sizeof(uint32_t)] = 44;
        SnapshotSegment tSegment = View_Segment(adwSegment, sizeof adwSegment);
        EXPECT_EQ(GetElementByXPath(&tSegment, "a", 1), SNAPSHOT_NONE);
        EXPECT_TRUE(tSegment.bDamaged) << dwRoot;
    }
}
