#include "connectivity/VRNConnection.h"

#include <cstdlib>

#include "platform/loop/VRNRunLoop.h"
#include "state/VRNConstants.h"
#include "vorna/VRNLog.h"

namespace vorna {
namespace {

// Drops template arguments from one name component: "Queue<int>" → "Queue".
std::string withoutTemplateArguments(const std::string& component) {
    std::string out;
    int depth = 0;
    for (char c : component) {
        if (c == '<') {
            ++depth;
        } else if (c == '>') {
            --depth;
        } else if (depth == 0) {
            out += c;
        }
    }
    return out;
}

// Splits a qualified name at "::" outside template brackets and parentheses.
std::vector<std::string> qualifiedComponents(const std::string& name) {
    std::vector<std::string> parts;
    std::string current;
    int depth = 0;
    for (size_t i = 0; i < name.size(); ++i) {
        const char c = name[i];
        if (c == '<' || c == '(') {
            ++depth;
        } else if (c == '>' || c == ')') {
            --depth;
        }
        if (depth == 0 && c == ':' && i + 1 < name.size() && name[i + 1] == ':') {
            parts.push_back(current);
            current.clear();
            ++i;
            continue;
        }
        current += c;
    }
    parts.push_back(current);
    return parts;
}

}  // namespace

VRNConnection::VRNConnection(std::unique_ptr<VRNReachability> reachability,
                             std::shared_ptr<VRNRunLoop> runLoop, VRNNotificationCenter& center)
    : networkReachability_(std::move(reachability)), runLoop_(std::move(runLoop)), center_(center) {
    observer_ = center_.subscribe(VRNReachabilityChangedNotification,
                                  [this](const VRNNotification& n) { reachabilityChanged(n); });
}

VRNConnection::~VRNConnection() {
    // Deaf to changes before the monitoring is taken down and the parked blocks dropped.
    observer_.reset();
    if (monitoring) {
        stopMonitoring();
    }
    cancelGlobalPendingBlocks();
}

std::shared_ptr<VRNConnection> VRNConnection::sharedInstance() {
    // Lives as long as the process, like the run loop it delivers on.
    static auto* instance = new std::shared_ptr<VRNConnection>(std::make_shared<VRNConnection>(
        VRNMakeLinuxReachability(), VRNRunLoop::main(), VRNNotificationCenter::defaultCenter()));
    return *instance;
}

bool VRNConnection::hasConnectivity() {
    if (!networkReachability_) {
        return false;
    }
    const auto read = networkReachability_->flags();
    if (!read) {
        return false;
    }
    const uint32_t flags = *read;
    if ((flags & kVRNReachabilityReachable) == 0) {
        return false;
    }
    if ((flags & kVRNReachabilityConnectionRequired) == 0) {
        return true;
    }
    if ((flags & kVRNReachabilityIsWWAN) != 0) {
        return true;
    }
    if ((flags & (kVRNReachabilityConnectionOnDemand | kVRNReachabilityConnectionOnTraffic)) != 0 &&
        (flags & kVRNReachabilityInterventionRequired) == 0) {
        return true;
    }
    return false;
}

void VRNConnection::startMonitoring() {
    if (!networkReachability_ || monitoring) {
        return;
    }
    monitoring = true;
    auto& center = center_;
    if (networkReachability_->setCallback(
            [&center] { center.post(VRNReachabilityChangedNotification); })) {
        networkReachability_->scheduleWithRunLoop(runLoop_);
    }
}

void VRNConnection::stopMonitoring() {
    if (networkReachability_) {
        networkReachability_->setCallback({});
        networkReachability_->unscheduleFromRunLoop();
    }
    monitoring = false;
}

void VRNConnection::performWhenConnected(std::function<void()> block, std::source_location caller) {
    parkOrRun(std::move(block), caller.function_name());
}

void VRNConnection::parkOrRun(std::function<void()> block, const char* functionName) {
    CallerFailure failure = CallerFailure::None;
    const auto key = callerKey(functionName, &failure);
    if (failure == CallerFailure::CouldNotDetermine) {
        VRNLog(
            "VRNConnection - Could not determine the caller of the performWhenConnected method, "
            "returning");
        return;
    }
    if (failure == CallerFailure::Incomplete || !key) {
        VRNLog(
            "VRNConnection - Incomplete caller information for the performWhenConnected "
            "method, returning");
        return;
    }
    if (hasConnectivity()) {
        VRNLog("VRNConnection - Performing block immediately as we are connected");
        block();
        return;
    }
    {
        std::lock_guard lock(arrayLock_);
        blocksDictionary_[*key] = std::move(block);
    }
    startMonitoring();
}

std::optional<std::string> VRNConnection::callerKey(const char* functionName,
                                                    CallerFailure* failure) {
    auto fail = [&](CallerFailure why) -> std::optional<std::string> {
        if (failure) {
            *failure = why;
        }
        return std::nullopt;
    };
    if (failure) {
        *failure = CallerFailure::None;
    }
    std::string text = functionName ? functionName : "";
    // "void ns::Class::method(int) [with T = int]": the name is what stands before the
    // parameter list, after the return type.
    if (auto with = text.find(" [with "); with != std::string::npos) {
        text.erase(with);
    }
    size_t open = std::string::npos;
    int depth = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '<') {
            ++depth;
        } else if (text[i] == '>') {
            --depth;
        } else if (text[i] == '(' && depth == 0) {
            open = i;
            break;
        }
    }
    std::string name = text.substr(0, open);
    depth = 0;
    size_t start = 0;
    for (size_t i = 0; i < name.size(); ++i) {
        if (name[i] == '<') {
            ++depth;
        } else if (name[i] == '>') {
            --depth;
        } else if (name[i] == ' ' && depth == 0) {
            start = i + 1;
        }
    }
    name = name.substr(start);
    auto parts = qualifiedComponents(name);
    // The kit's own namespace and unnamed namespaces are not classes: a free function there has
    // no class to key by. (A host's namespace cannot be told from a class by its name alone; a
    // free function in one is keyed by the namespace, which is just as stable.)
    std::erase_if(parts, [](const std::string& part) {
        return part == "vorna" || part == "(anonymous namespace)";
    });
    if (parts.size() < 2) {
        return fail(CallerFailure::CouldNotDetermine);
    }
    const std::string className = withoutTemplateArguments(parts[parts.size() - 2]);
    const std::string methodName = withoutTemplateArguments(parts.back());
    if (className.empty() || methodName.empty()) {
        return fail(CallerFailure::Incomplete);
    }
    return className + methodName;
}

std::string VRNConnection::className(const std::type_info& type) {
    int status = 0;
    char* demangled = abi::__cxa_demangle(type.name(), nullptr, nullptr, &status);
    std::string name = (status == 0 && demangled) ? demangled : type.name();
    std::free(demangled);
    auto parts = qualifiedComponents(name);
    return withoutTemplateArguments(parts.back());
}

void VRNConnection::cancelPendingBlocksForClassName(const std::string& name) {
    if (name.empty()) {
        return;
    }
    VRNLog("VRNConnection - Canceling pending blocks scheduled from %s class", name.c_str());
    for (const auto& key : pendingKeys()) {
        if (key.find(name) != std::string::npos) {
            std::lock_guard lock(arrayLock_);
            blocksDictionary_.erase(key);
        }
    }
}

void VRNConnection::cancelGlobalPendingBlocks() {
    VRNLog("VRNConnection - Canceling all global pending blocks");
    stopMonitoring();
    std::lock_guard lock(arrayLock_);
    blocksDictionary_.clear();
}

void VRNConnection::reachabilityChanged(const VRNNotification& /*notification*/) {
    if (!hasConnectivity()) {
        return;
    }
    // A block may park or cancel others while it runs, so the loop walks a snapshot of the
    // keys and fetches each block from the live dictionary.
    for (const auto& key : pendingKeys()) {
        std::function<void()> block;
        {
            std::lock_guard lock(arrayLock_);
            auto it = blocksDictionary_.find(key);
            if (it != blocksDictionary_.end()) {
                block = it->second;
            }
        }
        if (block) {
            block();
        }
        std::lock_guard lock(arrayLock_);
        blocksDictionary_.erase(key);
    }
}

std::vector<std::string> VRNConnection::pendingKeys() {
    std::lock_guard lock(arrayLock_);
    std::vector<std::string> keys;
    keys.reserve(blocksDictionary_.size());
    for (const auto& [key, block] : blocksDictionary_) {
        keys.push_back(key);
    }
    return keys;
}

}  // namespace vorna
