#include "state/VRNAppRepository.h"

#include <cctype>

#include "vorna/VRNLog.h"

namespace vorna {
namespace {

constexpr const char* kIdentifierKey = "ketrano.identifier";
constexpr const char* kCreatedDateKey = "ketrano.createdDate";
constexpr const char* kUpdatedDateKey = "ketrano.updatedDate";
constexpr const char* kTextColorKey = "ketrano.textColor";
constexpr const char* kBackgroundColorKey = "ketrano.backgroundColor";
constexpr const char* kPlaceholderColorKey = "ketrano.placeholderColor";
constexpr const char* kHighlightedTextColorKey = "ketrano.highlightedTextColor";
constexpr const char* kLogoUrlKey = "ketrano.logoUrl";
constexpr const char* kSloganKey = "ketrano.slogan";

// A text reads as true the way the defaults read it: its first significant character is
// Y, y, T, t or a digit 1-9.
bool textBoolValue(const std::string& text) {
    for (char c : text) {
        if (std::isspace(static_cast<unsigned char>(c)) || c == '+' || c == '-' || c == '0') {
            continue;
        }
        return c == 'Y' || c == 'y' || c == 'T' || c == 't' || (c >= '1' && c <= '9');
    }
    return false;
}

std::optional<double> numberValue(const std::optional<VRNDefaultsValue>& value) {
    if (!value) {
        return std::nullopt;
    }
    if (auto d = std::get_if<double>(&*value)) {
        return *d;
    }
    if (auto i = std::get_if<int64_t>(&*value)) {
        return static_cast<double>(*i);
    }
    if (auto b = std::get_if<bool>(&*value)) {
        return *b ? 1.0 : 0.0;
    }
    return std::nullopt;
}

}  // namespace

VRNAppRepository::VRNAppRepository(std::shared_ptr<VRNKeyValueStore> userDefaults)
    : userDefaults_(userDefaults ? std::move(userDefaults) : VRNKeyValueStore::standard()) {}

std::shared_ptr<VRNAppRepository> VRNAppRepository::sharedInstance() {
    static const auto instance = std::make_shared<VRNAppRepository>();
    return instance;
}

bool VRNAppRepository::boolForKey(const std::string& key, bool absentValue) const {
    const auto value = userDefaults_->value(key);
    if (!value) {
        return absentValue;
    }
    if (auto text = std::get_if<std::string>(&*value)) {
        return textBoolValue(*text);
    }
    if (auto number = numberValue(value)) {
        return *number != 0;
    }
    return false;
}

bool VRNAppRepository::applicationActive() const {
    return boolForKey(kVRNApplicationActiveKey, true);
}

void VRNAppRepository::setApplicationActive(bool active) {
    VRNLog("VRNAppRepository - Setting application active -> %s", active ? "True" : "False");
    userDefaults_->setValue(kVRNApplicationActiveKey, active);
}

bool VRNAppRepository::clientAuthorized() const {
    return boolForKey(kVRNApplicationAuthorizedKey, false);
}

void VRNAppRepository::setClientAuthorized(bool authorized) {
    VRNLog("VRNAppRepository - Setting client authorized -> %s", authorized ? "True" : "False");
    userDefaults_->setValue(kVRNApplicationAuthorizedKey, authorized);
}

std::optional<std::string> VRNAppRepository::emailAddress() const {
    const auto value = userDefaults_->value(kVRNEmailAddressKey);
    if (!value) {
        return std::nullopt;
    }
    if (auto text = std::get_if<std::string>(&*value)) {
        return *text;
    }
    return std::nullopt;
}

void VRNAppRepository::setEmailAddress(const std::optional<std::string>& email) {
    setObject(email ? std::optional<VRNDefaultsValue>(*email) : std::nullopt, kVRNEmailAddressKey);
}

std::optional<VRNDefaultsValue> VRNAppRepository::lastUsedColor() const {
    return getObjectForKey(kVRNLastUsedColorKey);
}
void VRNAppRepository::setLastUsedColor(const std::optional<VRNDefaultsValue>& color) {
    setObject(color, kVRNLastUsedColorKey);
}

std::optional<double> VRNAppRepository::floatingButtonFrameX() const {
    return numberValue(getObjectForKey(kVRNFloatingButtonFrameXKey));
}
void VRNAppRepository::setFloatingButtonFrameX(const std::optional<double>& x) {
    setObject(x ? std::optional<VRNDefaultsValue>(*x) : std::nullopt, kVRNFloatingButtonFrameXKey);
}
std::optional<double> VRNAppRepository::floatingButtonFrameY() const {
    return numberValue(getObjectForKey(kVRNFloatingButtonFrameYKey));
}
void VRNAppRepository::setFloatingButtonFrameY(const std::optional<double>& y) {
    setObject(y ? std::optional<VRNDefaultsValue>(*y) : std::nullopt, kVRNFloatingButtonFrameYKey);
}

#define VRN_OBJECT_ACCESSORS(Getter, Setter, Key)                             \
    std::optional<VRNDefaultsValue> VRNAppRepository::Getter() const {        \
        return getObjectForKey(Key);                                          \
    }                                                                         \
    void VRNAppRepository::Setter(const std::optional<VRNDefaultsValue>& v) { \
        setObject(v, Key);                                                    \
    }

VRN_OBJECT_ACCESSORS(identifier, setIdentifier, kIdentifierKey)
VRN_OBJECT_ACCESSORS(createdDate, setCreatedDate, kCreatedDateKey)
VRN_OBJECT_ACCESSORS(updatedDate, setUpdatedDate, kUpdatedDateKey)
VRN_OBJECT_ACCESSORS(textColor, setTextColor, kTextColorKey)
VRN_OBJECT_ACCESSORS(backgroundColor, setBackgroundColor, kBackgroundColorKey)
VRN_OBJECT_ACCESSORS(placeholderColor, setPlaceholderColor, kPlaceholderColorKey)
VRN_OBJECT_ACCESSORS(highlightedTextColor, setHighlightedTextColor, kHighlightedTextColorKey)
VRN_OBJECT_ACCESSORS(logoUrl, setLogoUrl, kLogoUrlKey)
VRN_OBJECT_ACCESSORS(slogan, setSlogan, kSloganKey)

#undef VRN_OBJECT_ACCESSORS

void VRNAppRepository::setObject(const std::optional<VRNDefaultsValue>& value,
                                 const std::string& key) {
    if (value) {
        userDefaults_->setValue(key, *value);
    } else {
        userDefaults_->removeValue(key);
    }
}

std::optional<VRNDefaultsValue> VRNAppRepository::getObjectForKey(const std::string& key) const {
    return userDefaults_->value(key);
}

void VRNAppRepository::setData(const std::optional<VRNData>& data, const std::string& key) {
    setObject(data ? std::optional<VRNDefaultsValue>(*data) : std::nullopt, key);
}

std::optional<VRNData> VRNAppRepository::getData(const std::string& key) const {
    const auto value = userDefaults_->value(key);
    if (!value) {
        return std::nullopt;
    }
    if (auto data = std::get_if<VRNData>(&*value)) {
        return *data;
    }
    return std::nullopt;
}

void VRNAppRepository::removeObjectForKey(const std::string& key) {
    userDefaults_->removeValue(key);
}

}  // namespace vorna
