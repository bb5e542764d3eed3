#include <gtest/gtest.h>

#include <string>

#include "Credentials.h"
#include "Text.h"

namespace vorna::backend {
namespace {

TEST(CredentialsTest, BasicHeadersAreReadOrRefusedWithTheirReason) {
    Credentials::BasicError error{};
    const auto basic = Credentials::parseBasic("Basic " + Text::base64("client:se:cret"), error);
    ASSERT_TRUE(basic);
    EXPECT_EQ(basic->id, "client");
    EXPECT_EQ(basic->secret, "se:cret");  // the first colon separates

    EXPECT_FALSE(Credentials::parseBasic("Bearer abc", error));
    EXPECT_EQ(error, Credentials::BasicError::NotBasic);
    EXPECT_FALSE(Credentials::parseBasic("Basic not*base64", error));
    EXPECT_EQ(error, Credentials::BasicError::NotBase64);
    EXPECT_FALSE(Credentials::parseBasic("Basic " + Text::base64("nocolon"), error));
    EXPECT_EQ(error, Credentials::BasicError::NoColon);
    const std::string hugeSecret(100 * 1024, 's');
    EXPECT_FALSE(Credentials::parseBasic("Basic " + Text::base64("id:" + hugeSecret), error));
    EXPECT_EQ(error, Credentials::BasicError::TooLong);
}

TEST(CredentialsTest, Base64DecodesWithAndWithoutPaddingAndRefusesStrayCharacters) {
    EXPECT_EQ(Credentials::decodeBase64("YQ=="), "a");
    EXPECT_EQ(Credentials::decodeBase64("YWI"), "ab");
    EXPECT_EQ(Credentials::decodeBase64("YWJj"), "abc");
    EXPECT_FALSE(Credentials::decodeBase64("YWJjZ"));
    EXPECT_FALSE(Credentials::decodeBase64("YW Jj"));
}

TEST(CredentialsTest, ClientsAreFoundOnlyByTheirWholeIdAndSecret) {
    const std::vector<ClientCredentials> clients = {{"a", "secret-a"}, {"b", "secret-b"}};
    EXPECT_EQ(Credentials::find(clients, "b", "secret-b"), &clients[1]);
    EXPECT_EQ(Credentials::find(clients, "b", "secret-a"), nullptr);
    EXPECT_EQ(Credentials::find(clients, "b", "secret-b "), nullptr);
    EXPECT_EQ(Credentials::find(clients, "b", "secret-"), nullptr);
    EXPECT_EQ(Credentials::find(clients, "", ""), nullptr);
    EXPECT_TRUE(Credentials::equalSecrets("", ""));
}

}  // namespace
}  // namespace vorna::backend
