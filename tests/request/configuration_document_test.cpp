#include "tests/support/page_reader.h"
#include "tests/support/request_test.h"
#include "util/files.h"

#include <algorithm>
#include <filesystem>
#include <regex>
#include <set>

// docs/configuration.md says what the program does: it is held against the pages and the sources.

namespace zandorin::test {
namespace {

namespace fs = std::filesystem;

class ConfigurationDocument : public RequestTest {};

TEST_F(ConfigurationDocument, HasTheElementsOfEveryPage) {
    equip();
    std::map<std::string, std::map<std::string, std::string>> documented;
    for (const DocumentedKey &row : documentedKeys())
        documented[row.page][row.key] = row.type;
    for (const std::string &page : navigationLeaves())
        EXPECT_EQ(readElements(get("form=" + page, login()).body), documented[page]) << page;
}

TEST_F(ConfigurationDocument, HasTheKeysOfTheSources) {
    static const std::regex quoted("\"(config\\.[a-z0-9_.]+)\"");
    static const std::regex bare("\\b(config\\.[a-z0-9_.]+)");
    const auto rows = documentedKeys();
    EXPECT_GT(rows.size(), 100U);
    for (const char *folder : {"cgi", "engine", "forms", "framework", "platform", "ui", "util",
                               "rootfs/home/httpd/forms"})
        for (const auto &file :
             fs::recursive_directory_iterator(fs::path(ZANDORIN_SOURCE_DIR) / folder)) {
            const std::string extension = file.path().extension();
            const bool isCode = extension == ".cpp" || extension == ".h";
            const std::string text = readFile(file.path()).value_or("");
            for (std::sregex_iterator match(text.begin(), text.end(), isCode ? quoted : bare), end;
                 match != end; ++match) {
                const std::string key = (*match)[1];
                // Whole, or as far as it goes: the rest is another piece, or no constant.
                EXPECT_TRUE(std::any_of(rows.begin(), rows.end(),
                                        [&](const auto &row) {
                                            return row.key == key ||
                                                   (row.key.starts_with(key) &&
                                                    (key.back() == '.' ||
                                                     row.key[key.size()] == '.' ||
                                                     std::isdigit(row.key[key.size()]) != 0));
                                        }))
                    << key << " of " << file.path();
            }
        }
}

} // namespace
} // namespace zandorin::test
