#pragma once

#include <libpq-fe.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vorna::backend::pg {

namespace detail {
struct ClearResult {
    void operator()(PGresult* result) const { PQclear(result); }
};
struct FinishConnection {
    void operator()(PGconn* connection) const { PQfinish(connection); }
};
}  // namespace detail

using ResultHandle = std::unique_ptr<PGresult, detail::ClearResult>;
using ConnectionHandle = std::unique_ptr<PGconn, detail::FinishConnection>;

// The values of one statement's $1, $2, ... All go in binary form with their type named, so a
// text keeps every byte (none is cut at a NUL; the server refuses what its encoding cannot
// hold) and bytes need no escaping. Texts and bytes are referred to, not copied: they must
// outlive the statement.
class Params {
public:
    Params& text(const std::string& value);
    Params& text(const std::optional<std::string>& value);
    Params& bytes(const std::string& value);
    Params& integer(std::int64_t value);
    Params& boolean(bool value);

    int count() const { return static_cast<int>(values_.size()); }
    const Oid* types() const { return types_.data(); }
    const char* const* values() const { return values_.data(); }
    const int* lengths() const { return lengths_.data(); }
    const int* formats() const { return formats_.data(); }

private:
    void add(Oid type, const char* data, std::size_t size);

    std::vector<Oid> types_;
    std::vector<const char*> values_;
    std::vector<int> lengths_;
    std::vector<int> formats_;
    std::deque<std::string> owned_;  // the encoded numbers; a deque keeps their addresses
};

// The rows a statement answered, in binary form.
class Rows {
public:
    explicit Rows(ResultHandle result) : result_(std::move(result)) {}

    int count() const { return PQntuples(result_.get()); }
    bool isNull(int row, int column) const;
    // A text or bytes column: its bytes as they are kept.
    std::string text(int row, int column) const;
    // A smallint, integer or bigint column.
    std::int64_t integer(int row, int column) const;
    bool boolean(int row, int column) const;

private:
    ResultHandle result_;
};

// One connection to the PostgreSQL server. A failure throws StoreUnavailable when the server
// cannot be reached or is going away (the connection is then broken and must be dropped), and
// StoreError for anything else the server refused.
class Connection {
public:
    // Connects to a "postgresql://" URL. Settings of the URL win over this program's defaults
    // (a short connect time-out, keep-alives, UTF-8, its application name).
    static Connection open(const std::string& url);

    Rows run(const char* sql, const Params& params = {});
    // Runs statements without parameters, several separated by ';'.
    void execute(const char* sql);

    // False once the link to the server failed; such a connection is of no further use.
    bool usable() const { return usable_ && PQstatus(handle_.get()) == CONNECTION_OK; }
    // For a connection that waited in a pool: an idle connection has nothing to read, so
    // anything readable is the server's goodbye (a restart, a terminated session) or its
    // end-of-file, and the connection is not worth a statement.
    bool stillIdle() const;

private:
    explicit Connection(ConnectionHandle handle) : handle_(std::move(handle)) {}
    ResultHandle check(ResultHandle result, const char* sql);

    ConnectionHandle handle_;
    bool usable_ = true;
};

// libpq's messages run over several lines; log lines and start-up failures want one.
std::string oneLine(const char* message);

// The URL as it may be shown: any password in it replaced by "***".
std::string withoutPassword(const std::string& url);

}  // namespace vorna::backend::pg
