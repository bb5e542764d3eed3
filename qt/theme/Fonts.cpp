#include "qt/theme/Fonts.h"

#include <QFile>
#include <QFontDatabase>
#include <QHash>
#include <QStringList>

#include <algorithm>
#include <cmath>
#include <mutex>

#include "vorna/VRNLog.h"

namespace vorna {
namespace {

struct Face {
    QString family;
    QFont::Weight weight;
};

std::mutex& registryMutex() {
    static std::mutex m;
    return m;
}

QHash<QString, Face>& registry() {
    static QHash<QString, Face> faces;
    return faces;
}

QFont::Weight weightOf(const QString& faceName) {
    if (faceName.endsWith(QLatin1String("-SemiBold"))) {
        return QFont::DemiBold;
    }
    if (faceName.endsWith(QLatin1String("-Bold"))) {
        return QFont::Bold;
    }
    if (faceName.endsWith(QLatin1String("-Medium"))) {
        return QFont::Medium;
    }
    return QFont::Normal;
}

void logFailure(const QString& description) {
    VRNLog("Failed to load font: %s", description.toUtf8().constData());
}

}  // namespace

void Fonts::registerFonts() {
    for (const char* face : {kBold, kMedium, kRegular, kSemiBold}) {
        loadMyCustomFont(QString::fromLatin1(face));
    }
}

void Fonts::loadMyCustomFont(const QString& faceName) {
    if (isRegistered(faceName)) {
        return;
    }
    const QString path = QStringLiteral(":/vorna/fonts/%1.otf").arg(faceName);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        logFailure(QStringLiteral("The font file %1.otf is not among the kit's resources (%2)")
                       .arg(faceName, file.errorString()));
        return;
    }
    const int id = QFontDatabase::addApplicationFontFromData(file.readAll());
    const QStringList families =
        id < 0 ? QStringList() : QFontDatabase::applicationFontFamilies(id);
    if (families.isEmpty()) {
        logFailure(
            QStringLiteral("The data of %1.otf could not be registered as a font").arg(faceName));
        return;
    }
    std::lock_guard lock(registryMutex());
    registry().insert(faceName, Face{families.first(), weightOf(faceName)});
}

bool Fonts::isRegistered(const QString& faceName) {
    std::lock_guard lock(registryMutex());
    return registry().contains(faceName);
}

std::optional<QFont> Fonts::font(const QString& faceName, double size) {
    Face face;
    {
        std::lock_guard lock(registryMutex());
        const auto it = registry().constFind(faceName);
        if (it == registry().constEnd()) {
            return std::nullopt;
        }
        face = *it;
    }
    QFont font(face.family);
    font.setWeight(face.weight);
    font.setStyleStrategy(QFont::PreferAntialias);
    // The screens measure text in points, which are Qt's device-independent pixels.
    font.setPixelSize(std::max(1, static_cast<int>(std::lround(size))));
    return font;
}

std::optional<QFont> Fonts::fontRegularOfSize(double size) {
    return font(QString::fromLatin1(kRegular), size);
}

std::optional<QFont> Fonts::fontBoldOfSize(double size) {
    return font(QString::fromLatin1(kBold), size);
}

std::optional<QFont> Fonts::fontMediumOfSize(double size) {
    return font(QString::fromLatin1(kMedium), size);
}

std::optional<QFont> Fonts::fontSemiBoldOfSize(double size) {
    return font(QString::fromLatin1(kSemiBold), size);
}

}  // namespace vorna
