#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "vorna/VRNLog.h"
#include "vorna/VornaDelivery.h"
#include "vorna/VornaInvocationEvent.h"
#include "vorna/VornaReportKeys.h"

namespace vorna {

class VRNVornaReportData;

// The one class a host talks to. Start the kit once, early (after creating the QApplication
// in a Qt host):
//
//     vorna::VRNVorna::startWithInvocationEvents(vorna::VornaInvocationEventMotion |
//                                                vorna::VornaInvocationEventFloatingButton);
//
// The class methods may be called from any thread; they return at once and do their work on
// the kit's main run loop (waitForDelivery alone blocks, by design). The kit reads its client
// id and secret from the "Vorna" dictionary of the Info.plist beside the host executable (or
// the one named with setInfoPlistPath).
class VRNVorna {
public:
    using PrepareDataHook =
        std::function<std::shared_ptr<VRNVornaReportData>(std::shared_ptr<VRNVornaReportData>)>;

    static std::shared_ptr<VRNVorna> sharedInstance();

    // --- start ---
    // Names the host's Info.plist; call before starting the kit.
    static void setInfoPlistPath(const std::string& path);
    // The shake gesture only.
    static void start();
    static void startWithInvocationEvents(VornaInvocationEvent events);
    // Opens the report screens now.
    static void manualStart();
    static void setBlackBoxEnabled(bool enabled);

    // --- reports without screens ---
    // A report with the device's facts, the description under kVRNUserInput (none: the key is
    // left as the onPrepareData hook made it) and a screenshot of the application (or, without
    // one, a white pixel). Nothing is sent for an application the backend has archived.
    static void autoReportWithAttachScreenshot(bool attachScreenshot,
                                               const std::optional<std::string>& description);
    // The same with the empty description.
    static void autoReportWithAttachScreenshot(bool attachScreenshot);
    // The same without a screenshot.
    static void autoReportWithDescription(const std::optional<std::string>& description);
    static void autoReport();

    // --- life cycle, for hosts without the kit's Qt layer (which follows a Qt application by
    // itself) ---
    // The host came to the front: the kit authorizes again if it is not authorized, and sends
    // the reports still saved. Posts "UIApplicationWillEnterForegroundNotification".
    static void hostWillEnterForeground();
    // The host went to the background: pending authorization and upload retries are cancelled
    // and their delays start again from the beginning. Posts
    // "UIApplicationWillResignActiveNotification", then
    // "UIApplicationDidEnterBackgroundNotification".
    // A call that repeats the state the host is in posts nothing.
    static void hostDidEnterBackground();

    // --- permissions the host holds ---
    // Which of the seven permissions the application holds, keyed by their report keys
    // (kVRNCameraPermission, kVRNMicrophonePermission, kVRNContactsPermission,
    // kVRNPhotoLibraryPermission, kVRNLocationPermission, kVRNCalendarPermission,
    // kVRNMediaLibraryPermission), with kVRNAccessPermissionGranted, or for location also
    // kVRNAccessPermissionGrantedWhileUsing. kVRNAccessPermissionNotGranted and
    // kVRNAccessPermissionDenied leave the permission out, as any permission not declared is.
    // Reports made from then on carry them. Replaces what was declared before; an unknown key or
    // value is logged and left out.
    //
    // Known flaw, kept on purpose: with two or more permissions declared, the report screens'
    // "Inspect bug" page fails while sorting their names, and its "Granted permissions" list
    // cannot be shown. Reports and their documents are not affected.
    static void setGrantedPermissions(const std::map<std::string, std::string>& permissions);

    // --- delivery ---
    // Blocks the calling thread until every report saved so far (and every report made before
    // the call) has been accepted by the backend: true. False when the time ran out first, or
    // when the backend archived the application and the reports were dropped (an observer
    // names them). Starts an upload round when none is running, so reports waiting for the
    // kit's first authorization go out once it succeeds. A zero or negative time-out only
    // looks: true when nothing is waiting. In a Qt host do not call it on the GUI thread while
    // a retry is pending: the retry's timer runs on that thread.
    static bool waitForDelivery(std::chrono::milliseconds timeout);
    // Tells the observer of every report the backend accepts or the kit drops, until the
    // returned observation goes.
    [[nodiscard]] static VRNDeliveryObservation observeDelivery(VRNDeliveryObserver observer);

    // --- the host's hook ---
    // Lets the host replace or enrich a report's data before it is sent:
    //     VRNVorna::sharedInstance()->setOnPrepareData([](auto data) { ...; return data; });
    virtual PrepareDataHook onPrepareData() const = 0;
    virtual void setOnPrepareData(PrepareDataHook hook) = 0;

    virtual ~VRNVorna() = default;
    VRNVorna(const VRNVorna&) = delete;
    VRNVorna& operator=(const VRNVorna&) = delete;

protected:
    VRNVorna() = default;
};

}  // namespace vorna
