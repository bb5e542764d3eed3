#include <gtest/gtest.h>

#include <string>

#include "TokenForm.h"

namespace vorna::backend {
namespace {

using Problem = TokenForm::Problem;

TEST(TokenForm, ValuesStayAsSentAndOnlyKnownNamesAreKept) {
    const TokenForm form = TokenForm::read(
        "grant_type=client_credentials&client_id=raw+client&client_secret=s3+cr%t/=x&scope=a&x");
    EXPECT_EQ(form.problem, Problem::None);
    EXPECT_EQ(form.grantType, "client_credentials");
    EXPECT_EQ(form.clientId, "raw+client");
    EXPECT_EQ(form.clientSecret, "s3+cr%t/=x") << "split at the first '=' only";

    // Names are form-decoded; empty fields and valueless parameters count as not sent.
    const TokenForm encoded =
        TokenForm::read("&&grant%5Ftype=client_credentials&client_id=&client_secret&&");
    EXPECT_EQ(encoded.problem, Problem::None);
    EXPECT_EQ(encoded.grantType, "client_credentials");
    EXPECT_FALSE(encoded.clientId);
    EXPECT_FALSE(encoded.clientSecret);
}

TEST(TokenForm, RepeatedParametersAndTooManyFieldsAreProblems) {
    const TokenForm repeated = TokenForm::read("client_id=a&client%5Fid=b");
    EXPECT_EQ(repeated.problem, Problem::Repeated);
    EXPECT_EQ(repeated.repeatedName, "client_id");
    EXPECT_EQ(TokenForm::read("client_id=&client_id=b").problem, Problem::None)
        << "a parameter without a value was not sent";
    EXPECT_EQ(TokenForm::read("scope=a&scope=b").problem, Problem::None)
        << "parameters the endpoint does not know are ignored";

    std::string fields;
    for (std::size_t i = 0; i < TokenForm::kMaxFields; ++i) {
        fields += "a=b&";
    }
    EXPECT_EQ(TokenForm::read(fields).problem, Problem::None);
    EXPECT_EQ(TokenForm::read(fields + "a=b").problem, Problem::TooManyFields);
    EXPECT_EQ(TokenForm::read(std::string(1 << 20, '&')).problem, Problem::None);
}

TEST(TokenForm, SpellingsCoverRawAndBothDecodings) {
    EXPECT_EQ(TokenForm::spellings("plain"), std::vector<std::string>{"plain"});
    EXPECT_EQ(TokenForm::spellings("a+b%2B"), (std::vector<std::string>{"a+b%2B", "a b+", "a+b+"}));
    EXPECT_EQ(TokenForm::spellings("100%"), std::vector<std::string>{"100%"})
        << "a '%' without two hex digits stays";
}

}  // namespace
}  // namespace vorna::backend
