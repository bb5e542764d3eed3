#pragma once

#include <chrono>
#include <memory>

namespace vorna {

class VRNVornaReportData;

// Takes a finished report: stores it, then sends it when it can.
class VRNUploaderProtocol {
public:
    virtual ~VRNUploaderProtocol() = default;
    virtual void uploadData(std::shared_ptr<VRNVornaReportData> reportData) = 0;

    // For a host that waits for delivery. Waits (up to the deadline) until the work handed over
    // before the call has been taken up, saves included; false when the deadline came first.
    virtual bool takeUpQueuedWork(std::chrono::steady_clock::time_point /*deadline*/) {
        return true;
    }
    // Starts sending the saved reports unless a round is running or a retry is waiting.
    virtual void startRoundIfIdle() {}
    // Whether a report is being sent or saved and still sendable.
    virtual bool hasUndeliveredReports() { return false; }
};

}  // namespace vorna
