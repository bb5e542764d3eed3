#pragma once

// The keys under which a report carries its facts (VRNVornaReportData::gatheredDataDict), and
// the values of the permission facts. A host's onPrepareData hook reads and sets facts by these
// names:
//
//     auto dict = data->gatheredDataDict().value_or(vorna::VRNGatheredDataDict{});
//     dict[vorna::kVRNUserEmail] = std::string("tester@example.com");
//     data->setGatheredDataDict(std::move(dict));
//
// The texts are what the backend knows; kVRNDeviceOrientation is one letter short on purpose.

namespace vorna {

// Keys of the gathered report data; the histories are lists of samples.
inline constexpr const char* kVRNCpuHistory = "VRN_CpuHistory";
inline constexpr const char* kVRNMemoryHistory = "VRN_MemoryHistory";
inline constexpr const char* kVRNBatteryHistory = "VRN_BatteryHistory";
inline constexpr const char* kVRNOrientationHistory = "VRN_OrientationHistory";
inline constexpr const char* kVRNNetworkHistory = "VRN_NetworkHistory";
inline constexpr const char* kVRNStorageHistory = "VRN_StorageHistory";
inline constexpr const char* kVRNSessionStateHistory = "VRN_SessionStateHistory";
inline constexpr const char* kVRNCameraPermission = "VRN_CameraPermission";
inline constexpr const char* kVRNPhotoLibraryPermission = "VRN_PhotoLibraryPermission";
inline constexpr const char* kVRNLocationPermission = "VRN_LocationPermission";
inline constexpr const char* kVRNCalendarPermission = "VRN_CalendarPermission";
inline constexpr const char* kVRNContactsPermission = "VRN_ContactsPermission";
inline constexpr const char* kVRNMicrophonePermission = "VRN_MicrophonePermission";
inline constexpr const char* kVRNMediaLibraryPermission = "VRN_MediaLibraryPermission";
inline constexpr const char* kVRNModelName = "VRN_ModelName";
inline constexpr const char* kVRNBuildVersion = "VRN_BuildVersion";
inline constexpr const char* kVRNAppVersion = "VRN_AppVersion";
inline constexpr const char* kVRNSystemVersion = "VRN_SystemVersion";
inline constexpr const char* kVRNSystemBuildVersion = "VRN_SystemBuildVersion";
inline constexpr const char* kVRNDeviceType = "VRN_DeviceType";
inline constexpr const char* kVRNLocale = "VRN_Locale";
inline constexpr const char* kVRNTimeZone = "VRN_TimeZone";
inline constexpr const char* kVRNIssueReportedTime = "VRN_IssueReportedTime";
inline constexpr const char* kVRNUserInput = "VRN_UserInput";
inline constexpr const char* kVRNUserEmail = "VRN_UserEmail";
inline constexpr const char* kVRNBatteryStatus = "VRN_BatteryStatus";
inline constexpr const char* kVRNBatteryLevel = "VRN_BatteryLevel";
inline constexpr const char* kVRNUsedDiskSpace = "VRN_UsedDiskSpace";
inline constexpr const char* kVRNAvailableDiskSpace = "VRN_AvailableDiskSpace";
inline constexpr const char* kVRNUsedMemory = "VRN_UsedMemory";
inline constexpr const char* kVRNAvailableMemory = "VRN_AvailableMemory";
inline constexpr const char* kVRNUsedApplicationMemory = "VRN_UsedApplicationMemory";
inline constexpr const char* kVRNScreenHeight = "VRN_ScreenHeight";
inline constexpr const char* kVRNScreenWidth = "VRN_ScreenWidth";
inline constexpr const char* kVRNNetworkName = "VRN_NetworkName";
inline constexpr const char* kVRNNetworkType = "VRN_NetworkType";
inline constexpr const char* kVRNViewControllerName = "VRN_ViewControllerName";
inline constexpr const char* kVRNAuthentication = "VRN_Authentication";
// Cut after twenty characters; the backend knows the key by this spelling.
inline constexpr const char* kVRNDeviceOrientation = "VRN_DeviceOrientatio";

// Permission values.
inline constexpr const char* kVRNAccessPermissionGranted = "on";
inline constexpr const char* kVRNAccessPermissionNotGranted = "off";
inline constexpr const char* kVRNAccessPermissionDenied = "denied";
inline constexpr const char* kVRNAccessPermissionGrantedWhileUsing = "only_while_using_the_app";

}  // namespace vorna
