#include "tests/support/page_reader.h"
#include "tests/support/request_test.h"
#include "util/files.h"

#include <algorithm>
#include <filesystem>
#include <regex>
#include <set>
#include <sstream>

#include <gmock/gmock.h>

// docs/configuration.md says what the program does: its tables are held against the pages and
// against the sources.

namespace zandorin::test {
namespace {

namespace fs = std::filesystem;

/// A row of the document: a key, perhaps with place holders such as "<n>", its type, and the page
/// it stands under ("" for none).
struct Documented {
    std::string key;
    std::string type;
    std::string page;
};

std::vector<Documented> documentedKeys() {
    std::istringstream lines(
        readFile(ZANDORIN_SOURCE_DIR "/docs/configuration.md").value_or("(missing)"));
    static const std::regex heading("## (?:Page `([a-z]+)`: )?.*");
    static const std::regex row("\\| `(config\\.[^`]+)` \\| ([a-z_0-9]+)[^|]*\\|.*");
    std::vector<Documented> keys;
    std::string page;
    std::smatch match;
    for (std::string line; std::getline(lines, line);)
        if (std::regex_match(line, match, heading))
            page = match[1];
        else if (std::regex_match(line, match, row))
            keys.push_back({match[1], match[2], page});
    return keys;
}

class ConfigurationDocument : public RequestTest,
                              public ::testing::WithParamInterface<std::string> {};

TEST_P(ConfigurationDocument, HasTheElementsOfThePage) {
    configure("config.ui.debug", "on");
    configure("config.auth.pmshell.available", "on");
    put("/var/run/snmpd/snmpapp.conf", "oldEngineID 0x8000\n");
    auto undocumented = readElements(get("form=" + GetParam(), login()).body);
    std::set<std::string> gone;
    for (const Documented &row : documentedKeys()) {
        if (row.page != GetParam())
            continue;
        const std::regex key(std::regex_replace(row.key, std::regex("<[a-z]+>"), "[a-z0-9]+"));
        const auto found =
            std::find_if(undocumented.begin(), undocumented.end(), [&](const auto &element) {
                return element.second == row.type && std::regex_match(element.first, key);
            });
        if (found == undocumented.end())
            gone.insert(row.key + " of type " + row.type);
        else
            undocumented.erase(found);
    }
    EXPECT_THAT(undocumented, ::testing::IsEmpty());
    EXPECT_THAT(gone, ::testing::IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Of, ConfigurationDocument, ::testing::ValuesIn(navigationLeaves()),
                         [](const auto &parameter) { return parameter.param; });

/// What stands between quotes in the program and, where it looks like a key, in the templates.
std::set<std::string> keyPieces() {
    static const std::regex quoted("\"([a-z0-9_.]+)\"");
    static const std::regex key("\\b(config\\.[a-z0-9_.]+)");
    std::set<std::string> pieces;
    for (const char *folder : {"cgi", "engine", "forms", "framework", "platform", "ui", "util",
                               "rootfs/home/httpd/forms"}) {
        const fs::path path = fs::path(ZANDORIN_SOURCE_DIR) / folder;
        for (const auto &file : fs::recursive_directory_iterator(path)) {
            const std::string extension = file.path().extension();
            const bool code = extension == ".cpp" || extension == ".h";
            if (file.is_directory())
                continue;
            const std::string text = readFile(file.path()).value_or("");
            for (std::sregex_iterator match(text.begin(), text.end(), code ? quoted : key), end;
                 match != end; ++match)
                pieces.insert((*match)[1]);
        }
    }
    return pieces;
}

/// The key can be put together from the pieces, one after the other, with anything in the place
/// of a place holder.
bool isSpelled(std::string_view rest, const std::set<std::string> &pieces, bool joint) {
    if (rest.empty())
        return true;
    if (rest.front() == '<')
        return isSpelled(rest.substr(rest.find('>') + 1), pieces, true);
    for (std::size_t length = rest.size(); length > 0; --length) {
        const std::string piece(rest.substr(0, length));
        // Pieces meet at a dot or at a place holder.
        if ((joint || piece.front() == '.') && pieces.contains(piece) &&
            isSpelled(rest.substr(length), pieces, piece.back() == '.'))
            return true;
    }
    return false;
}

TEST(ConfigurationDocumentKeys, AreThoseOfTheSources) {
    const std::set<std::string> pieces = keyPieces();
    const std::vector<Documented> rows = documentedKeys();
    EXPECT_GT(rows.size(), 100U);

    std::set<std::string> gone;
    std::set<std::string> seen;
    for (const Documented &row : rows) {
        EXPECT_TRUE(seen.insert(row.key).second) << row.key << " stands there twice";
        if (!isSpelled(row.key, pieces, true))
            gone.insert(row.key);
    }
    EXPECT_THAT(gone, ::testing::IsEmpty()) << "in the document, but in no source";

    std::set<std::string> undocumented;
    for (const std::string &piece : pieces) {
        // Whole, or as far as it goes: the rest is another piece, or no constant.
        const auto begins = [&](const Documented &row) {
            const std::string_view key = row.key;
            return key == piece ||
                   (key.starts_with(piece) &&
                    (piece.back() == '.' || key[piece.size()] == '.' || key[piece.size()] == '<'));
        };
        if (piece.starts_with("config.") && std::none_of(rows.begin(), rows.end(), begins))
            undocumented.insert(piece);
    }
    EXPECT_THAT(undocumented, ::testing::IsEmpty()) << "in a source, but not in the document";
}

} // namespace
} // namespace zandorin::test
