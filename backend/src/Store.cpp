#include "Store.h"

#include "SqliteStore.h"
#include "Text.h"

namespace vorna::backend {

bool Store::isServerUrl(const std::string& database) {
    return Text::istartsWith(database, "postgresql://") || Text::istartsWith(database, "postgres://");
}

std::unique_ptr<Store> Store::open(const std::string& database) {
    if (isServerUrl(database)) {
        throw StoreError("this vorna-backend was built without PostgreSQL");
    }
    return SqliteStore::open(database);
}

}  // namespace vorna::backend
