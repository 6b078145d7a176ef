#include "settings/record_changes.h"

#include "platform/libzandorin/config_manager.h"
#include "settings/filled_in.h"
#include "settings/variants.h"
#include "util/escape.h"
#include "util/split.h"
#include "util/strings.h"

#include <algorithm>

namespace zandorin::settings {

namespace {

/// Where other lists name the record; a new name of "" takes it out.
void renameMentions(ConfigManager &config, const List &list, const std::string &name,
                    const std::string &newName) {
    for (const Mention &mention : list.mentions) {
        const RecordList others(mention.key, mention.word);
        for (const unsigned number : others.numbers(config)) {
            const std::string key = others.keyOf(number) + mention.set;
            std::vector<std::string> names = readTextList(config, key, mention.entry);
            const auto found = std::find(names.begin(), names.end(), name);
            if (found == names.end())
                continue;
            if (newName.empty())
                names.erase(found);
            else
                *found = newName;
            writeTextList(config, key, mention.entry, names);
        }
    }
}

void addFixed(const List &list, const std::string &name, const std::string &done,
              Problems &problems) {
    problems.add("", filledIn(list.refusal, quoted(name)) + " can not be " + done + ".");
}

} // namespace

std::string nounOf(const List &list) {
    return lowerCase(list.singular);
}

std::string nameOf(const ConfigManager &config, const Part &record) {
    return *record.list->name == '\0' ? ""
                                      : config.getElement(record.place.keys + record.list->name);
}

bool isFixed(const List &list, const std::string &name) {
    return contains(utilities::split(list.fixed, " "), name);
}

void checkFixed(const ConfigManager &config, const Part &record, const std::string &done,
                Problems &problems) {
    if (const std::string name = nameOf(config, record); isFixed(*record.list, name))
        addFixed(*record.list, name, done, problems);
}

void checkName(const ConfigManager &config, const Part &record, const std::string &name,
               Problems &problems) {
    const List &list = *record.list;
    const std::string now = nameOf(config, record);
    if (name.empty())
        return;
    const std::string noun = nounOf(list);
    const bool isVowel = std::string_view("aeio").find(noun.front()) != std::string_view::npos;
    const bool isRenamed = name != now && !now.empty();
    const auto found = record.records().find(config, list.name, name);
    if ((found && *found != record.number) || (isRenamed && isFixed(list, name)))
        problems.add(record.place.keys + list.name, concat({"There is ", isVowel ? "an " : "a ",
                                                            noun, " ", quoted(name), " already."}));
    if (isRenamed && isFixed(list, now))
        addFixed(list, now, "renamed", problems);
}

void checkVariant(const Part &record, const Values &values, Problems &problems) {
    const List &list = *record.list;
    if (list.variants.empty() || *list.noVariant == '\0')
        return;
    const Value &type = *values.find(list.variantKey);
    const Variant *variant = findVariant(list.variants, type.text);
    problems.require(variant != nullptr &&
                         (type.text == type.stored || isOffered(*variant, values.config())),
                     type.name, list.noVariant);
}

void settleRecord(ConfigManager &config, const Part &record, const std::string &oldName) {
    const List &list = *record.list;
    if (const std::string name = nameOf(config, record); !oldName.empty() && name != oldName)
        renameMentions(config, list, oldName, name);
    if (!list.variants.empty())
        clearVariants(config, list.variants, config.getElement(record.place.keys + list.variantKey),
                      record.place.keys);
    if (list.derive != nullptr)
        list.derive(config, record.place.keys);
    record.records().settle(config);
}

void removeRecord(ConfigManager &config, const Part &record) {
    if (const std::string name = nameOf(config, record); !name.empty())
        renameMentions(config, *record.list, name, "");
    record.records().remove(config, record.number);
}

} // namespace zandorin::settings
