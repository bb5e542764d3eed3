#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "vorna/Vorna.h"

namespace vorna {

class VRNAPIProtocol;
class VRNFileManagerProtocol;
class VRNUploaderProtocol;
class VRNVornaReportData;

// Where the facade meets the rooms below it: the process-wide collaborators it makes or
// starts. Kept in one place so the facade reads as the start-up sequence and nothing else.

// The backend client of the shared instance.
std::shared_ptr<VRNAPIProtocol> VRNMakeDefaultAPI();

// Registers what the kit's screens need (the fonts of the installed UI platform).
void VRNRegisterKitResources();

// The black box and the session history.
void VRNStartBlackBox();
void VRNSetBlackBoxEnabled(bool enabled);
void VRNStartSessionReporter();

// The report store and the uploader of the shared instance.
std::shared_ptr<VRNFileManagerProtocol> VRNMakeDefaultFileManager();
std::shared_ptr<VRNUploaderProtocol> VRNMakeDefaultUploader(
    std::shared_ptr<VRNFileManagerProtocol> fileManager, std::shared_ptr<VRNAPIProtocol> api);

// A report made without screens: gathered now, passed through the host's hook, with the
// description under "VRN_UserInput" and a screenshot file (the UI platform's picture of the
// application, or a white pixel).
std::shared_ptr<VRNVornaReportData> VRNMakeAutoReportData(
    bool attachScreenshot, const std::optional<std::string>& description,
    const VRNVorna::PrepareDataHook& onPrepareData);

}  // namespace vorna
