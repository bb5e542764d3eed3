#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>
#include <tuple>

#include "blackbox/Battery.h"
#include "blackbox/BlackBoxFakes.h"
#include "blackbox/Network.h"
#include "blackbox/Record.h"
#include "blackbox/VRNQueue.h"
#include "support/LogCapture.h"

namespace vorna {
namespace {

using test::TempRepository;

RecordPtr rec(const std::string& value) {
    return std::make_shared<Record>(value, "t");
}

std::vector<std::string> values(const VRNArchiveValue::Array& array) {
    std::vector<std::string> out;
    for (const auto& element : array) {
        auto record = std::dynamic_pointer_cast<Record>(element.object());
        out.push_back(record && record->value() ? *record->value() : "?");
    }
    return out;
}

// What the defaults hold under the key, read back independently of any queue.
std::vector<std::string> stored(const VRNAppRepository& repository, const std::string& key) {
    auto data = repository.getData(key);
    if (!data) {
        return {};
    }
    auto value = VRNKeyedUnarchiver::unarchiveObjectWithData(*data);
    return value && value->array() ? values(*value->array()) : std::vector<std::string>{"?"};
}

class Queue : public testing::Test {
protected:
    TempRepository store;
};

TEST_F(Queue, DropsOnlyTheOldestAndStoresTheListOldestFirst) {
    VRNQueue queue(3, "k", store.repository);
    for (auto v : {"a", "b", "c", "d"}) {
        queue.push(rec(v));
    }
    EXPECT_EQ(values(queue.queue()), (std::vector<std::string>{"b", "c", "d"}));
    EXPECT_EQ(stored(*store.repository, "k"), (std::vector<std::string>{"b", "c", "d"}));
}

TEST_F(Queue, CapacityOfZeroOrLessHoldsOneElement) {
    for (int32_t capacity : {0, -5}) {
        const std::string key = "k" + std::to_string(capacity);
        VRNQueue queue(capacity, key, store.repository);
        EXPECT_EQ(queue.numberOfElements(), 1);
        queue.push(rec("a"));
        queue.push(rec("b"));
        EXPECT_EQ(values(queue.queue()), std::vector<std::string>{"b"});
        EXPECT_EQ(stored(*store.repository, key), std::vector<std::string>{"b"});
    }
}

TEST_F(Queue, ANewQueueContinuesTheStoredListWithoutTrimmingIt) {
    {
        VRNQueue earlier(10, "k", store.repository);
        for (auto v : {"1", "2", "3", "4", "5"}) {
            earlier.push(rec(v));
        }
    }
    // The next launch, over the reopened defaults file, with a smaller capacity.
    VRNQueue queue(3, "k", store.open());
    EXPECT_EQ(values(queue.queue()), (std::vector<std::string>{"1", "2", "3", "4", "5"}));
    queue.push(rec("6"));
    EXPECT_EQ(queue.queue().size(), 6u);
}

TEST_F(Queue, NothingPushedChangesNothing) {
    VRNQueue queue(3, "k", store.repository);
    queue.push(rec("a"));
    const auto before = store.repository->getData("k");
    queue.push(VRNCodingPtr());
    queue.push(VRNArchiveValue());
    EXPECT_EQ(queue.queue().size(), 1u);
    EXPECT_EQ(store.repository->getData("k"), before);
}

class Unencodable : public VRNCoding {
public:
    std::string archiveClassName() const override { return "Unencodable"; }
    void encodeWithCoder(VRNCoder&) const override { throw std::runtime_error("cannot encode"); }
};

TEST_F(Queue, AnArchiveFailureIsLoggedAndKeepsTheStoredCopy) {
    test::LogCapture log;
    VRNQueue queue(3, "k", store.repository);
    queue.push(rec("a"));
    queue.push(std::make_shared<Unencodable>());
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{"VRNQueue: Error serializing data: cannot encode, key -> k",
                                        "VRNQueue: Error archiving data, key -> k"}));
    EXPECT_EQ(queue.queue().size(), 2u);
    EXPECT_EQ(stored(*store.repository, "k"), std::vector<std::string>{"a"});
}

TEST_F(Queue, PushesFromSeveralThreadsKeepListAndStoredCopyInStep) {
    VRNQueue queue(120, "k", store.repository);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&queue, t] {
            for (int i = 0; i < 40; ++i) {
                queue.push(rec(std::to_string(t * 100 + i)));
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(queue.queue().size(), 120u);
    EXPECT_EQ(stored(*store.repository, "k"), values(queue.queue()));
}

TEST(BlackBoxRecords, RoundTripUnderTheirKeysWithAbsentFieldsKeptAbsent) {
    VRNBlackBoxObject::registerArchiveClasses();
    VRNArchiveValue::Array list{VRNCodingPtr(std::make_shared<Network>("wifi", "Cafe", "t1")),
                                VRNCodingPtr(std::make_shared<Battery>("full", "100.000", "t2")),
                                VRNCodingPtr(std::make_shared<Record>("1.000", std::nullopt))};
    VRNErrorPtr error;
    auto back = VRNKeyedUnarchiver::unarchivedObjectOfClasses(
        {"NSArray", "NSString", "VRNBlackBoxObject"},
        VRNKeyedArchiver::archivedDataWithRootObject(list), &error);
    ASSERT_TRUE(back && back->array()) << error->localizedDescription;
    auto n = std::dynamic_pointer_cast<Network>((*back->array())[0].object());
    auto b = std::dynamic_pointer_cast<Battery>((*back->array())[1].object());
    auto r = std::dynamic_pointer_cast<Record>((*back->array())[2].object());
    ASSERT_TRUE(n && b && r);
    EXPECT_EQ(std::tie(n->type(), n->name(), n->timestamp()), std::tie("wifi", "Cafe", "t1"));
    EXPECT_EQ(std::tie(b->status(), b->level(), b->timestamp()), std::tie("full", "100.000", "t2"));
    EXPECT_EQ(r->value(), "1.000");
    EXPECT_FALSE(r->timestamp());
    // The network's name travels under the battery-style key.
    VRNCoder coder;
    n->encodeWithCoder(coder);
    EXPECT_EQ(*coder.values().at("bNameKey").string(), "Cafe");
}

}  // namespace
}  // namespace vorna
