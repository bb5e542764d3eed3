#include <gtest/gtest.h>

#include "platform/linux/KernelFiles.h"
#include "platform/linux/VRNProcMemoryProbe.h"
#include "support/TempDir.h"

namespace vorna {
namespace {

using test::writeKernelFile;

TEST(ProcMemoryProbe, ResidentPagesAndHostMemory) {
    test::TempDir proc;
    writeKernelFile(proc / "self" / "statm", "100000 38400 500 10 0 900 0\n");
    writeKernelFile(
        proc / "meminfo",
        "MemTotal:        2048 kB\nMemFree:  1 kB\nActive:  100 kB\nInactive:  50 kB\n"
        "Unevictable:  1 kB\nSUnreclaim:  2 kB\nKernelStack:  3 kB\nPageTables:  4 kB\n");
    VRNProcMemoryProbe probe(proc.path(), 4096);
    EXPECT_EQ(probe.residentSize(), 157286400u);
    EXPECT_EQ(probe.physicalMemory(), 2048u * 1024);
    const auto host = probe.hostStatistics();
    ASSERT_TRUE(host);
    EXPECT_EQ(host->activeBytes, 100u * 1024);
    EXPECT_EQ(host->inactiveBytes, 50u * 1024);
    EXPECT_EQ(host->wiredBytes, 10u * 1024);
    writeKernelFile(proc / "self" / "statm", "100000 256 500 10 0 900 0\n");  // read in place
    EXPECT_EQ(probe.residentSize(), 1048576u);

    EXPECT_FALSE(VRNProcMemoryProbe(proc / "none").residentSize());
}

}  // namespace
}  // namespace vorna
