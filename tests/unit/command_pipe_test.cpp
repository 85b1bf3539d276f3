#include "common/command_pipe.h"

#include <sys/wait.h>

#include <gtest/gtest.h>

TEST(CommandPipe, CloseWaitsAndYieldsTheCommandsStatusOnce)
{
    CommandPipe pipe("cat >/dev/null; exit 3");
    ASSERT_TRUE(pipe);
    EXPECT_GE(std::fputs("data\n", pipe.get()), 0);
    int const status = pipe.close();
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 3);
    EXPECT_FALSE(pipe);
    EXPECT_EQ(pipe.close(), -1);
}

TEST(CommandPipe, OwnershipMovesWithThePipe)
{
    CommandPipe first("exit 5");
    CommandPipe second;
    EXPECT_EQ(second.close(), -1);
    second = std::move(first);
    EXPECT_FALSE(first);
    EXPECT_EQ(first.close(), -1);
    int const status = second.close();
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 5);
}
