#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "platform/VRNError.h"
#include "platform/storage/VRNKeyValueStore.h"

namespace vorna {

class VRNCoder;
class VRNDecoder;

// An object that can be written into a keyed archive. Its class name travels with it, so that a
// secure reader can refuse classes it does not expect before any of their code runs.
class VRNCoding {
public:
    virtual ~VRNCoding() = default;
    virtual std::string archiveClassName() const = 0;
    virtual void encodeWithCoder(VRNCoder& coder) const = 0;
};

using VRNCodingPtr = std::shared_ptr<VRNCoding>;

// One value in an archive: nothing, a boolean, an integer, a floating number, a string, data,
// an array, a dictionary with string keys, or an object of a registered class.
struct VRNArchiveValue {
    using Array = std::vector<VRNArchiveValue>;
    using Dictionary = std::map<std::string, VRNArchiveValue>;
    using Storage = std::variant<std::monostate, bool, int64_t, double, std::string, VRNData, Array,
                                 Dictionary, VRNCodingPtr>;

    Storage value;

    VRNArchiveValue() = default;
    VRNArchiveValue(bool v) : value(v) {}
    VRNArchiveValue(int v) : value(static_cast<int64_t>(v)) {}
    VRNArchiveValue(int64_t v) : value(v) {}
    VRNArchiveValue(double v) : value(v) {}
    VRNArchiveValue(std::string v) : value(std::move(v)) {}
    VRNArchiveValue(const char* v) : value(std::string(v)) {}
    VRNArchiveValue(VRNData v) : value(std::move(v)) {}
    VRNArchiveValue(Array v) : value(std::move(v)) {}
    VRNArchiveValue(Dictionary v) : value(std::move(v)) {}
    VRNArchiveValue(VRNCodingPtr v) : value(std::move(v)) {}

    bool isNull() const { return std::holds_alternative<std::monostate>(value); }
    const std::string* string() const { return std::get_if<std::string>(&value); }
    const VRNData* data() const { return std::get_if<VRNData>(&value); }
    const Array* array() const { return std::get_if<Array>(&value); }
    const Dictionary* dictionary() const { return std::get_if<Dictionary>(&value); }
    VRNCodingPtr object() const {
        auto p = std::get_if<VRNCodingPtr>(&value);
        return p ? *p : nullptr;
    }
};

// Written by an object's encodeWithCoder(): its values under keys.
class VRNCoder {
public:
    void encode(const std::string& key, VRNArchiveValue value) { values_[key] = std::move(value); }
    // An absent optional writes nothing, so it reads back absent.
    void encodeString(const std::string& key, const std::optional<std::string>& value) {
        if (value) {
            values_[key] = *value;
        }
    }
    const VRNArchiveValue::Dictionary& values() const { return values_; }
    VRNArchiveValue::Dictionary takeValues() { return std::move(values_); }

private:
    VRNArchiveValue::Dictionary values_;
};

// Read by a class's factory: the values of one archived object, already checked.
class VRNDecoder {
public:
    explicit VRNDecoder(VRNArchiveValue::Dictionary values) : values_(std::move(values)) {}
    const VRNArchiveValue* valueForKey(const std::string& key) const {
        auto it = values_.find(key);
        return it == values_.end() ? nullptr : &it->second;
    }
    std::optional<std::string> decodeString(const std::string& key) const {
        auto v = valueForKey(key);
        return v && v->string() ? std::optional<std::string>(*v->string()) : std::nullopt;
    }
    std::optional<VRNData> decodeData(const std::string& key) const {
        auto v = valueForKey(key);
        return v && v->data() ? std::optional<VRNData>(*v->data()) : std::nullopt;
    }
    // Moves the data out of the decoder (it reads as absent afterwards): for large payloads.
    std::optional<VRNData> takeData(const std::string& key) {
        auto it = values_.find(key);
        if (it == values_.end()) {
            return std::nullopt;
        }
        auto* data = std::get_if<VRNData>(&it->second.value);
        return data ? std::optional<VRNData>(std::move(*data)) : std::nullopt;
    }
    VRNCodingPtr decodeObject(const std::string& key) const {
        auto v = valueForKey(key);
        return v ? v->object() : nullptr;
    }
    const VRNArchiveValue::Dictionary& values() const { return values_; }

private:
    VRNArchiveValue::Dictionary values_;
};

// The classes an archive may name, with their superclasses, and how each is made from a
// decoder. A class must be registered before an archive naming it can be read; the built-in
// collection and value classes (NSArray, NSMutableArray, NSDictionary, NSMutableDictionary,
// NSString, NSData, NSMutableData) always are.
class VRNArchiveClassRegistry {
public:
    using Factory = std::function<VRNCodingPtr(VRNDecoder&)>;
    static void registerClass(const std::string& name, const std::string& superclass,
                              Factory factory);
    static bool isRegistered(const std::string& name);
    // True when `name` is `ancestor` or inherits from it.
    static bool isKindOf(const std::string& name, const std::string& ancestor);
    static Factory factory(const std::string& name);
};

// Writes a value into the kit's keyed archive: CBOR in which every object, array, dictionary,
// string and data value carries its class name.
class VRNKeyedArchiver {
public:
    static VRNData archivedDataWithRootObject(const VRNArchiveValue& root);
};

// Reads an archive back. The secure reader refuses, with an error naming it, any class that is
// not one of the allowed classes or a subclass of one; numbers and booleans are always accepted.
// The plain reader accepts every registered class.
class VRNKeyedUnarchiver {
public:
    static std::optional<VRNArchiveValue> unarchivedObjectOfClasses(
        const std::set<std::string>& allowedClasses, const VRNData& data, VRNErrorPtr* error);
    static std::optional<VRNArchiveValue> unarchiveObjectWithData(const VRNData& data,
                                                                  VRNErrorPtr* error = nullptr);
};

inline constexpr const char* VRNCocoaErrorDomain = "NSCocoaErrorDomain";
inline constexpr int64_t VRNCoderReadCorruptError = 4864;
inline constexpr int64_t VRNCoderValueNotFoundError = 4865;

}  // namespace vorna
