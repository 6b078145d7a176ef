#include "forms/autoresponse_records.h"

#include "platform/libzandorin/config_manager.h"
#include "util/log.h"
#include "util/strings.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>

namespace zandorin::autoresponse {

namespace {

std::string parentOf(const std::string &list) {
    return list.substr(0, list.rfind('.'));
}

std::string totalOf(const std::string &list) {
    return parentOf(list) + ".total";
}

void collect(const ConfigManager &config, const std::string &key, const std::string &relative,
             Entry &entry) {
    if (std::string value = config.getElement(key); !value.empty())
        entry.emplace_back(relative, std::move(value));
    for (const std::string &name : config.getSubElements(key)) {
        const std::string step = "." + name;
        collect(config, key + step, relative + step, entry);
    }
}

Entry readEntry(const ConfigManager &config, const std::string &key) {
    Entry entry;
    collect(config, key, "", entry);
    return entry;
}

/// FNV-1a with 64 bits, over each text and a byte that ends it.
class Hash {
  public:
    void add(std::string_view text) {
        for (const char c : text)
            addByte(static_cast<unsigned char>(c));
        addByte(0);
    }
    std::string hex() const {
        std::array<char, 17> text = {};
        std::snprintf(text.data(), text.size(), "%016llx", static_cast<unsigned long long>(state_));
        return text.data();
    }

  private:
    void addByte(unsigned char byte) { state_ = (state_ ^ byte) * 0x100000001b3U; }
    std::uint64_t state_ = 0xcbf29ce484222325U;
};

} // namespace

std::string recordKey(unsigned number) {
    return all_records + std::to_string(number);
}

unsigned countEntries(const ConfigManager &config, const std::string &list) {
    const std::size_t children = config.getSubElements(parentOf(list)).size();
    return static_cast<unsigned>(std::min<std::size_t>(config.getSize(totalOf(list)), children));
}

std::vector<Entry> readList(const ConfigManager &config, const std::string &list) {
    std::vector<Entry> entries;
    const unsigned count = countEntries(config, list);
    entries.reserve(count);
    for (unsigned number = 1; number <= count; ++number)
        entries.push_back(readEntry(config, list + std::to_string(number)));
    return entries;
}

void writeList(ConfigManager &config, const std::string &list, const std::vector<Entry> &entries) {
    const std::size_t last = std::max<std::size_t>(countEntries(config, list), entries.size());
    for (std::size_t number = 1; number <= last; ++number) {
        const std::string key = list + std::to_string(number);
        config.delElement(key);
        if (number > entries.size())
            continue;
        for (const auto &[relative, value] : entries[number - 1])
            config.setElement(key + relative, value);
    }
    config.setElement(totalOf(list), std::to_string(entries.size()));
}

void removeEntry(ConfigManager &config, const std::string &list, unsigned number) {
    std::vector<Entry> entries = readList(config, list);
    if (number < 1 || number > entries.size())
        return;
    entries.erase(entries.begin() + (number - 1));
    writeList(config, list, entries);
}

void moveEntry(ConfigManager &config, const std::string &list, unsigned from, unsigned to) {
    std::vector<Entry> entries = readList(config, list);
    if (from < 1 || to < 1 || from > entries.size() || to > entries.size() || from == to)
        return;
    Entry moved = std::move(entries[from - 1]);
    entries.erase(entries.begin() + (from - 1));
    entries.insert(entries.begin() + (to - 1), std::move(moved));
    writeList(config, list, entries);
}

std::vector<std::string> readValues(const ConfigManager &config, const std::string &list) {
    std::vector<std::string> values;
    const unsigned count = countEntries(config, list);
    values.reserve(count);
    for (unsigned number = 1; number <= count; ++number)
        values.push_back(config.getElement(list + std::to_string(number)));
    return values;
}

void writeValues(ConfigManager &config, const std::string &list,
                 const std::vector<std::string> &values) {
    if (values.empty()) {
        config.delElement(parentOf(list));
        return;
    }
    std::vector<Entry> entries;
    entries.reserve(values.size());
    for (const std::string &value : values)
        entries.push_back({{"", value}});
    writeList(config, list, entries);
}

std::string actionList(const std::string &record, std::string_view word) {
    if (word == "trigger")
        return record + ".trigger_actions.action";
    if (word == "resolve")
        return record + ".resolve_actions.action";
    logRecord(Priority::error, "Unrecognized prefix: %s", std::string(word).c_str());
    return "";
}

std::string resolveActionKey(const ConfigManager &config, const std::string &record,
                             std::string_view field) {
    const auto dot = std::min(field.find('.'), field.size());
    const std::string list = actionList(record, field.substr(0, dot));
    if (list.empty() || dot == field.size())
        return "";
    const std::string_view action = field.substr(dot + 1);
    const auto end = std::min(action.find('.'), action.size());
    const std::string_view number = action.substr(0, end);
    const std::string rest(action.substr(end));
    if (number == "new")
        return list + std::to_string(countEntries(config, list) + 1) + rest;
    const auto parsed = parseWhole(number);
    if (!parsed || *parsed < 1)
        return "";
    return list + std::to_string(*parsed) + rest;
}

std::string fingerprint(const ConfigManager &config, unsigned number) {
    if (number < 1 || number > countEntries(config, all_records))
        return "";
    Hash hash;
    hash.add(std::to_string(number));
    for (const auto &[relative, value] : readEntry(config, recordKey(number))) {
        hash.add(relative);
        hash.add(value);
    }
    return hash.hex();
}

} // namespace zandorin::autoresponse
