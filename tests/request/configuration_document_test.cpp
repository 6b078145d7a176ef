#include "tests/support/page_reader.h"
#include "tests/support/request_test.h"
#include "util/files.h"

#include <algorithm>
#include <filesystem>

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
    const auto rows = documentedKeys();
    EXPECT_GT(rows.size(), 100U);
    for (const char *folder :
         {"cgi", "config-tool", "engine", "forms", "platform", "settings", "types", "ui", "util"})
        for (const auto &file :
             fs::recursive_directory_iterator(fs::path(ZANDORIN_SOURCE_DIR) / folder))
            for (const std::string &key :
                 captures(readFile(file.path()).value_or(""), "\"(config\\.[a-z0-9_.]+)\""))
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

} // namespace
} // namespace zandorin::test
