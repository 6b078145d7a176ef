#include "tests/support/page_reader.h"

#include "tests/support/request_test.h"
#include "util/files.h"

#include <algorithm>
#include <cctype>
#include <regex>
#include <sstream>

namespace zandorin::test {

namespace {

std::string resolveEntities(const std::string &text) {
    static const std::map<std::string, char> names = {
        {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};
    static const std::regex entity("&(?:#x([0-9a-f]+)|([a-z]+));");
    std::string result;
    auto rest = text.cbegin();
    for (std::smatch match; std::regex_search(rest, text.cend(), match, entity);
         rest = match[0].second) {
        result.append(rest, match[0].first);
        result += match[1].matched ? static_cast<char>(std::stoi(match[1].str(), nullptr, 16))
                                   : names.at(match[2].str());
    }
    return result.append(rest, text.cend());
}

std::string attributeOf(const std::string &tag, const std::string &name) {
    std::smatch match;
    return std::regex_search(tag, match, std::regex(" " + name + "=\"([^\"]*)\""))
               ? resolveEntities(match[1].str())
               : "";
}

bool hasWord(const std::string &tag, const std::string &word) {
    return std::regex_search(tag, std::regex(" " + word + "(?=[ >/])"));
}

void readOptions(PageField &field, const std::string &content) {
    for (const std::string &tag : captures(content, "(<option[^>]*>)")) {
        field.options.push_back(attributeOf(tag, "value"));
        // The first is what a browser sends when none is selected.
        if (field.options.size() == 1 || hasWord(tag, "selected"))
            field.value = field.options.back();
    }
}

} // namespace

std::vector<PageField> readFields(const std::string &whole) {
    // What stands before it, the search for one, is on every page.
    const auto main = whole.find("<main");
    const std::string page = whole.substr(main == std::string::npos ? 0 : main);
    static const std::regex start("<(input|select|textarea)\\b[^>]*>");
    static const std::regex current("<div id=\"([^\"]*)\\.current\" title=\"([^\"]*)\"");
    std::map<std::string, std::string> shown;
    for (std::sregex_iterator match(page.begin(), page.end(), current), end; match != end; ++match)
        shown[(*match)[1]] = resolveEntities((*match)[2]);

    std::vector<PageField> fields;
    for (std::sregex_iterator match(page.begin(), page.end(), start), end; match != end; ++match) {
        const std::string tag = match->str();
        PageField field{.name = attributeOf(tag, "name"), .kind = (*match)[1].str()};
        const auto after = static_cast<std::size_t>(match->position() + match->length());
        if (field.kind == "input") {
            field.kind = attributeOf(tag, "type");
            field.value = attributeOf(tag, "value");
            field.checked = hasWord(tag, "checked");
        } else {
            const std::string content =
                page.substr(after, page.find("</" + field.kind, after) - after);
            if (field.kind == "select")
                readOptions(field, content);
            else
                field.value = resolveEntities(content);
        }
        if (field.kind == "checkbox")
            field.value = "on";
        if (const auto found = shown.find(field.name); found != shown.end())
            field.current = found->second;
        if (field.kind == "radio" && !fields.empty() && fields.back().name == field.name) {
            fields.back().options.push_back(field.value);
            if (field.checked)
                fields.back().value = field.value;
        } else if (field.kind != "submit" && field.kind != "button") {
            if (field.kind == "radio")
                field.options = {field.value};
            fields.push_back(field);
        }
    }
    return fields;
}

std::map<std::string, std::string> readElements(const std::string &page) {
    static const std::regex line("Form Element: <b>([^<]*)</b> = '<i>[^<]*</i>' "
                                 "\\{<b>type</b>:'<i>([^<]*)</i>'");
    std::map<std::string, std::string> elements;
    for (std::sregex_iterator match(page.begin(), page.end(), line), end; match != end; ++match)
        elements[resolveEntities((*match)[1])] = resolveEntities((*match)[2]);
    return elements;
}

std::vector<DocumentedKey> documentedKeys() {
    std::istringstream lines(
        readFile(ZANDORIN_SOURCE_DIR "/docs/configuration.md").value_or("(missing)"));
    static const std::regex heading("## (?:Page `([^`]+)`: )?.*");
    static const std::regex row("\\| `(config\\.[^`]+)` \\| ([a-z_0-9]+)[^|]*\\|.*");
    std::vector<DocumentedKey> keys;
    std::string page;
    std::smatch match;
    for (std::string line; std::getline(lines, line);)
        if (std::regex_match(line, match, heading)) {
            page = match[1];
        } else if (std::regex_match(line, match, row)) {
            std::string key = match[1];
            for (const auto &[holder, name] : std::vector<std::pair<const char *, const char *>>{
                     {"<port>", "console"}, {"<interface>", "wan"}, {"<[a-z]+>", "1"}})
                key = std::regex_replace(key, std::regex(holder), name);
            keys.push_back({key, match[2], page});
        }
    return keys;
}

std::string testName(std::string words) {
    std::replace_if(
        words.begin(), words.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return words;
}

std::set<std::string> settingsPages() {
    std::set<std::string> pages;
    for (const DocumentedKey &row : documentedKeys())
        pages.insert(row.page);
    pages.erase("");
    return pages;
}

std::vector<std::string> navigationLeaves() {
    return captures(readFile(ZANDORIN_SOURCE_DIR "/rootfs/home/httpd/nav.xml").value_or(""),
                    "<leaf id=\"([^\"]*)\"");
}

} // namespace zandorin::test
