#include "FaultInjector.h"

namespace vorna::backend {

namespace {

std::string_view withoutLeadingSlash(std::string_view path) {
    while (!path.empty() && path.front() == '/') {
        path.remove_prefix(1);
    }
    return path;
}

}  // namespace

std::optional<FaultInjector::Fault> FaultInjector::fromJson(const nlohmann::json& json,
                                                            std::string& error) {
    if (!json.is_object()) {
        error = "a fault is a JSON object";
        return std::nullopt;
    }
    Fault fault;
    const auto path = json.find("path");
    if (path == json.end() || !path->is_string() || path->get<std::string>().empty()) {
        error = "a fault needs \"path\", e.g. \"api/1.0/files\"";
        return std::nullopt;
    }
    fault.path = std::string(withoutLeadingSlash(path->get<std::string>()));
    if (const auto count = json.find("count"); count != json.end()) {
        if (!count->is_number_integer() || count->get<int>() < 1) {
            error = "\"count\" is a whole number of requests, at least 1";
            return std::nullopt;
        }
        fault.remaining = count->get<int>();
    }
    if (const auto status = json.find("status"); status != json.end()) {
        if (!status->is_number_integer() || status->get<int>() < 100 || status->get<int>() > 599) {
            error = "\"status\" is an HTTP status code between 100 and 599";
            return std::nullopt;
        }
        fault.status = status->get<int>();
    }
    if (const auto delay = json.find("delay_ms"); delay != json.end()) {
        if (!delay->is_number_integer() || delay->get<int>() < 0 || delay->get<int>() > 600000) {
            error = "\"delay_ms\" is a number of milliseconds between 0 and 600000";
            return std::nullopt;
        }
        fault.delayMs = delay->get<int>();
    }
    if (const auto drop = json.find("drop"); drop != json.end()) {
        if (!drop->is_boolean()) {
            error = "\"drop\" is true or false";
            return std::nullopt;
        }
        fault.drop = drop->get<bool>();
    }
    if (const auto body = json.find("body"); body != json.end()) {
        if (!body->is_string()) {
            error = "\"body\" is the text of the answer";
            return std::nullopt;
        }
        fault.body = body->get<std::string>();
    }
    if (fault.status == 0 && fault.delayMs == 0 && !fault.drop) {
        error = "a fault needs \"status\", \"delay_ms\" or \"drop\": true";
        return std::nullopt;
    }
    if (fault.drop && fault.status != 0) {
        error = "a dropped connection cannot answer a status";
        return std::nullopt;
    }
    return fault;
}

std::string FaultInjector::describe(const Fault& fault) {
    std::string text;
    if (fault.delayMs > 0) {
        text += "delay " + std::to_string(fault.delayMs) + " ms";
    }
    if (fault.status != 0) {
        text += (text.empty() ? "" : ", ") + std::string("status ") + std::to_string(fault.status);
    }
    if (fault.drop) {
        text += (text.empty() ? "" : ", ") + std::string("drop");
    }
    return text;
}

void FaultInjector::add(Fault fault) {
    std::lock_guard lock(mutex_);
    faults_.push_back(std::move(fault));
}

void FaultInjector::clear() {
    std::lock_guard lock(mutex_);
    faults_.clear();
}

bool FaultInjector::matches(const Fault& fault, std::string_view path) {
    if (!fault.path.empty() && fault.path.back() == '*') {
        return path.starts_with(std::string_view(fault.path).substr(0, fault.path.size() - 1));
    }
    return path == fault.path;
}

std::optional<FaultInjector::Fault> FaultInjector::take(std::string_view path) {
    path = withoutLeadingSlash(path);
    std::lock_guard lock(mutex_);
    for (auto it = faults_.begin(); it != faults_.end(); ++it) {
        if (matches(*it, path)) {
            Fault taken = *it;
            if (--it->remaining <= 0) {
                faults_.erase(it);
            }
            return taken;
        }
    }
    return std::nullopt;
}

nlohmann::json FaultInjector::pending() const {
    std::lock_guard lock(mutex_);
    nlohmann::json list = nlohmann::json::array();
    for (const Fault& fault : faults_) {
        nlohmann::json entry = {{"path", fault.path}, {"count", fault.remaining}};
        if (fault.status != 0) {
            entry["status"] = fault.status;
        }
        if (fault.delayMs != 0) {
            entry["delay_ms"] = fault.delayMs;
        }
        if (fault.drop) {
            entry["drop"] = true;
        }
        if (fault.body) {
            entry["body"] = *fault.body;
        }
        list.push_back(std::move(entry));
    }
    return list;
}

}  // namespace vorna::backend
