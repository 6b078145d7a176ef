#include "tests/support/pages.h"

#include "util/files.h"

#include <cctype>

namespace zandorin::test {

namespace {

void readOptions(PageField &field, const Element &menu) {
    menu.each([&field](const Element &element) {
        if (element.tag == "option") {
            field.options.push_back(element.get("value"));
            // The first is what a browser sends when none is selected.
            if (field.options.size() == 1 || element.find("selected") != nullptr)
                field.value = field.options.back();
        }
        return true;
    });
}

PageField fieldOf(const Element &element) {
    PageField field{.name = element.get("name"),
                    .kind = element.tag == "input" ? element.get("type") : element.tag};
    field.checked = element.find("checked") != nullptr;
    field.value = element.tag == "textarea"  ? element.text
                  : field.kind == "checkbox" ? "on"
                                             : element.get("value");
    if (element.tag == "select")
        readOptions(field, element);
    return field;
}

/// Adds it; a radio button of the name before is another choice of that.
void add(std::vector<PageField> &fields, PageField field) {
    if (field.kind == "radio" && (fields.empty() || fields.back().name != field.name)) {
        field.options = {field.value};
    } else if (field.kind == "radio") {
        fields.back().options.push_back(field.value);
        if (field.checked)
            fields.back().value = field.value;
        return;
    }
    fields.push_back(std::move(field));
}

} // namespace

std::vector<PageField> readFields(const std::string &page, const std::string &form,
                                  const std::string &type) {
    const Element whole = parsePage(page);
    // What stands before it, the search for one, is on every page.
    const Element &main = whole.first("main");
    std::map<std::string, std::string> shown;
    std::vector<PageField> fields;
    (form.empty() ? main : main.first("form", "name", form)).each([&](const Element &element) {
        const std::string id = element.get("id");
        if (id.ends_with(".current"))
            shown[id.substr(0, id.rfind('.'))] = element.get("title");
        const std::string kind = element.get("type");
        if (element.tag == "select" || element.tag == "textarea" ||
            (element.tag == "input" && kind != "submit" && kind != "button"))
            add(fields, fieldOf(element));
        const bool isPanel = id.ends_with("_check_div") || id.ends_with("_action_div");
        return type.empty() || !isPanel || id.starts_with(type + "_");
    });
    for (PageField &field : fields)
        field.current = shown[field.name];
    return fields;
}

std::map<std::string, std::string> readElements(const std::string &page) {
    static const std::regex line("Form Element: <b>([^<]*)</b> = '<i>[^<]*</i>' "
                                 "\\{<b>type</b>:'<i>([^<]*)</i>'");
    std::map<std::string, std::string> elements;
    for (std::sregex_iterator match(page.begin(), page.end(), line), end; match != end; ++match)
        elements[(*match)[1]] = (*match)[2];
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

std::set<std::string> settingsPages() {
    std::set<std::string> pages;
    for (const DocumentedKey &row : documentedKeys())
        pages.insert(row.page);
    pages.erase("");
    return pages;
}

std::string formQuery(const std::string &page) {
    return "form=" + page + (page == "serialconfig" ? "&port=1" : "");
}

std::vector<std::string> navigationLeaves() {
    return captures(readFile(ZANDORIN_SOURCE_DIR "/rootfs/home/httpd/nav.xml").value_or(""),
                    "<leaf id=\"([^\"]*)\"");
}

std::string testName(std::string words) {
    std::replace_if(
        words.begin(), words.end(), [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
    return words;
}

} // namespace zandorin::test
