#include "settings/records.h"

#include "platform/libzandorin/config_manager.h"
#include "settings/page.h"
#include "util/hash.h"
#include "util/log.h"
#include "util/split.h"
#include "util/strings.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace zandorin::settings {

namespace {

constexpr unsigned most_entries = 10000;

void collect(const ConfigManager &config, const std::string &key, const std::string &relative,
             std::vector<std::pair<std::string, std::string>> &contents) {
    if (std::string value = config.getElement(key); !value.empty())
        contents.emplace_back(relative, std::move(value));
    for (const std::string &name : config.getSubElements(key)) {
        const std::string step = "." + name;
        collect(config, key + step, relative + step, contents);
    }
}

} // namespace

std::vector<unsigned> RecordList::numbers(const ConfigManager &config) const {
    std::vector<unsigned> found;
    for (const std::string &name : config.getSubElements(key_)) {
        if (!name.starts_with(word_))
            continue;
        const std::string digits = name.substr(word_.size());
        const auto number = parseWhole(digits);
        if (number && *number > 0 && *number <= most_entries && std::to_string(*number) == digits)
            found.push_back(static_cast<unsigned>(*number));
    }
    std::sort(found.begin(), found.end());
    return found;
}

std::vector<unsigned> RecordList::checkedNumbers(const ConfigManager &config) const {
    std::vector<unsigned> found = numbers(config);
    const auto complain = [this](unsigned number) {
        logRecord(Priority::error, "Invalid %s '%s': no tree element", word_.c_str(),
                  keyOf(number).c_str());
    };
    unsigned expected = 1;
    for (const unsigned number : found) {
        if (expected < number)
            complain(expected);
        expected = number + 1;
    }
    if (expected <= config.getSize(key_ + ".total"))
        complain(expected);
    return found;
}

bool RecordList::contains(const ConfigManager &config, unsigned number) const {
    const std::vector<unsigned> present = numbers(config);
    return std::binary_search(present.begin(), present.end(), number);
}

unsigned RecordList::rankOf(const ConfigManager &config, unsigned number) const {
    const std::vector<unsigned> present = numbers(config);
    const auto found = std::find(present.begin(), present.end(), number);
    return found == present.end() ? 0 : static_cast<unsigned>(found - present.begin() + 1);
}

unsigned RecordList::next(const ConfigManager &config) const {
    const std::vector<unsigned> present = numbers(config);
    return present.empty() ? 1 : present.back() + 1;
}

std::optional<unsigned> RecordList::find(const ConfigManager &config, std::string_view name,
                                         std::string_view value) const {
    for (const unsigned number : numbers(config))
        if (config.getElement(keyOf(number).append(name)) == value)
            return number;
    return std::nullopt;
}

RecordList::Contents RecordList::contents(const ConfigManager &config, unsigned number) const {
    Contents contents;
    collect(config, keyOf(number), "", contents);
    return contents;
}

void RecordList::write(ConfigManager &config, unsigned number, const Contents &contents) const {
    const std::string key = keyOf(number);
    config.delElement(key);
    for (const auto &[relative, value] : contents)
        config.setElement(key + relative, value);
}

std::string RecordList::hashOf(const ConfigManager &config, unsigned number) const {
    if (!contains(config, number))
        return "";
    Fnv1a hash;
    for (const auto &[relative, value] : contents(config, number)) {
        hash.add(relative);
        hash.add(value);
    }
    std::array<char, 17> text = {};
    std::snprintf(text.data(), text.size(), "%016llx",
                  static_cast<unsigned long long>(hash.value()));
    return text.data();
}

void RecordList::remove(ConfigManager &config, unsigned number) const {
    config.delElement(keyOf(number));
    settle(config);
}

void RecordList::move(ConfigManager &config, unsigned from, unsigned to) const {
    settle(config);
    const std::vector<unsigned> present = numbers(config);
    if (from < 1 || to < 1 || from > present.size() || to > present.size() || from == to)
        return;
    const Contents moved = contents(config, from);
    for (unsigned number = from; number != to; from < to ? ++number : --number)
        write(config, number, contents(config, from < to ? number + 1 : number - 1));
    write(config, to, moved);
}

unsigned RecordList::copy(ConfigManager &config, unsigned number) const {
    if (!contains(config, number))
        return 0;
    const Contents original = contents(config, number);
    settle(config);
    const unsigned added = next(config);
    write(config, added, original);
    settle(config);
    return added;
}

void RecordList::settle(ConfigManager &config) const {
    unsigned next = 1;
    for (const unsigned number : numbers(config)) {
        if (number != next) {
            write(config, next, contents(config, number));
            config.delElement(keyOf(number));
        }
        ++next;
    }
    const std::string total = key_ + ".total";
    if (next == 1)
        config.delElement(total);
    else
        config.setElement(total, std::to_string(next - 1));
}

void adoptText(ConfigManager &config, const List &list) {
    if (*list.text == '\0')
        return;
    const std::string text = config.getElement(list.key);
    const RecordList records(list.key, list.word);
    for (const std::string &word : utilities::split(text, ", "))
        if (!records.find(config, list.text, word))
            config.setElement(records.keyOf(records.next(config)) + list.text, word);
    if (text.empty())
        return;
    config.setElement(list.key, "");
    records.settle(config);
}

std::vector<std::string> readTextList(const ConfigManager &config, const std::string &key,
                                      std::string_view word) {
    const RecordList list(key, std::string(word));
    std::vector<std::string> texts;
    for (const unsigned number : list.numbers(config))
        if (std::string text = config.getElement(list.keyOf(number)); !text.empty())
            texts.push_back(std::move(text));
    return texts;
}

void writeTextList(ConfigManager &config, const std::string &key, std::string_view word,
                   const std::vector<std::string> &texts) {
    if (readTextList(config, key, word) == texts)
        return;
    config.delElement(key);
    const RecordList list(key, std::string(word));
    unsigned number = 0;
    for (const std::string &text : texts)
        config.setElement(list.keyOf(++number), text);
    list.settle(config);
}

} // namespace zandorin::settings
