// Waiting for services: what hangs is waited for once, and only its own patience is spent.
#include "common/daemon_socket.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <sys/un.h>
#include <unistd.h>

TEST(DaemonSocket, AConnectThatHangsSpendsThePatienceOfItsServiceAlone)
{
    const std::string strPath = testing::TempDir() + "service_test" + std::to_string(getpid());
    struct sockaddr_un tAddress = {};
    tAddress.sun_family = AF_UNIX;
    strPath.copy(tAddress.sun_path, sizeof tAddress.sun_path - 1);
    const int iListener = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(bind(iListener, reinterpret_cast<const struct sockaddr *>(&tAddress), sizeof tAddress), 0);
    ASSERT_EQ(listen(iListener, 0), 0);

    const int aiClient[] = {socket(AF_UNIX, SOCK_STREAM, 0), socket(AF_UNIX, SOCK_STREAM, 0)};
    SocketPatience tPatience = {20};
    SocketPatience tOther = {20};
    EXPECT_EQ(UnixSocket_Connect(aiClient[0], strPath.c_str(), &tPatience), 0);
    EXPECT_EQ(tPatience.iMilliseconds, 20);
    EXPECT_EQ(UnixSocket_Connect(aiClient[1], strPath.c_str(), &tPatience), -1);
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_EQ(tPatience.iMilliseconds, SOCKET_IMPATIENCE.iMilliseconds);

    char cByte = 0;
    EXPECT_EQ(Socket_Receive(aiClient[0], &cByte, 1, &tOther), -1);
    EXPECT_EQ(tOther.iMilliseconds, SOCKET_IMPATIENCE.iMilliseconds);
    for (const int iSocket : {iListener, aiClient[0], aiClient[1]})
        close(iSocket);
    unlink(strPath.c_str());
}
