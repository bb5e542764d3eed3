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

// Registers what the kit's screens need (the fonts); a UI layer installs the registrar.
void VRNRegisterKitResources();
void VRNSetKitResourceRegistrar(std::function<void()> registrar);

// The black box and the session history.
void VRNStartBlackBox();
void VRNSetBlackBoxEnabled(bool enabled);
void VRNStartSessionReporter();

// The report store and the uploader of the shared instance.
std::shared_ptr<VRNFileManagerProtocol> VRNMakeDefaultFileManager();
std::shared_ptr<VRNUploaderProtocol> VRNMakeDefaultUploader(
    std::shared_ptr<VRNFileManagerProtocol> fileManager, std::shared_ptr<VRNAPIProtocol> api);

// What a report without screens carries as its screenshot when asked for one: a UI layer
// installs a capture that answers the JPEG bytes of the application's windows.
void VRNSetScreenshotCapture(std::function<std::optional<std::vector<uint8_t>>()> capture);

// A report made without screens: gathered now, passed through the host's hook, with the
// description under "VRN_UserInput" and a screenshot file (a captured one, or a white pixel).
std::shared_ptr<VRNVornaReportData> VRNMakeAutoReportData(
    bool attachScreenshot, const std::optional<std::string>& description,
    const VRNVorna::PrepareDataHook& onPrepareData);

}  // namespace vorna
