#include "qt/platform/VRNQtUIPlatform.h"

#include <QCoreApplication>

#include "qt/invocation/VRNScreenshotService.h"
#include "qt/platform/VRNQtRunLoop.h"
#include "qt/theme/Fonts.h"

namespace vorna {

std::shared_ptr<VRNRunLoop> VRNQtUIPlatform::mainRunLoop() {
    return parts_.runLoop;
}

std::optional<VRNData> VRNQtUIPlatform::captureScreenshot() {
    const auto loop = parts_.runLoop;
    if (!parts_.widgets || !loop) {
        return std::nullopt;
    }
    std::optional<VRNData> jpeg;
    const auto capture = [&jpeg] {
        const auto service = VRNScreenshotService::sharedInstance();
        jpeg = service->getImageData(service->takeScreenshot());
    };
    if (loop->isCurrent()) {
        capture();
    } else {
        loop->runSync(capture);
    }
    return jpeg;
}

void VRNQtUIPlatform::registerFonts() {
    const auto loop = parts_.runLoop;
    if (!parts_.widgets || !loop) {
        return;
    }
    if (loop->isCurrent()) {
        Fonts::registerFonts();
    } else {
        loop->post([] { Fonts::registerFonts(); });
    }
}

std::string VRNQtUIPlatform::localizedString(const std::string& key) {
    if (!QCoreApplication::instance()) {
        return key;
    }
    return QCoreApplication::translate(kTranslationContext, key.c_str()).toStdString();
}

}  // namespace vorna
