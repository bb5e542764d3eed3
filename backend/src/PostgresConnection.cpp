#include "PostgresConnection.h"

#include <endian.h>
#include <poll.h>

#include <cstring>
#include <string_view>

#include "Store.h"

namespace vorna::backend::pg {

namespace {

// Type numbers of the server's built-in types (pg_type.oid), fixed since the types exist.
constexpr Oid kBoolean = 16;
constexpr Oid kBytes = 17;
constexpr Oid kBigint = 20;
constexpr Oid kSmallint = 21;
constexpr Oid kInteger = 23;
constexpr Oid kText = 25;

// Whether an error means "the server cannot do it just now" rather than "it never will":
// connection failures (08), too many connections, full disk or memory (53), a server that is
// shutting down or starting up (57P01-57P03), a read-only standby after a fail-over (25006),
// and the conflicts whose transaction is simply to be tried again (40001, 40P01).
bool isTransient(std::string_view state) {
    return state.starts_with("08") || state.starts_with("53") || state == "57P01" ||
           state == "57P02" || state == "57P03" || state == "25006" || state == "40001" ||
           state == "40P01";
}

// The server's notices ("relation already exists, skipping") are of no interest, and libpq
// would print them to standard error, where the request log goes.
void ignoreNotice(void*, const char*) {}

std::uint64_t bigEndian(const char* data, int size) {
    std::uint64_t value = 0;
    for (int i = 0; i < size; ++i) {
        value = (value << 8) | static_cast<unsigned char>(data[i]);
    }
    return value;
}

}  // namespace

Params& Params::text(const std::string& value) {
    add(kText, value.data(), value.size());
    return *this;
}

Params& Params::text(const std::optional<std::string>& value) {
    if (!value) {
        add(kText, nullptr, 0);
        return *this;
    }
    return text(*value);
}

Params& Params::bytes(const std::string& value) {
    add(kBytes, value.data(), value.size());
    return *this;
}

Params& Params::integer(std::int64_t value) {
    const std::uint64_t wire = htobe64(static_cast<std::uint64_t>(value));
    std::string& owned = owned_.emplace_back(sizeof wire, '\0');
    std::memcpy(owned.data(), &wire, sizeof wire);
    add(kBigint, owned.data(), owned.size());
    return *this;
}

Params& Params::boolean(bool value) {
    const std::string& owned = owned_.emplace_back(1, value ? '\1' : '\0');
    add(kBoolean, owned.data(), owned.size());
    return *this;
}

void Params::add(Oid type, const char* data, std::size_t size) {
    types_.push_back(type);
    values_.push_back(data);  // a null pointer is SQL NULL
    lengths_.push_back(static_cast<int>(size));
    formats_.push_back(1);
}

bool Rows::isNull(int row, int column) const {
    return PQgetisnull(result_.get(), row, column) != 0;
}

std::string Rows::text(int row, int column) const {
    const char* data = PQgetvalue(result_.get(), row, column);
    return std::string(data, static_cast<std::size_t>(PQgetlength(result_.get(), row, column)));
}

std::int64_t Rows::integer(int row, int column) const {
    const int size = PQgetlength(result_.get(), row, column);
    const char* data = PQgetvalue(result_.get(), row, column);
    const Oid type = PQftype(result_.get(), column);
    if ((type != kBigint && type != kInteger && type != kSmallint) ||
        (size != 8 && size != 4 && size != 2)) {
        throw StoreError("a database column is not the whole number this backend expects");
    }
    const std::uint64_t raw = bigEndian(data, size);
    // Sign-extend the narrower types.
    const int unused = 64 - 8 * size;
    return static_cast<std::int64_t>(raw << unused) >> unused;
}

bool Rows::boolean(int row, int column) const {
    return PQgetlength(result_.get(), row, column) == 1 &&
           PQgetvalue(result_.get(), row, column)[0] != 0;
}

Connection Connection::open(const std::string& url) {
    // Later keywords win, and the URL is expanded in the place of "dbname", so what the URL
    // says overrides these defaults.
    const char* const keywords[] = {"connect_timeout",
                                    "keepalives_idle",
                                    "keepalives_interval",
                                    "keepalives_count",
                                    "client_encoding",
                                    "application_name",
                                    "dbname",
                                    nullptr};
    const char* const values[] = {"5",         "30",   "10", "3", "UTF8", "vorna-backend",
                                  url.c_str(), nullptr};
    ConnectionHandle handle(PQconnectdbParams(keywords, values, 1));
    if (!handle) {
        throw StoreUnavailable("out of memory for a PostgreSQL connection");
    }
    if (PQstatus(handle.get()) != CONNECTION_OK) {
        throw StoreUnavailable(oneLine(PQerrorMessage(handle.get())));
    }
    PQsetNoticeProcessor(handle.get(), ignoreNotice, nullptr);
    return Connection(std::move(handle));
}

Rows Connection::run(const char* sql, const Params& params) {
    ResultHandle result(PQexecParams(handle_.get(), sql, params.count(), params.types(),
                                     params.values(), params.lengths(), params.formats(), 1));
    return Rows(check(std::move(result), sql));
}

void Connection::execute(const char* sql) {
    check(ResultHandle(PQexec(handle_.get(), sql)), sql);
}

bool Connection::stillIdle() const {
    if (!usable()) {
        return false;
    }
    pollfd pfd{PQsocket(handle_.get()), POLLIN, 0};
    return pfd.fd >= 0 && ::poll(&pfd, 1, 0) == 0;
}

ResultHandle Connection::check(ResultHandle result, const char* sql) {
    const ExecStatusType status = result ? PQresultStatus(result.get()) : PGRES_FATAL_ERROR;
    if (status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK) {
        return result;
    }
    const char* state = result ? PQresultErrorField(result.get(), PG_DIAG_SQLSTATE) : nullptr;
    const char* primary =
        result ? PQresultErrorField(result.get(), PG_DIAG_MESSAGE_PRIMARY) : nullptr;
    const std::string message =
        primary != nullptr ? std::string(primary) : oneLine(PQerrorMessage(handle_.get()));
    if (PQstatus(handle_.get()) != CONNECTION_OK || (state != nullptr && isTransient(state))) {
        usable_ = false;
        throw StoreUnavailable(message);
    }
    // The first words of the statement say which one failed without repeating all of it.
    const std::string_view statement(sql);
    throw StoreError("PostgreSQL refused \"" +
                     std::string(statement.substr(0, std::min<std::size_t>(statement.size(), 40))) +
                     "...\": " + message);
}

std::string oneLine(const char* message) {
    std::string line;
    std::string_view rest(message != nullptr ? message : "");
    while (!rest.empty()) {
        const std::size_t end = rest.find('\n');
        std::string_view part = rest.substr(0, end);
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
        while (!part.empty() && (part.front() == ' ' || part.front() == '\t')) {
            part.remove_prefix(1);
        }
        while (!part.empty() &&
               (part.back() == ' ' || part.back() == '\t' || part.back() == '\r')) {
            part.remove_suffix(1);
        }
        if (!part.empty()) {
            line += line.empty() ? "" : "; ";
            line += part;
        }
    }
    return line.empty() ? std::string("unknown PostgreSQL error") : line;
}

std::string withoutPassword(const std::string& url) {
    const std::size_t scheme = url.find("://");
    if (scheme == std::string::npos) {
        return url;
    }
    const std::size_t authorityStart = scheme + 3;
    const std::size_t authorityEnd = url.find_first_of("/?", authorityStart);
    const std::string_view authority = std::string_view(url).substr(
        authorityStart,
        authorityEnd == std::string::npos ? std::string::npos : authorityEnd - authorityStart);
    const std::size_t at = authority.rfind('@');
    const std::size_t colon = authority.substr(0, at).find(':');
    std::string shown = url;
    if (at != std::string_view::npos && colon != std::string_view::npos) {
        shown.replace(authorityStart + colon + 1, at - colon - 1, "***");
    }
    // A password can also come as a query parameter.
    const std::size_t query = shown.find('?');
    if (query == std::string::npos) {
        return shown;
    }
    std::string shownQuery;
    std::string_view rest = std::string_view(shown).substr(query + 1);
    while (true) {
        const std::size_t end = rest.find('&');
        const std::string_view pair = rest.substr(0, end);
        shownQuery += shownQuery.empty() ? "?" : "&";
        shownQuery += pair.starts_with("password=") ? std::string_view("password=***") : pair;
        if (end == std::string_view::npos) {
            break;
        }
        rest.remove_prefix(end + 1);
    }
    return shown.substr(0, query) + shownQuery;
}

}  // namespace vorna::backend::pg
