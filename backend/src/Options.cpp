#include "Options.h"

#include <charconv>
#include <cstdint>
#include <fstream>

#include "Store.h"
#include "Text.h"

namespace vorna::backend {

const char* Options::usage() {
    return "usage: vorna-backend [--host ADDRESS] [--port PORT] [--data-dir DIR]\n"
           "                     [--database URL|FILE] [--files-dir DIR]\n"
           "                     [--client ID:SECRET ...] [--expire-tokens] [--max-body-mb N]\n"
           "                     [--head-timeout DURATION] [--idle-timeout DURATION]\n"
           "                     [--keep-alive-timeout DURATION] [--max-connections N]\n"
           "                     [--workers N]\n"
           "\n"
           "  --host ADDRESS     address to listen on (default 127.0.0.1)\n"
           "  --port PORT        port to listen on, 0 for any free port (default 8642)\n"
           "  --data-dir DIR     database and uploaded files (default ./vorna-backend-data)\n"
           "  --database URL|FILE\n"
           "                     postgresql://USER@HOST:PORT/DB to keep everything in\n"
           "                     PostgreSQL, or a SQLite file (default DIR/vorna-backend.sqlite3)\n"
           "  --files-dir DIR    uploaded files; backends sharing a database share it too\n"
           "                     (default DIR/files of the data directory)\n"
           "  --client ID:SECRET a client that may ask for access tokens; repeatable. More\n"
           "                     clients come from DIR/clients.txt, one ID:SECRET a line.\n"
           "                     With none at all, demo-client:demo-secret is accepted.\n"
           "  --expire-tokens    refuse access tokens after their expires_in (3600 s); by\n"
           "                     default they stay valid, as clients never refresh them\n"
           "  --max-body-mb N    largest request body in MiB (default 256)\n"
           "\n"
           "  What one client may hold (a DURATION is 10s, 1500ms, or seconds):\n"
           "  --head-timeout DURATION\n"
           "                     to send a whole request head (default 10s)\n"
           "  --idle-timeout DURATION\n"
           "                     longest pause in a body or in taking an answer (default 30s)\n"
           "  --keep-alive-timeout DURATION\n"
           "                     an idle connection is closed after this (default 30s)\n"
           "  --max-connections N\n"
           "                     connections open at once, 1 to 768 (default 512); past it the\n"
           "                     one that has waited longest for a request is closed\n"
           "  --workers N        threads that serve requests, 1 to 256 (default 32)\n";
}

std::optional<std::chrono::milliseconds> Options::parseDuration(const std::string& text) {
    std::uint64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [unit, ec] = std::from_chars(text.data(), end, number);
    if (ec != std::errc() || unit == text.data()) {
        return std::nullopt;
    }
    const std::string_view suffix(unit, static_cast<std::size_t>(end - unit));
    std::uint64_t millis = 0;
    if (suffix == "ms") {
        millis = number;
    } else if ((suffix.empty() || suffix == "s") && number <= 86'400) {
        millis = number * 1000;
    } else {
        return std::nullopt;
    }
    if (millis == 0 || millis > 86'400'000) {
        return std::nullopt;
    }
    return std::chrono::milliseconds(millis);
}

std::optional<ClientCredentials> Options::parseClient(const std::string& text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos || colon == 0) {
        return std::nullopt;
    }
    return ClientCredentials{text.substr(0, colon), text.substr(colon + 1)};
}

std::optional<Options> Options::parse(const std::vector<std::string>& args, std::string& error) {
    Options options;
    for (std::size_t i = 0; i < args.size(); ++i) {
        std::string arg = args[i];
        std::optional<std::string> inlineValue;
        if (arg.starts_with("--")) {
            if (const std::size_t equals = arg.find('='); equals != std::string::npos) {
                inlineValue = arg.substr(equals + 1);
                arg.resize(equals);
            }
        }
        const auto value = [&]() -> std::optional<std::string> {
            if (inlineValue) {
                return inlineValue;
            }
            if (i + 1 >= args.size()) {
                error = arg + " needs a value";
                return std::nullopt;
            }
            return args[++i];
        };
        if (arg == "--help" || arg == "-h") {
            options.help = true;
        } else if (arg == "--host") {
            const auto host = value();
            if (!host) {
                return std::nullopt;
            }
            options.host = *host;
        } else if (arg == "--port") {
            const auto text = value();
            if (!text) {
                return std::nullopt;
            }
            int port = -1;
            const auto [end, ec] = std::from_chars(text->data(), text->data() + text->size(), port);
            if (ec != std::errc() || end != text->data() + text->size() || port < 0 ||
                port > 65535) {
                error = "--port takes a number from 0 to 65535, not \"" + *text + "\"";
                return std::nullopt;
            }
            options.port = port;
        } else if (arg == "--data-dir") {
            const auto dir = value();
            if (!dir) {
                return std::nullopt;
            }
            if (dir->empty()) {
                error = "--data-dir needs a directory";
                return std::nullopt;
            }
            options.dataDir = *dir;
        } else if (arg == "--database") {
            const auto database = value();
            if (!database) {
                return std::nullopt;
            }
            // Any other scheme would otherwise become the name of a SQLite file.
            if (database->empty() ||
                (database->find("://") != std::string::npos && !Store::isServerUrl(*database))) {
                error = "--database takes a postgresql:// URL or the path of a SQLite file";
                return std::nullopt;
            }
            options.database = *database;
        } else if (arg == "--files-dir") {
            const auto dir = value();
            if (!dir) {
                return std::nullopt;
            }
            if (dir->empty()) {
                error = "--files-dir needs a directory";
                return std::nullopt;
            }
            options.filesDir = *dir;
        } else if (arg == "--client") {
            const auto text = value();
            if (!text) {
                return std::nullopt;
            }
            const auto client = parseClient(*text);
            if (!client) {
                error = "--client takes ID:SECRET, not \"" + *text + "\"";
                return std::nullopt;
            }
            options.clients.push_back(*client);
        } else if (arg == "--expire-tokens") {
            options.expireTokens = true;
        } else if (arg == "--max-body-mb") {
            const auto text = value();
            if (!text) {
                return std::nullopt;
            }
            std::size_t megabytes = 0;
            const auto [end, ec] =
                std::from_chars(text->data(), text->data() + text->size(), megabytes);
            if (ec != std::errc() || end != text->data() + text->size() || megabytes == 0 ||
                megabytes > 64 * 1024) {
                error = "--max-body-mb takes a number of MiB from 1 to 65536";
                return std::nullopt;
            }
            options.maxBodyBytes = megabytes * 1024 * 1024;
        } else if (arg == "--head-timeout" || arg == "--idle-timeout" ||
                   arg == "--keep-alive-timeout") {
            const auto text = value();
            if (!text) {
                return std::nullopt;
            }
            const auto duration = parseDuration(*text);
            if (!duration) {
                error = arg + " takes a duration such as 10s or 1500ms, not \"" + *text + "\"";
                return std::nullopt;
            }
            (arg == "--head-timeout"   ? options.headTimeout
             : arg == "--idle-timeout" ? options.idleTimeout
                                       : options.keepAliveTimeout) = *duration;
        } else if (arg == "--max-connections" || arg == "--workers") {
            const auto text = value();
            if (!text) {
                return std::nullopt;
            }
            const std::size_t most = arg == "--workers" ? 256 : 768;
            std::size_t count = 0;
            const auto [end, ec] =
                std::from_chars(text->data(), text->data() + text->size(), count);
            if (ec != std::errc() || end != text->data() + text->size() || count == 0 ||
                count > most) {
                error = arg + " takes a number from 1 to " + std::to_string(most);
                return std::nullopt;
            }
            (arg == "--workers" ? options.workers : options.maxConnections) = count;
        } else {
            error = "unknown argument \"" + args[i] + "\"";
            return std::nullopt;
        }
    }
    return options;
}

std::string Options::databaseOrDefault() const {
    return database.empty() ? (dataDir / "vorna-backend.sqlite3").string() : database;
}

std::filesystem::path Options::filesDirOrDefault() const {
    return filesDir.empty() ? dataDir / "files" : filesDir;
}

bool Options::readClientsFile(const std::filesystem::path& file,
                              std::vector<ClientCredentials>& clients, std::string& error) {
    std::ifstream in(file);
    if (!in) {
        error = "cannot read " + file.string();
        return false;
    }
    std::string line;
    int number = 0;
    while (std::getline(in, line)) {
        ++number;
        const std::string trimmed(Text::trim(line));
        if (trimmed.empty() || trimmed.front() == '#') {
            continue;
        }
        const auto client = parseClient(trimmed);
        if (!client) {
            error = file.string() + ":" + std::to_string(number) + ": expected ID:SECRET";
            return false;
        }
        clients.push_back(*client);
    }
    return true;
}

}  // namespace vorna::backend
