#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "vorna/VRNLog.h"

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    // The kit's lines stay out of the test output unless a test captures them.
    vorna::VRNSetLogSink([](const std::string&) {});
    return RUN_ALL_TESTS();
}
