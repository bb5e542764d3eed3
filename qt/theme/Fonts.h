#pragma once

#include <QFont>
#include <QString>

#include <optional>

namespace vorna {

// The kit's typeface: four faces known to the screens by the kit's face names, each compiled
// into the kit's resources as ":/vorna/fonts/<face name>.otf" (licence beside them). The data
// is Inter, a grotesque under the SIL Open Font License; its family name stays Inter's.
// Registration happens once, when the facade is made; a face that could not be registered is
// not available (the face operations answer nothing for it) and says so once in the log.
class Fonts {
public:
    static constexpr const char* kRegular = "HKGrotesk-Regular";
    static constexpr const char* kBold = "HKGrotesk-Bold";
    static constexpr const char* kMedium = "HKGrotesk-Medium";
    static constexpr const char* kSemiBold = "HKGrotesk-SemiBold";

    // Registers the four faces, bold, medium, regular, semibold in that order.
    static void registerFonts();
    // Registers one face from the kit's resources for this process. A face already registered
    // is left as it is.
    static void loadMyCustomFont(const QString& faceName);

    // The face at `size` points, when it is registered.
    static std::optional<QFont> fontRegularOfSize(double size);
    static std::optional<QFont> fontBoldOfSize(double size);
    static std::optional<QFont> fontMediumOfSize(double size);
    static std::optional<QFont> fontSemiBoldOfSize(double size);

    static bool isRegistered(const QString& faceName);

private:
    static std::optional<QFont> font(const QString& faceName, double size);
};

}  // namespace vorna
