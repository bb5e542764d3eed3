#include <gtest/gtest.h>

#include "api/VRNAPIAuthResponse.h"

namespace vorna {
namespace {

VRNData bytesOf(const std::string& s) {
    return VRNData(s.begin(), s.end());
}

std::shared_ptr<VRNAPIAuthResponse> parse(const std::string& body) {
    return VRNAPIAuthResponse::initWithData(bytesOf(body));
}

TEST(APIAuthResponseTests, TokenAndExpiryBothRequiredButExpiryNotKept) {
    const auto response = parse(R"({"access_token":"abc.def","expires_in":3600,"extra":1})");
    ASSERT_TRUE(response);
    EXPECT_EQ(response->accessToken(), "abc.def");
    EXPECT_FALSE(response->expiresIn());

    EXPECT_FALSE(parse(R"({"access_token":"abc"})"));
    EXPECT_FALSE(parse(R"({"expires_in":3600})"));
    EXPECT_FALSE(parse(R"({"access_token":null,"expires_in":3600})"));
    EXPECT_FALSE(parse(R"({"access_token":"abc","expires_in":null})"));
}

TEST(APIAuthResponseTests, AnswersThatAreNotATokenObjectGiveNothing) {
    EXPECT_FALSE(parse(""));
    EXPECT_FALSE(parse("<html>Unauthorized</html>"));
    EXPECT_FALSE(parse(R"({"access_token":"abc","expires_in":)"));
    EXPECT_FALSE(parse(R"("access_token")"));
    EXPECT_FALSE(parse(R"([{"access_token":"abc","expires_in":1}])"));
    EXPECT_FALSE(parse(R"({"access_token":{"v":1},"expires_in":1})"));
    // Any kind of expiry counts as present.
    ASSERT_TRUE(parse(R"({"access_token":"t","expires_in":"soon"})"));
    // A numeric token is sent back as its digits.
    const auto numeric = parse(R"({"access_token":12345,"expires_in":1})");
    ASSERT_TRUE(numeric);
    EXPECT_EQ(numeric->accessToken(), "12345");
}

}  // namespace
}  // namespace vorna
