#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace vorna {
namespace {

std::string run(const std::string& command, int* status) {
    std::string output;
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        *status = -1;
        return output;
    }
    char buffer[256];
    while (fgets(buffer, sizeof buffer, pipe) != nullptr) {
        output += buffer;
    }
    *status = pclose(pipe);
    return output;
}

// The real monitor on the real kernel: in a network namespace of its own there is no route at
// first; adding a default route is seen through rtnetlink and runs the parked work on the loop.
TEST(LinuxReachability, NamespaceWithoutRouteIsOfflineAndAddingOneIsSeen) {
    int status = 0;
    run("unshare --net true 2>/dev/null", &status);
    if (status != 0) {
        GTEST_SKIP() << "cannot make a network namespace here (unshare --net needs CAP_SYS_ADMIN)";
    }
    const std::string output = run(
        std::string("unshare --net ") + VORNA_TEST_REACHABILITY_PROBE + " 2>/dev/null", &status);
    EXPECT_EQ(status, 0) << output;
    EXPECT_EQ(output, "before 0\nparked 1\nchanged-on-loop 1\nran-on-loop 1\nafter 1\n");
}

}  // namespace
}  // namespace vorna
