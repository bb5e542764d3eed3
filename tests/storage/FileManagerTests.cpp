#include <gtest/gtest.h>

#include <fstream>

#include "state/VRNConstants.h"
#include "storage/VRNFileManager.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"
#include "vorna/VornaReportData.h"

namespace vorna {
namespace {

class FileManager : public testing::Test {
protected:
    std::shared_ptr<VRNVornaReportData> report(const std::string& text) {
        auto data = std::make_shared<VRNVornaReportData>(VRNVornaReportData::Empty{});
        data->setGatheredDataDict(VRNGatheredDataDict{{kVRNUserInput, text}});
        return data;
    }
    std::filesystem::path folder() const { return dir.path() / "VornaSavedDataDirectory"; }

    test::TempDir dir;
    VRNFileManager store{dir.path()};
    test::LogCapture log;
};

TEST_F(FileManager, FreshInstallListsNothingAndCreatesNoFolder) {
    EXPECT_TRUE(store.savedReports().empty());
    EXPECT_FALSE(std::filesystem::exists(folder()));
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{
                  "VRNFileManager: Can't load stored files, directory does not exist " +
                  folder().string()}));
}

TEST_F(FileManager, SaveLoadDeleteWithTheirLines) {
    const auto first = store.saveDataForReportData(report("one"));
    const auto second = store.saveDataForReportData(report("one"));
    ASSERT_TRUE(first && second);
    EXPECT_NE(*first, *second);
    EXPECT_EQ(first->size(), 36u);
    EXPECT_EQ(*first, [&] {
        std::string upper = *first;
        for (auto& c : upper)
            c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        return upper;
    }());
    EXPECT_TRUE(std::filesystem::exists(folder() / (*first + ".vornareportfile")));
    EXPECT_EQ(log.lines()[0],
              "VRNFileManager: Need to create target directory at " + folder().string());
    EXPECT_EQ(log.lines()[1], "VRNFileManager: Existing target directory at " + folder().string());

    auto loaded = store.loadReportDataForIdentifier(*first);
    ASSERT_NE(loaded, nullptr);
    EXPECT_EQ(loaded->gatheredDataDict()->at(kVRNUserInput), VRNGatheredValue(std::string("one")));

    log.clear();
    store.deleteReportDataForIdentifier(*first);
    const auto path = folder() / (*first + ".vornareportfile");
    EXPECT_TRUE(log.contains("VRNFileManager: Delete file at " + path.string()));
    store.deleteReportDataForIdentifier(*first);
    EXPECT_TRUE(log.contains("VRNFileManager: Can not delete file at " + path.string()));
    EXPECT_EQ(store.savedReports(), std::vector<std::string>{*second});
}

TEST_F(FileManager, ListingSkipsForeignFilesThatDeleteAllRemoves) {
    ASSERT_TRUE(store.saveDataForReportData(report("x")));
    std::ofstream(folder() / "notes.txt") << "not a report";
    std::ofstream(folder() / "A.vornareportfile.vornareportfile") << "x";
    auto listed = store.savedReports();
    EXPECT_EQ(listed.size(), 2u);
    EXPECT_NE(std::find(listed.begin(), listed.end(), "A"), listed.end());

    log.clear();
    store.deleteAllLocalReportData();
    EXPECT_EQ(log.lines()[0], "VRNFileManager: Deleting all locally saved report data");
    EXPECT_TRUE(std::filesystem::is_empty(folder()));
}

TEST_F(FileManager, CorruptFileIsReportedAndKept) {
    const auto id = store.saveDataForReportData(report("x"));
    const auto path = folder() / (*id + ".vornareportfile");
    std::filesystem::resize_file(path, std::filesystem::file_size(path) / 2);
    log.clear();
    EXPECT_EQ(store.loadReportDataForIdentifier(*id), nullptr);
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[1].rfind("VRNFileManager: Failed to deserialize because of error ", 0), 0u);
    EXPECT_EQ(lines[2], "VRNFileManager: Did not load data for url");
    EXPECT_TRUE(std::filesystem::exists(path));

    log.clear();
    EXPECT_EQ(store.loadReportDataForIdentifier("0000-MISSING"), nullptr);
    EXPECT_TRUE(log.contains("VRNFileManager: Did not load data for url"));
}

TEST_F(FileManager, AHundredMegabyteAttachmentRoundTrips) {
    VRNVornaFile::Bytes big(100u << 20);
    for (size_t i = 0; i < big.size(); i += 4096) {
        big[i] = static_cast<uint8_t>(i >> 12);
    }
    auto data = report("big");
    auto file = std::make_shared<VRNVornaFile>(std::string("core.dump"), std::move(big));
    data->setAttachedFiles(VRNVornaReportData::Files{file});
    const auto id = store.saveDataForReportData(data);
    ASSERT_TRUE(id);
    auto loaded = store.loadReportDataForIdentifier(*id);
    ASSERT_NE(loaded, nullptr);
    EXPECT_TRUE(*(*loaded->attachedFiles())[0]->data() == *file->data());
}

}  // namespace
}  // namespace vorna
