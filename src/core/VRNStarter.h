#pragma once

#include <functional>
#include <memory>

namespace vorna {

class VRNAPIProtocol;

class VRNStarterProtocol {
public:
    virtual ~VRNStarterProtocol() = default;
    // Authorizes with the host's client credentials; the completion gets true on success. It runs
    // on the backend client's completion thread.
    virtual void start(std::function<void(bool authorized)> completion) = 0;
};

// Performs the authorization call with the client id and secret of the host's Info.plist.
class VRNStarter : public VRNStarterProtocol {
public:
    explicit VRNStarter(std::shared_ptr<VRNAPIProtocol> api);

    void start(std::function<void(bool authorized)> completion) override;
    const std::shared_ptr<VRNAPIProtocol>& api() const { return api_; }

private:
    std::shared_ptr<VRNAPIProtocol> api_;
};

}  // namespace vorna
