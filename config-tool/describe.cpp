#include "config-tool/describe.h"

#include "config-tool/output.h"
#include "util/json.h"
#include "util/strings.h"

#include <cctype>
#include <functional>

namespace zandorin::config_tool {

namespace {

using settings::Choice;
using settings::Field;
using settings::Input;
using settings::List;
using settings::Section;

/// A field with its key, with <n> and <port> for any of them.
struct Described {
    const Field &field;
    std::string place; ///< of its page or record
    std::string key;
};
using Use = std::function<void(const Described &)>;

std::string placeOf(const settings::Chooser &chooser) {
    const std::string prefix = chooser.prefix;
    return prefix.ends_with('.') ? prefix + "<" + chooser.variable + ">" : prefix + "<n>";
}

void forFields(std::span<const Field> fields, const std::string &place, const std::string &suffix,
               const Use &use) {
    for (const Field &field : fields)
        if (field.input != Input::note)
            use({.field = field,
                 .place = place,
                 .key = (*field.key == '.' ? place : "") + field.key + suffix});
}

void forSections(std::span<const Section> sections, const std::string &place, const Use &use) {
    for (const Section &section : sections)
        forFields(section.fields, place, section.suffix, use);
}

/// `total` is told the key of each list's length.
void forLists(std::span<const List> lists, const std::string &place,
              const std::function<void(const List &, const std::string &)> &total, const Use &use) {
    for (const List &list : lists) {
        const std::string key = (*list.key == '.' ? place : "") + list.key;
        const std::string record = key + "." + list.word + "<n>";
        total(list, key + ".total");
        forSections(list.sections, record, use);
        for (const settings::Variant &variant : list.variants)
            forFields(variant.fields, record, "", use);
        forLists(list.lists, record, total, use);
    }
}

std::string code(const std::string &text) {
    return "`" + text + "`";
}

bool isMenu(const Field &field) {
    return field.input == Input::menu || field.input == Input::radio;
}

std::string defaultOf(const Field &field) {
    if (*field.standard != '\0')
        return field.standard;
    if (field.type == TypeName("boolean"))
        return "off";
    if (!isMenu(field) || field.choices.empty())
        return "";
    const Choice &first = field.choices.front();
    if (*first.value != '\0')
        return first.value;
    std::string words = first.label;
    if (words.starts_with('-')) // asks for a choice
        return "";
    words[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(words[0])));
    return words;
}

std::string choicesOf(const Field &field) {
    constexpr std::size_t most = 20;
    std::string words;
    if (field.choices.size() > most)
        return "";
    for (const Choice &choice : field.choices)
        if (*choice.value != '\0')
            words += (words.empty() ? " One of " : ", ") + code(choice.value) +
                     (std::string(choice.value) == choice.label
                          ? ""
                          : std::string(" (") + choice.label + ")");
    return words.empty() ? "" : words + ".";
}

std::string needOf(const Described &described) {
    const settings::When &when = described.field.required;
    if (*described.field.missing == '\0')
        return "";
    if (*when.key == '\0')
        return " Required.";
    std::string values = when.values;
    for (std::size_t at = 0; (at = values.find(' ', at)) != std::string::npos; at += 4)
        values.replace(at, 1, "`, `");
    return " Needed with " + code((*when.key == '.' ? described.place : "") + when.key) +
           (values.empty() ? "" : " " + code(values)) + ".";
}

std::string meaningOf(const Described &described) {
    const Field &field = described.field;
    std::string text = *field.note != '\0' ? field.note : plainText(field.help);
    if (text.empty())
        text = std::string(field.label) + ".";
    return text + choicesOf(field) + needOf(described);
}

std::string row(const std::string &key, const std::string &type, const std::string &standard,
                std::string meaning) {
    for (std::size_t at = 0; (at = meaning.find('|', at)) != std::string::npos; at += 2)
        meaning.insert(at, 1, '\\');
    return "| `" + key + "` | " + type + " | " + standard + " | " + meaning + " |\n";
}

const char *heading = "\n| Key | Type | Default | Meaning |\n|---|---|---|---|\n";

std::string typeOf(const Field &field) {
    return std::string(field.type.name()) + (isMenu(field) ? " (menu)" : "");
}

bool isNoKey(const Field &field) {
    return field.input == Input::confirmation || field.input == Input::file ||
           *field.file != '\0' || field.held != nullptr;
}

/// The rows of what is stored for a field.
std::string rows(const Described &described) {
    const Field &field = described.field;
    const std::string meaning = meaningOf(described);
    switch (field.input) {
    case Input::set:
    case Input::texts:
        return row(described.key + ".total", "number", "0", "How many there are of these:") +
               row(described.key + "." + field.word + "<n>", typeOf(field), "", meaning);
    case Input::flags:
        return row(described.key + (field.grid ? "<n>" : "<choice>"), "boolean", "off", meaning);
    default:
        return isNoKey(field) ? "" : row(described.key, typeOf(field), defaultOf(field), meaning);
    }
}

void forPage(const CataloguedPage &page, const Use &use) {
    const settings::Page &table = page.table();
    const std::string place = placeOf(table.chooser);
    forSections(table.sections, place, use);
    forLists(
        table.lists, place, [](const List &, const std::string &) {}, use);
}

} // namespace

std::string describedTables(const Catalogue &catalogue) {
    std::string text;
    std::string others;
    for (const CataloguedPage &page : catalogue.pages()) {
        const std::string place = placeOf(page.table().chooser);
        std::string own;
        std::string records;
        forSections(page.table().sections, place, [&](const Described &one) { own += rows(one); });
        forLists(
            page.table().lists, place,
            [&](const List &list, const std::string &total) {
                records += row(total, "number", "0", std::string(list.title) + ".");
            },
            [&](const Described &one) {
                const std::string found = rows(one);
                if (records.find(found) == std::string::npos) // sections may share fields
                    records += found;
            });
        forPage(page, [&](const Described &one) {
            if (one.field.input == Input::file || one.field.held != nullptr)
                others += row(one.key, "field", "", meaningOf(one));
            else if (one.field.input == Input::confirmation)
                others += row(one.key, "field", "", "Confirmation of the password beside it.");
            else if (*one.field.file != '\0')
                others += row(one.key, "field", "",
                              meaningOf(one) + " Kept in " + code(one.field.file) + ".");
        });
        // Where a record has a page of its own, the settings are a form beside the list.
        const bool isBeside =
            !page.table().lists.empty() && !page.table().lists.front().variants.empty();
        if (!own.empty())
            text += (isBeside ? "## Settings on the page `" : "## Page `") + page.id +
                    "`: " + page.label + "\n" + heading + own + "\n";
        if (!records.empty())
            text += "## Records of the page `" + page.id + "`\n" + heading + records + "\n";
    }
    return text + "## Fields of these pages that are no keys\n" + heading + others;
}

std::string describedJson(const Catalogue &catalogue) {
    std::string json;
    for (const CataloguedPage &page : catalogue.pages())
        forPage(page, [&](const Described &one) {
            std::string choices;
            for (const Choice &choice : one.field.choices)
                choices += (choices.empty() ? "" : ",") + jsonString(choice.value);
            json += json.empty() ? "[" : ",\n";
            json += jsonObject({{"page", page.id},
                                {"key", one.key},
                                {"label", one.field.label},
                                {"type", one.field.type.name()},
                                {"default", defaultOf(one.field)},
                                {"meaning", meaningOf(one)},
                                {"help", plainText(one.field.help)}});
            json.insert(json.size() - 1, ",\"choices\":[" + choices + "]");
        });
    return (json.empty() ? "[" : json) + "]\n";
}

std::string searchIndex(const Catalogue &catalogue, const ConfigManager &config) {
    std::string json;
    for (const CataloguedPage &page : catalogue.pages()) {
        const auto add = [&](const char *label, const std::string &name, const char *help) {
            json += (json.empty() ? "[[" : ",\n[") + jsonString(page.id) + "," + jsonString(label) +
                    "," + jsonString(name) + "," + jsonString(plainText(help)) + "]";
        };
        const settings::Chooser &chooser = page.table().chooser;
        std::string first;
        if (chooser.options != nullptr) {
            add(chooser.label, chooser.variable, chooser.help);
            if (const auto options = chooser.options(config, ""); !options.empty())
                first = chooser.prefix + options.front().value;
        }
        const Use use = [&](const Described &one) {
            add(one.field.label, one.key, one.field.help);
        };
        forSections(page.table().sections, first, use);
        forLists(
            page.table().lists, first, [](const List &, const std::string &) {}, use);
    }
    return (json.empty() ? "[" : json) + "]\n";
}

} // namespace zandorin::config_tool
