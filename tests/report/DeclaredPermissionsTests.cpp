// Permissions a host declares: what reaches a report's facts and its document, and what is
// refused with a log line.
#include <gtest/gtest.h>

#include "report/VRNAPIReport.h"
#include "report/VRNDeclaredPermissions.h"
#include "report/VRNReportGathering.h"
#include "support/LogCapture.h"
#include "vorna/VornaReportKeys.h"

namespace vorna {
namespace {

class DeclaredPermissions : public testing::Test {
protected:
    void TearDown() override { VRNDeclaredPermissions::declare({}); }

    // The document's permissions of a report gathered now with only the declared ones as source.
    nlohmann::json documentPermissions() {
        VRNReportSources sources;
        sources.grantedPermissions = [] { return VRNDeclaredPermissions::granted(); };
        VRNVornaReportData data{VRNVornaReportData::Empty{}};
        data.setGatheredDataDict(VRNGatherReportFacts(sources));
        const auto document = VRNAPIReport(data).dictValues();
        return document.contains("permissions") ? document["permissions"] : nlohmann::json();
    }

    test::LogCapture log;
};

TEST_F(DeclaredPermissions, DeclaredGrantsReachTheDocumentSortedByName) {
    VRNDeclaredPermissions::declare({{kVRNLocationPermission, kVRNAccessPermissionGrantedWhileUsing},
                                     {kVRNMicrophonePermission, kVRNAccessPermissionGranted},
                                     {kVRNCameraPermission, kVRNAccessPermissionGranted},
                                     {kVRNCalendarPermission, kVRNAccessPermissionDenied},
                                     {kVRNContactsPermission, kVRNAccessPermissionNotGranted}});
    EXPECT_EQ(documentPermissions(), nlohmann::json::parse(R"([
        {"name": "camera", "state": "on"},
        {"name": "location", "state": "only_while_using_the_app"},
        {"name": "microphone", "state": "on"}])"))
        << "\"off\" and \"denied\" leave a permission out, as not declaring it does";
    EXPECT_TRUE(log.lines().empty());

    // A new declaration replaces the old one; none declared: no key at all.
    VRNDeclaredPermissions::declare({});
    EXPECT_TRUE(documentPermissions().is_null());
}

TEST_F(DeclaredPermissions, UnknownNamesAndImpossibleValuesAreLoggedAndLeftOut) {
    VRNDeclaredPermissions::declare({{"VRN_BluetoothPermission", "on"},
                                     {kVRNCameraPermission, kVRNAccessPermissionGrantedWhileUsing},
                                     {kVRNPhotoLibraryPermission, "yes"},
                                     {kVRNMediaLibraryPermission, kVRNAccessPermissionGranted}});
    EXPECT_EQ(documentPermissions(),
              nlohmann::json::parse(R"([{"name": "medialibrary", "state": "on"}])"));
    EXPECT_TRUE(log.contains(
        "VRNVorna - Unknown permission \"VRN_BluetoothPermission\" declared, left out of reports: "
        "the kit knows VRN_CameraPermission, VRN_MicrophonePermission, VRN_ContactsPermission, "
        "VRN_PhotoLibraryPermission, VRN_LocationPermission, VRN_CalendarPermission and "
        "VRN_MediaLibraryPermission"));
    EXPECT_TRUE(log.contains("VRNVorna - Permission VRN_CameraPermission declared as "
                             "\"only_while_using_the_app\", left out of reports: it can be \"on\", "
                             "\"off\" or \"denied\""));
    EXPECT_TRUE(log.contains("VRNVorna - Permission VRN_PhotoLibraryPermission declared as \"yes\", "
                             "left out of reports: it can be \"on\", \"off\" or \"denied\""));
    EXPECT_EQ(log.lines().size(), 3u);
}

}  // namespace
}  // namespace vorna
