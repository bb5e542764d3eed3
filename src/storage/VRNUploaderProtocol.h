#pragma once

#include <memory>

namespace vorna {

class VRNVornaReportData;

// Takes a finished report: stores it, then sends it when it can.
class VRNUploaderProtocol {
public:
    virtual ~VRNUploaderProtocol() = default;
    virtual void uploadData(std::shared_ptr<VRNVornaReportData> reportData) = 0;
};

}  // namespace vorna
