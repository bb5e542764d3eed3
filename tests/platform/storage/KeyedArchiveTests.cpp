#include <gtest/gtest.h>

#include "platform/storage/VRNKeyedArchive.h"

namespace vorna {
namespace {

class Sample : public VRNCoding {
public:
    std::optional<std::string> text;
    std::optional<std::string> absent;
    std::string archiveClassName() const override { return "TestSample"; }
    void encodeWithCoder(VRNCoder& coder) const override {
        coder.encodeString("textKey", text);
        coder.encodeString("absentKey", absent);
    }
};

class SampleChild : public Sample {
public:
    std::string archiveClassName() const override { return "TestSampleChild"; }
};

void registerSamples() {
    static const bool once = [] {
        auto make = [](auto object) {
            return [object](const VRNDecoder& decoder) -> VRNCodingPtr {
                auto made = std::make_shared<decltype(object)>();
                made->text = decoder.decodeString("textKey");
                made->absent = decoder.decodeString("absentKey");
                return made;
            };
        };
        VRNArchiveClassRegistry::registerClass("TestSample", "NSObject", make(Sample()));
        VRNArchiveClassRegistry::registerClass("TestSampleChild", "TestSample",
                                               make(SampleChild()));
        VRNArchiveClassRegistry::registerClass("TestOther", "NSObject", make(Sample()));
        return true;
    }();
    (void)once;
}

class KeyedArchive : public testing::Test {
protected:
    void SetUp() override { registerSamples(); }
};

TEST_F(KeyedArchive, NestedValuesRoundTripWithTheirKinds) {
    auto child = std::make_shared<SampleChild>();
    child->text = "hello";
    VRNArchiveValue::Dictionary dict{
        {"int", int64_t{42}},
        {"double", 0.75},
        {"bool", true},
        {"text", "t"},
        {"data", VRNData{1, 2, 3}},
        {"list", VRNArchiveValue::Array{VRNArchiveValue(VRNCodingPtr(child)), "x"}},
    };
    const auto data = VRNKeyedArchiver::archivedDataWithRootObject(dict);
    VRNErrorPtr error;
    auto back = VRNKeyedUnarchiver::unarchivedObjectOfClasses(
        {"NSDictionary", "NSArray", "NSString", "NSData", "TestSample"}, data, &error);
    ASSERT_TRUE(back) << error->localizedDescription;
    const auto* d = back->dictionary();
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(std::get<int64_t>(d->at("int").value), 42);
    EXPECT_EQ(std::get<double>(d->at("double").value), 0.75);
    EXPECT_EQ(std::get<bool>(d->at("bool").value), true);
    EXPECT_EQ(*d->at("data").data(), (VRNData{1, 2, 3}));
    const auto& list = *d->at("list").array();
    auto decoded = std::dynamic_pointer_cast<SampleChild>(list.at(0).object());
    ASSERT_NE(decoded, nullptr) << "subclass lost its class";
    EXPECT_EQ(decoded->text, "hello");
    EXPECT_FALSE(decoded->absent.has_value());
    EXPECT_EQ(*list.at(1).string(), "x");
}

TEST_F(KeyedArchive, SecureReadingRefusesAClassOutsideTheListAndNamesIt) {
    struct Other : Sample {
        std::string archiveClassName() const override { return "TestOther"; }
    };
    const auto data = VRNKeyedArchiver::archivedDataWithRootObject(
        VRNArchiveValue::Array{VRNArchiveValue(VRNCodingPtr(std::make_shared<Other>()))});
    VRNErrorPtr error;
    EXPECT_FALSE(
        VRNKeyedUnarchiver::unarchivedObjectOfClasses({"NSArray", "TestSample"}, data, &error));
    ASSERT_NE(error, nullptr);
    EXPECT_NE(error->localizedDescription.find("'TestOther'"), std::string::npos)
        << error->localizedDescription;
    // Plain reading accepts every registered class.
    EXPECT_TRUE(VRNKeyedUnarchiver::unarchiveObjectWithData(data));
    // Strings are checked too.
    const auto text = VRNKeyedArchiver::archivedDataWithRootObject("plain");
    EXPECT_FALSE(VRNKeyedUnarchiver::unarchivedObjectOfClasses({"NSArray"}, text, &error));
    EXPECT_NE(error->localizedDescription.find("'NSString'"), std::string::npos);
}

TEST_F(KeyedArchive, GarbageTruncationAndDeepNestingAreErrorsNotCrashes) {
    VRNErrorPtr error;
    EXPECT_FALSE(
        VRNKeyedUnarchiver::unarchiveObjectWithData(VRNData{0xde, 0xad, 0xbe, 0xef}, &error));
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->code, VRNCoderReadCorruptError);

    auto good = VRNKeyedArchiver::archivedDataWithRootObject(VRNArchiveValue::Array{"a", "b"});
    good.resize(good.size() - 3);
    EXPECT_FALSE(VRNKeyedUnarchiver::unarchiveObjectWithData(good, &error));
    EXPECT_FALSE(VRNKeyedUnarchiver::unarchiveObjectWithData({}, &error));

    // "$archiver" holding a number instead of the archiver's name: a corrupt file, not an
    // exception out of the reader.
    const VRNData archiverNotText{0xa1, 0x69, '$', 'a', 'r', 'c', 'h', 'i', 'v', 'e', 'r', 0x01};
    EXPECT_FALSE(VRNKeyedUnarchiver::unarchiveObjectWithData(archiverNotText, &error));
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->code, VRNCoderReadCorruptError);

    // 100 000 nested CBOR arrays: refused before the reader's recursion can exhaust the stack.
    VRNData deep(100000, 0x81);
    deep.push_back(0x01);
    EXPECT_FALSE(VRNKeyedUnarchiver::unarchiveObjectWithData(deep, &error));

    VRNArchiveValue nested = "leaf";
    for (int i = 0; i < 100; ++i) {
        nested = VRNArchiveValue::Array{nested};
    }
    EXPECT_FALSE(VRNKeyedUnarchiver::unarchiveObjectWithData(
        VRNKeyedArchiver::archivedDataWithRootObject(nested), &error));
}

}  // namespace
}  // namespace vorna
