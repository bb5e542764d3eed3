#include <gtest/gtest.h>

#include "platform/linux/VRNStatvfsFileSystemProbe.h"
#include "support/TempDir.h"

namespace vorna {
namespace {

TEST(StatvfsFileSystemProbe, APathNotYetMadeIsMeasuredOnItsVolume) {
    test::TempDir dir;
    VRNStatvfsFileSystemProbe probe;
    const auto existing = probe.attributesOfFileSystemForPath(dir.path());
    const auto future = probe.attributesOfFileSystemForPath(dir / "app/Documents");
    ASSERT_TRUE(existing && future);
    EXPECT_GT(existing->totalSize, 0u);
    EXPECT_EQ(future->totalSize, existing->totalSize);
}

}  // namespace
}  // namespace vorna
