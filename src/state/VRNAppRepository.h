#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/storage/VRNKeyValueStore.h"

namespace vorna {

// The little state the kit keeps between launches, as typed values over the host's defaults
// under "ketrano." keys. Safe from several threads: the store underneath is.
class VRNAppRepository {
public:
    // Over the given defaults; none means the host application's standard defaults.
    explicit VRNAppRepository(std::shared_ptr<VRNKeyValueStore> userDefaults = nullptr);

    static std::shared_ptr<VRNAppRepository> sharedInstance();

    const std::shared_ptr<VRNKeyValueStore>& userDefaults() const { return userDefaults_; }

    bool applicationActive() const;
    void setApplicationActive(bool active);
    bool clientAuthorized() const;
    void setClientAuthorized(bool authorized);
    std::optional<std::string> emailAddress() const;
    void setEmailAddress(const std::optional<std::string>& email);
    std::optional<VRNDefaultsValue> lastUsedColor() const;
    void setLastUsedColor(const std::optional<VRNDefaultsValue>& color);
    std::optional<double> floatingButtonFrameX() const;
    void setFloatingButtonFrameX(const std::optional<double>& x);
    std::optional<double> floatingButtonFrameY() const;
    void setFloatingButtonFrameY(const std::optional<double>& y);

    // A copy of the branding record could be kept under these; nothing in the kit does.
    std::optional<VRNDefaultsValue> identifier() const;
    void setIdentifier(const std::optional<VRNDefaultsValue>& v);
    std::optional<VRNDefaultsValue> createdDate() const;
    void setCreatedDate(const std::optional<VRNDefaultsValue>& v);
    std::optional<VRNDefaultsValue> updatedDate() const;
    void setUpdatedDate(const std::optional<VRNDefaultsValue>& v);
    std::optional<VRNDefaultsValue> textColor() const;
    void setTextColor(const std::optional<VRNDefaultsValue>& v);
    std::optional<VRNDefaultsValue> backgroundColor() const;
    void setBackgroundColor(const std::optional<VRNDefaultsValue>& v);
    std::optional<VRNDefaultsValue> placeholderColor() const;
    void setPlaceholderColor(const std::optional<VRNDefaultsValue>& v);
    std::optional<VRNDefaultsValue> highlightedTextColor() const;
    void setHighlightedTextColor(const std::optional<VRNDefaultsValue>& v);
    std::optional<VRNDefaultsValue> logoUrl() const;
    void setLogoUrl(const std::optional<VRNDefaultsValue>& v);
    std::optional<VRNDefaultsValue> slogan() const;
    void setSlogan(const std::optional<VRNDefaultsValue>& v);

    // Raw access. Setting nothing removes the key, as the defaults do.
    void setObject(const std::optional<VRNDefaultsValue>& value, const std::string& key);
    std::optional<VRNDefaultsValue> getObjectForKey(const std::string& key) const;
    void setData(const std::optional<VRNData>& data, const std::string& key);
    // Only data answers: a key holding a value of another kind reads as nothing.
    std::optional<VRNData> getData(const std::string& key) const;
    void removeObjectForKey(const std::string& key);

private:
    bool boolForKey(const std::string& key, bool absentValue) const;

    std::shared_ptr<VRNKeyValueStore> userDefaults_;
};

inline constexpr const char* kVRNApplicationActiveKey = "ketrano.applicationActiveKey";
inline constexpr const char* kVRNApplicationAuthorizedKey = "ketrano.applicationAuthorizedKey";
inline constexpr const char* kVRNEmailAddressKey = "ketrano.emailAddressKey";
inline constexpr const char* kVRNLastUsedColorKey = "ketrano.lastUsedColor";
inline constexpr const char* kVRNFloatingButtonFrameXKey = "ketrano.floatingButtonFrameX";
inline constexpr const char* kVRNFloatingButtonFrameYKey = "ketrano.floatingButtonFrameY";

}  // namespace vorna
