#include "platform/storage/VRNKeyedArchive.h"

#include <mutex>
#include <nlohmann/json.hpp>

namespace vorna {
namespace {

using json = nlohmann::json;

constexpr const char* kClassKey = "$class";
constexpr const char* kItemsKey = "$items";
constexpr const char* kValuesKey = "$values";
constexpr const char* kTopKey = "$top";
constexpr const char* kArchiverKey = "$archiver";
constexpr const char* kArchiverName = "VRNKeyedArchiver";
constexpr int kArchiveVersion = 1;
// Archives come from disk, where anything may have been written; nesting deeper than this is
// refused before it can exhaust the stack.
constexpr size_t kMaxDepth = 64;

struct ClassInfo {
    std::string superclass;
    VRNArchiveClassRegistry::Factory factory;
};

struct Registry {
    std::mutex mutex;
    std::map<std::string, ClassInfo> classes{
        {"NSObject", {}},
        {"NSArray", {"NSObject", {}}},
        {"NSMutableArray", {"NSArray", {}}},
        {"NSDictionary", {"NSObject", {}}},
        {"NSMutableDictionary", {"NSDictionary", {}}},
        {"NSString", {"NSObject", {}}},
        {"NSMutableString", {"NSString", {}}},
        {"NSData", {"NSObject", {}}},
        {"NSMutableData", {"NSData", {}}},
    };
};

Registry& registry() {
    static Registry r;
    return r;
}

json classed(const std::string& className, const char* key, json value) {
    // Built member by member: an initializer list would copy every value, data included.
    json object = json::object();
    object[kClassKey] = className;
    object[key] = std::move(value);
    return object;
}

// Consumes the value, so that data moves into the document instead of being copied;
// `dataBytes` adds up the data, for sizing the output once.
json encodeValue(VRNArchiveValue value, size_t& dataBytes) {
    return std::visit(
        [&dataBytes](auto& v) -> json {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, std::monostate>) {
                return nullptr;
            } else if constexpr (std::is_same_v<T, bool> || std::is_same_v<T, int64_t> ||
                                 std::is_same_v<T, double>) {
                return v;
            } else if constexpr (std::is_same_v<T, std::string>) {
                // Strings are objects of their own class, so that a reader can refuse them.
                dataBytes += v.size();
                return classed("NSString", kValuesKey, std::move(v));
            } else if constexpr (std::is_same_v<T, VRNData>) {
                dataBytes += v.size();
                return classed("NSData", kValuesKey, json::binary(std::move(v)));
            } else if constexpr (std::is_same_v<T, VRNArchiveValue::Array>) {
                auto items = json::array();
                for (auto& item : v) {
                    items.push_back(encodeValue(std::move(item), dataBytes));
                }
                return classed("NSArray", kItemsKey, std::move(items));
            } else if constexpr (std::is_same_v<T, VRNArchiveValue::Dictionary>) {
                auto entries = json::object();
                for (auto& [key, item] : v) {
                    entries[key] = encodeValue(std::move(item), dataBytes);
                }
                return classed("NSDictionary", kValuesKey, std::move(entries));
            } else {
                if (!v) {
                    return nullptr;
                }
                VRNCoder coder;
                v->encodeWithCoder(coder);
                auto entries = json::object();
                for (auto& [key, item] : coder.takeValues()) {
                    entries[key] = encodeValue(std::move(item), dataBytes);
                }
                return classed(v->archiveClassName(), kValuesKey, std::move(entries));
            }
        },
        value.value);
}

VRNErrorPtr corrupt(const std::string& why) {
    return VRNError::make(
        VRNCocoaErrorDomain, VRNCoderReadCorruptError,
        "The data couldn't be read because it isn't in the correct format. (" + why + ")");
}

class Reader {
public:
    explicit Reader(const std::set<std::string>* allowed) : allowed_(allowed) {}

    std::optional<VRNArchiveValue> read(json& node, const std::string& key, size_t depth) {
        if (depth > kMaxDepth) {
            error_ = corrupt("nesting too deep");
            return std::nullopt;
        }
        switch (node.type()) {
            case json::value_t::null:
                return VRNArchiveValue();
            case json::value_t::boolean:
                return VRNArchiveValue(node.get<bool>());
            case json::value_t::number_integer:
                return VRNArchiveValue(node.get<int64_t>());
            case json::value_t::number_unsigned: {
                const auto u = node.get<uint64_t>();
                if (u > static_cast<uint64_t>(INT64_MAX)) {
                    return VRNArchiveValue(static_cast<double>(u));
                }
                return VRNArchiveValue(static_cast<int64_t>(u));
            }
            case json::value_t::number_float:
                return VRNArchiveValue(node.get<double>());
            case json::value_t::object:
                return readObject(node, key, depth);
            default:
                error_ = corrupt("unexpected value for key '" + key + "'");
                return std::nullopt;
        }
    }

    VRNErrorPtr error() const { return error_; }

private:
    enum class Kind { String, Data, Array, Dictionary, Object };

    Kind kindOf(const std::string& className) {
        auto it = kinds_.find(className);
        if (it != kinds_.end()) {
            return it->second;
        }
        Kind kind = Kind::Object;
        if (VRNArchiveClassRegistry::isKindOf(className, "NSString")) {
            kind = Kind::String;
        } else if (VRNArchiveClassRegistry::isKindOf(className, "NSData")) {
            kind = Kind::Data;
        } else if (VRNArchiveClassRegistry::isKindOf(className, "NSArray")) {
            kind = Kind::Array;
        } else if (VRNArchiveClassRegistry::isKindOf(className, "NSDictionary")) {
            kind = Kind::Dictionary;
        }
        kinds_.emplace(className, kind);
        return kind;
    }

    bool admit(const std::string& className, const std::string& key) {
        // A history holds hundreds of objects of a handful of classes: each class is checked
        // once per archive.
        if (admitted_.count(className) != 0) {
            return true;
        }
        if (!VRNArchiveClassRegistry::isRegistered(className)) {
            error_ =
                VRNError::make(VRNCocoaErrorDomain, VRNCoderReadCorruptError,
                               "cannot decode object of class (" + className + ") for key (" + key +
                                   "); the class may be defined in source code or a library "
                                   "that is not linked");
            return false;
        }
        if (allowed_ == nullptr) {
            admitted_.insert(className);
            return true;
        }
        for (const auto& allowedClass : *allowed_) {
            if (VRNArchiveClassRegistry::isKindOf(className, allowedClass)) {
                admitted_.insert(className);
                return true;
            }
        }
        std::string list;
        for (const auto& allowedClass : *allowed_) {
            list += (list.empty() ? "" : ", ") + allowedClass;
        }
        error_ = VRNError::make(VRNCocoaErrorDomain, VRNCoderReadCorruptError,
                                "value for key '" + key + "' was of unexpected class '" +
                                    className + "'. Allowed classes are '{(" + list + ")}'.");
        return false;
    }

    std::optional<VRNArchiveValue> readObject(json& node, const std::string& key, size_t depth) {
        auto cls = node.find(kClassKey);
        if (cls == node.end() || !cls->is_string()) {
            error_ = corrupt("object without class for key '" + key + "'");
            return std::nullopt;
        }
        const auto className = cls->get<std::string>();
        if (!admit(className, key)) {
            return std::nullopt;
        }
        auto values = node.find(kValuesKey);
        const Kind kind = kindOf(className);
        if (kind == Kind::String) {
            if (values == node.end() || !values->is_string()) {
                error_ = corrupt("malformed string for key '" + key + "'");
                return std::nullopt;
            }
            return VRNArchiveValue(values->get<std::string>());
        }
        if (kind == Kind::Data) {
            if (values == node.end() || !values->is_binary()) {
                error_ = corrupt("malformed data for key '" + key + "'");
                return std::nullopt;
            }
            // Moved out of the parsed document: a large attachment is not copied again.
            return VRNArchiveValue(VRNData(std::move(static_cast<VRNData&>(values->get_binary()))));
        }
        if (kind == Kind::Array) {
            auto items = node.find(kItemsKey);
            if (items == node.end() || !items->is_array()) {
                error_ = corrupt("malformed array for key '" + key + "'");
                return std::nullopt;
            }
            VRNArchiveValue::Array array;
            array.reserve(items->size());
            for (auto& item : *items) {
                auto value = read(item, key, depth + 1);
                if (!value) {
                    return std::nullopt;
                }
                array.push_back(std::move(*value));
            }
            return VRNArchiveValue(std::move(array));
        }
        if (values == node.end() || !values->is_object()) {
            error_ = corrupt("malformed object of class " + className);
            return std::nullopt;
        }
        VRNArchiveValue::Dictionary entries;
        for (auto& [entryKey, item] : values->items()) {
            auto value = read(item, entryKey, depth + 1);
            if (!value) {
                return std::nullopt;
            }
            entries.emplace(entryKey, std::move(*value));
        }
        if (kind == Kind::Dictionary) {
            return VRNArchiveValue(std::move(entries));
        }
        auto factory = VRNArchiveClassRegistry::factory(className);
        if (!factory) {
            error_ = corrupt("class " + className + " cannot be decoded");
            return std::nullopt;
        }
        VRNDecoder decoder(std::move(entries));
        return VRNArchiveValue(factory(decoder));
    }

    const std::set<std::string>* allowed_;
    std::set<std::string, std::less<>> admitted_;
    std::map<std::string, Kind, std::less<>> kinds_;
    VRNErrorPtr error_;
};

// Stops the CBOR reader at the depth limit, before its own recursion can go deeper.
class DepthLimitedSax : public nlohmann::detail::json_sax_dom_parser<json> {
public:
    explicit DepthLimitedSax(json& document)
        : nlohmann::detail::json_sax_dom_parser<json>(document, false) {}
    bool start_object(std::size_t elements) {
        return ++depth_ <= kMaxDepth * 3 &&
               nlohmann::detail::json_sax_dom_parser<json>::start_object(elements);
    }
    bool end_object() {
        --depth_;
        return nlohmann::detail::json_sax_dom_parser<json>::end_object();
    }
    bool start_array(std::size_t elements) {
        return ++depth_ <= kMaxDepth * 3 &&
               nlohmann::detail::json_sax_dom_parser<json>::start_array(elements);
    }
    bool end_array() {
        --depth_;
        return nlohmann::detail::json_sax_dom_parser<json>::end_array();
    }

private:
    size_t depth_ = 0;
};

std::optional<VRNArchiveValue> unarchive(const std::set<std::string>* allowed, const VRNData& data,
                                         VRNErrorPtr* error) {
    auto fail = [&](VRNErrorPtr e) -> std::optional<VRNArchiveValue> {
        if (error) {
            *error = std::move(e);
        }
        return std::nullopt;
    };
    json document;
    DepthLimitedSax sax(document);
    bool parsed = false;
    try {
        parsed = json::sax_parse(data.begin(), data.end(), &sax,
                                 nlohmann::detail::input_format_t::cbor, true);
    } catch (const json::exception& e) {
        return fail(corrupt(e.what()));
    }
    if (!parsed || sax.is_errored()) {
        return fail(corrupt("not a keyed archive"));
    }
    // Every look into the document checks the kind first: json's typed accessors throw on a
    // value of another kind, and a file on disk may hold anything under any key.
    if (!document.is_object()) {
        return fail(corrupt("not a keyed archive"));
    }
    const auto archiver = document.find(kArchiverKey);
    if (archiver == document.end() || !archiver->is_string() ||
        archiver->get_ref<const std::string&>() != kArchiverName) {
        return fail(corrupt("not a keyed archive"));
    }
    auto top = document.find(kTopKey);
    if (top == document.end() || !top->is_object() || !top->contains("root")) {
        return fail(corrupt("archive without root object"));
    }
    Reader reader(allowed);
    auto value = reader.read((*top)["root"], "root", 0);
    if (!value) {
        return fail(reader.error());
    }
    if (error) {
        error->reset();
    }
    return value;
}

}  // namespace

void VRNArchiveClassRegistry::registerClass(const std::string& name, const std::string& superclass,
                                            Factory factory) {
    auto& r = registry();
    std::lock_guard lock(r.mutex);
    r.classes[name] = ClassInfo{superclass, std::move(factory)};
}

bool VRNArchiveClassRegistry::isRegistered(const std::string& name) {
    auto& r = registry();
    std::lock_guard lock(r.mutex);
    return r.classes.count(name) != 0;
}

bool VRNArchiveClassRegistry::isKindOf(const std::string& name, const std::string& ancestor) {
    auto& r = registry();
    std::lock_guard lock(r.mutex);
    std::string current = name;
    for (size_t hops = 0; hops < 64 && !current.empty(); ++hops) {
        if (current == ancestor) {
            return true;
        }
        auto it = r.classes.find(current);
        if (it == r.classes.end()) {
            return false;
        }
        current = it->second.superclass;
    }
    return false;
}

VRNArchiveClassRegistry::Factory VRNArchiveClassRegistry::factory(const std::string& name) {
    auto& r = registry();
    std::lock_guard lock(r.mutex);
    auto it = r.classes.find(name);
    return it == r.classes.end() ? Factory() : it->second.factory;
}

VRNData VRNKeyedArchiver::archivedDataWithRootObject(const VRNArchiveValue& root) {
    size_t dataBytes = 0;
    json top = json::object();
    top["root"] = encodeValue(root, dataBytes);
    json document = json::object();
    document[kArchiverKey] = kArchiverName;
    document["$version"] = kArchiveVersion;
    document[kTopKey] = std::move(top);
    VRNData bytes;
    // Room for the data and the keys around it, so a large attachment is written once.
    bytes.reserve(dataBytes + dataBytes / 64 + 4096);
    json::to_cbor(document, bytes);
    return bytes;
}

std::optional<VRNArchiveValue> VRNKeyedUnarchiver::unarchivedObjectOfClasses(
    const std::set<std::string>& allowedClasses, const VRNData& data, VRNErrorPtr* error) {
    return unarchive(&allowedClasses, data, error);
}

std::optional<VRNArchiveValue> VRNKeyedUnarchiver::unarchiveObjectWithData(const VRNData& data,
                                                                           VRNErrorPtr* error) {
    return unarchive(nullptr, data, error);
}

}  // namespace vorna
