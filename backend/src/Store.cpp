#include "Store.h"

#include "PostgresStore.h"
#include "SqliteStore.h"
#include "Text.h"

namespace vorna::backend {

bool Store::isServerUrl(const std::string& database) {
    return Text::istartsWith(database, "postgresql://") ||
           Text::istartsWith(database, "postgres://");
}

std::unique_ptr<Store> Store::open(const std::string& database) {
    if (isServerUrl(database)) {
        return PostgresStore::open(database);
    }
    return SqliteStore::open(database);
}

std::string Store::likePattern(const std::string& text) {
    if (text.empty()) {
        return text;
    }
    std::string pattern = "%";
    for (const char c : text) {
        if (c == '%' || c == '_' || c == '\\') {
            pattern += '\\';
        }
        pattern += c;
    }
    return pattern + "%";
}

}  // namespace vorna::backend
