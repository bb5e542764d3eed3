#pragma once

#include <functional>

namespace vorna {

class VRNReportingDisabledPopupVMProtocol {
public:
    virtual ~VRNReportingDisabledPopupVMProtocol() = default;
    virtual void didPressDismissButton() = 0;
};

// The popup a flow shows instead of its screens while the application is archived on the
// backend. Its one action, "Dismiss", goes to the callback the coordinator sets (it closes the
// whole flow).
class VRNReportingDisabledPopupVM : public VRNReportingDisabledPopupVMProtocol {
public:
    const std::function<void()>& dismissCallback() const { return dismissCallback_; }
    void setDismissCallback(std::function<void()> callback) {
        dismissCallback_ = std::move(callback);
    }
    void didPressDismissButton() override {
        if (dismissCallback_) {
            dismissCallback_();
        }
    }

private:
    std::function<void()> dismissCallback_;
};

}  // namespace vorna
