#include "report/VRNReportArchiving.h"

#include <mutex>

#include "blackbox/VRNBlackBoxObject.h"
#include "state/VRNConstants.h"

namespace vorna {
namespace {

class FileCoding : public VRNCoding {
public:
    explicit FileCoding(std::shared_ptr<VRNVornaFile> wrapped) : file(std::move(wrapped)) {}
    std::string archiveClassName() const override { return "VRNVornaFile"; }
    void encodeWithCoder(VRNCoder& coder) const override {
        coder.encodeString(kNameKey, file->name());
        if (file->data()) {
            coder.encode(kDataKey, *file->data());
        }
    }
    std::shared_ptr<VRNVornaFile> file;
};

class ReportDataCoding : public VRNCoding {
public:
    explicit ReportDataCoding(std::shared_ptr<VRNVornaReportData> wrapped)
        : data(std::move(wrapped)) {}
    std::string archiveClassName() const override { return "VRNVornaReportData"; }
    void encodeWithCoder(VRNCoder& coder) const override {
        if (const auto& dict = data->gatheredDataDict()) {
            VRNArchiveValue::Dictionary entries;
            for (const auto& [key, value] : *dict) {
                entries.emplace(key, VRNReportArchiving::archiveValue(value));
            }
            coder.encode(kGatheredDataKey, std::move(entries));
        }
        if (const auto& files = data->attachedFiles()) {
            VRNArchiveValue::Array list;
            for (const auto& file : *files) {
                if (file) {
                    list.push_back(VRNReportArchiving::encode(file));
                }
            }
            coder.encode(kAttachedFilesKey, std::move(list));
        }
        if (data->screenshotFile()) {
            coder.encode(kScreenshotFileKey, VRNReportArchiving::encode(data->screenshotFile()));
        }
        coder.encodeString(kQuickFactsKey, data->quickFacts());
    }
    std::shared_ptr<VRNVornaReportData> data;
};

std::shared_ptr<VRNVornaFile> fileFrom(const VRNArchiveValue* value) {
    if (value == nullptr) {
        return nullptr;
    }
    auto coding = std::dynamic_pointer_cast<FileCoding>(value->object());
    return coding ? coding->file : nullptr;
}

}  // namespace

void VRNReportArchiving::registerArchiveClasses() {
    static std::once_flag once;
    std::call_once(once, [] {
        VRNBlackBoxObject::registerArchiveClasses();
        VRNArchiveClassRegistry::registerClass(
            "VRNVornaFile", "NSObject", [](VRNDecoder& decoder) -> VRNCodingPtr {
                auto bytes = decoder.takeData(kDataKey);
                std::shared_ptr<const VRNVornaFile::Bytes> data;
                if (bytes) {
                    data = std::make_shared<const VRNVornaFile::Bytes>(std::move(*bytes));
                }
                return std::make_shared<FileCoding>(
                    std::make_shared<VRNVornaFile>(decoder.decodeString(kNameKey), data));
            });
        VRNArchiveClassRegistry::registerClass(
            "VRNVornaReportData", "NSObject", [](const VRNDecoder& decoder) -> VRNCodingPtr {
                // Reading back does not gather anything anew: a saved report keeps the facts of
                // the moment it was made.
                auto data = std::make_shared<VRNVornaReportData>(VRNVornaReportData::Empty{});
                if (auto value = decoder.valueForKey(kGatheredDataKey);
                    value && value->dictionary()) {
                    VRNGatheredDataDict dict;
                    for (const auto& [key, item] : *value->dictionary()) {
                        if (auto gathered = gatheredValue(item)) {
                            dict.emplace(key, std::move(*gathered));
                        }
                    }
                    data->setGatheredDataDict(std::move(dict));
                }
                if (auto value = decoder.valueForKey(kAttachedFilesKey); value && value->array()) {
                    VRNVornaReportData::Files files;
                    for (const auto& item : *value->array()) {
                        if (auto file = fileFrom(&item)) {
                            files.push_back(std::move(file));
                        }
                    }
                    data->setAttachedFiles(std::move(files));
                }
                data->setScreenshotFile(fileFrom(decoder.valueForKey(kScreenshotFileKey)));
                data->setQuickFacts(decoder.decodeString(kQuickFactsKey));
                return std::make_shared<ReportDataCoding>(std::move(data));
            });
    });
}

VRNArchiveValue VRNReportArchiving::encode(const std::shared_ptr<VRNVornaReportData>& reportData) {
    return VRNArchiveValue(VRNCodingPtr(std::make_shared<ReportDataCoding>(reportData)));
}

VRNArchiveValue VRNReportArchiving::encode(const std::shared_ptr<VRNVornaFile>& file) {
    return VRNArchiveValue(VRNCodingPtr(std::make_shared<FileCoding>(file)));
}

VRNData VRNReportArchiving::archive(const std::shared_ptr<VRNVornaReportData>& reportData) {
    return VRNKeyedArchiver::archivedDataWithRootObject(encode(reportData));
}

const std::set<std::string>& VRNReportArchiving::allowedClasses() {
    static const std::set<std::string> classes{"NSDictionary",   "NSMutableDictionary",
                                               "NSData",         "NSMutableData",
                                               "NSString",       "NSArray",
                                               "NSMutableArray", "VRNVornaReportData",
                                               "VRNVornaFile",   "VRNBlackBoxObject"};
    return classes;
}

std::shared_ptr<VRNVornaReportData> VRNReportArchiving::unarchive(const VRNData& data,
                                                                  VRNErrorPtr* error) {
    registerArchiveClasses();
    auto value = VRNKeyedUnarchiver::unarchivedObjectOfClasses(allowedClasses(), data, error);
    if (!value) {
        return nullptr;
    }
    auto coding = std::dynamic_pointer_cast<ReportDataCoding>(value->object());
    if (!coding) {
        if (error) {
            *error = VRNError::make(VRNCocoaErrorDomain, VRNCoderReadCorruptError,
                                    "The archive's root object is not a report.");
        }
        return nullptr;
    }
    return coding->data;
}

std::optional<VRNGatheredValue> VRNReportArchiving::gatheredValue(const VRNArchiveValue& value) {
    return std::visit(
        [](const auto& v) -> std::optional<VRNGatheredValue> {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, std::string> || std::is_same_v<T, int64_t> ||
                          std::is_same_v<T, double> || std::is_same_v<T, bool>) {
                return VRNGatheredValue(v);
            } else if constexpr (std::is_same_v<T, VRNArchiveValue::Array>) {
                std::vector<std::shared_ptr<VRNBlackBoxObject>> records;
                for (const auto& item : v) {
                    if (auto record = std::dynamic_pointer_cast<VRNBlackBoxObject>(item.object())) {
                        records.push_back(std::move(record));
                    }
                }
                return VRNGatheredValue(std::move(records));
            } else {
                return std::nullopt;
            }
        },
        value.value);
}

VRNArchiveValue VRNReportArchiving::archiveValue(const VRNGatheredValue& value) {
    return std::visit(
        [](const auto& v) -> VRNArchiveValue {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, std::vector<std::shared_ptr<VRNBlackBoxObject>>>) {
                VRNArchiveValue::Array list;
                for (const auto& record : v) {
                    list.push_back(VRNArchiveValue(VRNCodingPtr(record)));
                }
                return VRNArchiveValue(std::move(list));
            } else {
                return VRNArchiveValue(v);
            }
        },
        value);
}

}  // namespace vorna
