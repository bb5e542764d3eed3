#include "TokenForm.h"

#include <algorithm>

#include "Text.h"

namespace vorna::backend {

namespace {

// A name as long as three times the longest known one can still be one of them written with
// %XX escapes; a longer name is none of them and is not decoded at all.
constexpr std::size_t kLongestEncodedName = 3 * std::string_view("client_secret").size();

std::optional<std::string>* slotFor(TokenForm& form, std::string_view name) {
    std::string decoded;
    if (name.size() <= kLongestEncodedName && name.find_first_of("%+") != std::string_view::npos) {
        decoded = Text::percentDecode(name, true);
        name = decoded;
    }
    if (name == "grant_type") {
        return &form.grantType;
    }
    if (name == "client_id") {
        return &form.clientId;
    }
    if (name == "client_secret") {
        return &form.clientSecret;
    }
    return nullptr;
}

}  // namespace

TokenForm TokenForm::read(std::string_view body) {
    TokenForm form;
    std::size_t fields = 0;
    while (!body.empty()) {
        const std::size_t amp = body.find('&');
        const std::string_view field = body.substr(0, amp);
        body.remove_prefix(amp == std::string_view::npos ? body.size() : amp + 1);
        if (field.empty()) {
            continue;  // "&&" or a trailing '&' separates nothing
        }
        if (++fields > kMaxFields) {
            form.problem = Problem::TooManyFields;
            return form;
        }
        const std::size_t equals = field.find('=');
        const std::string_view name = field.substr(0, equals);
        const std::string_view value =
            equals == std::string_view::npos ? std::string_view() : field.substr(equals + 1);
        std::optional<std::string>* slot = slotFor(form, name);
        if (slot == nullptr || value.empty()) {
            continue;
        }
        if (slot->has_value()) {
            form.problem = Problem::Repeated;
            form.repeatedName = slot == &form.grantType  ? "grant_type"
                                : slot == &form.clientId ? "client_id"
                                                         : "client_secret";
            return form;
        }
        slot->emplace(value);
    }
    return form;
}

std::vector<std::string> TokenForm::spellings(std::string_view sent) {
    std::vector<std::string> all{std::string(sent)};
    for (const bool plusIsSpace : {true, false}) {
        std::string decoded = Text::percentDecode(sent, plusIsSpace);
        if (std::find(all.begin(), all.end(), decoded) == all.end()) {
            all.push_back(std::move(decoded));
        }
    }
    return all;
}

}  // namespace vorna::backend
