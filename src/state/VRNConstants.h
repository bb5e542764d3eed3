#pragma once

#include <atomic>
#include <cstdint>

#include "vorna/VornaReportKeys.h"

namespace vorna {

// Error domain of the backend client and its codes.
inline constexpr const char* VRNErrorDomainAPI = "VRNErrorDomainAPI";
inline constexpr int64_t VRNErrorAPICode = 100;
inline constexpr int64_t VRNErrorFileUpload = 101;
inline constexpr int64_t VRNErrorApplicationArchived = 102;

// Retry delays, in seconds: authorization (initialDelay/delay) and uploads
// (initialDelayInterval/delayInterval). The variables start at their initial values and are
// doubled before each retry.
inline constexpr int64_t initialDelay = 5;
inline constexpr int64_t initialDelayInterval = 5;

// Process-wide state shared between the run loop and the background queues. They are atomics
// so that the threads that touch them never race; their meaning is that of plain flags.
extern std::atomic<int64_t> delay;
extern std::atomic<int64_t> delayInterval;
extern std::atomic<bool> reauthorizationPending;
extern std::atomic<bool> retryUploadNeeded;
extern std::atomic<bool> timerRunning;
extern std::atomic<bool> monitoring;

inline constexpr int64_t NUMBER_OF_ELEMENTS_IN_HALF_SEC_REPORT = 120;
inline constexpr int64_t NUMBER_OF_ELEMENTS_IN_TWO_SEC_REPORT = 30;
inline constexpr int64_t NUMBER_OF_SESSION_OBJECTS_TO_REPORT = 15;
inline constexpr int64_t NUMBER_OF_BYTES_IN_MB = 1048576;
inline constexpr int64_t ROUND_BUTTON_DIMENSION = 70;
inline constexpr int64_t ROUND_BUTTON_OFFSET = 15;
inline constexpr int64_t ROUND_DELETE_BUTTON_DIMENSION = 20;
inline constexpr double HoriziontalSwipeTranslation = 40.0;
inline constexpr double animationDuration = 0.4;
inline constexpr double lineWidth = 2.0;
inline constexpr double maxShadowHeight = 10.0;
inline constexpr double VornaVersionNumber = 1.0;
extern const char* const VornaVersionString;
inline constexpr const char* DECIMAL_FORMAT = "%.3f";
inline constexpr const char* DateFormat_toString = "yyyy-MM-dd'T'HH:mm:ssZZZZZ";

// Files and configuration.
inline constexpr const char* VornaSavedDirectory = "VornaSavedDataDirectory";
inline constexpr const char* VornaFileExtension = ".vornareportfile";
inline constexpr const char* VornaDictKey = "Vorna";
inline constexpr const char* APIClientID = "APIClientID";
inline constexpr const char* APIClientSecret = "APIClientSecret";
inline constexpr const char* kVornaApiURLKey = "VORNA_API_URL";
inline constexpr const char* kVornaHelpURLKey = "HelpURL";
inline constexpr const char* kGatheredDataKey = "kGatheredDataKey";
inline constexpr const char* kQuickFactsKey = "quickFactsKey";
inline constexpr const char* kAttachedFilesKey = "attachedFilesKey";
inline constexpr const char* kScreenshotFileKey = "screenshotFileKey";
inline constexpr const char* kNameKey = "nameKey";
inline constexpr const char* kDataKey = "dataKey";

// Archive keys of the black box records.
inline constexpr const char* kBStatus = "bStatusKey";
inline constexpr const char* kBLevel = "bLevelKey";
inline constexpr const char* kBTime = "bTimeKey";
inline constexpr const char* kNType = "nTypeKey";
inline constexpr const char* kNName = "bNameKey";
inline constexpr const char* kNTime = "nTimeKey";
inline constexpr const char* kRValue = "rValueKey";
inline constexpr const char* kRTime = "rTimeKey";

// Defaults keys of the black box histories.
inline constexpr const char* kVRNCpuHistoryKey = "cpuHistoryKey";
inline constexpr const char* kVRNMemoryHistoryKey = "memoryHistoryKey";
inline constexpr const char* kVRNBatteryHistoryKey = "batteryHistoryKey";
inline constexpr const char* kVRNOrientationHistoryKey = "orientationHistoryKey";
inline constexpr const char* kVRNNetworkHistoryKey = "networkHistoryKey";
inline constexpr const char* kVRNStorageHistoryKey = "storageHistoryKey";
inline constexpr const char* kVRNSessionHistoryKey = "sessionStateHistoryKey";

}  // namespace vorna
