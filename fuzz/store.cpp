// The configuration store: read, change, write, read again: every value is what it was set to. Two
// requests that change different keys both keep their change, and what is queued waits.

#include "fuzz/support/support.h"

#include "platform/libzandorin/config_manager.h"
#include "util/exception.h"
#include "util/paths.h"

#include <filesystem>
#include <map>
#include <memory>
#include <set>

namespace zandorin::fuzz {

using Values = std::map<std::string, std::string>; // without the empty ones
constexpr const char *file = "/etc/config/config.xml";

std::unique_ptr<ConfigManager> open() {
    auto store = std::make_unique<ConfigManager>(file, "/");
    require(store->read());
    return store;
}

Values valuesOf(const ConfigManager &store, const std::string &key = "config") {
    Values values;
    std::set<std::string> names;
    for (const std::string &name : store.getSubElements(key)) {
        require(names.insert(name).second);
        std::string child = key;
        child.append(".").append(name);
        const std::string value = store.getElement(child);
        if (!value.empty())
            values[child] = value;
        values.merge(valuesOf(store, child));
    }
    return values;
}

void change(ConfigManager &store, Values &expected, Pieces &input, std::string key) {
    do
        key += input.oneOf({".a", ".b", ".c-1", "._"});
    while (input.flag());
    if (input.flag()) {
        store.delElement(key);
        std::erase_if(expected, [&](const auto &value) {
            return value.first == key || value.first.starts_with(key + ".");
        });
        return;
    }
    const std::string value = input.line(40);
    bool taken = true;
    try {
        store.setElement(key, value);
        expected[key] = value;
        if (value.empty())
            expected.erase(key);
    } catch (const utilities::Exception &) {
        taken = false;
    }
    require(taken == ConfigManager::canHold(value));
    require(store.getElement(key) == (expected.contains(key) ? expected[key] : ""));
}

Values committed() {
    ConfigManager store(file, "/");
    require(store.readCommitted());
    return valuesOf(store);
}

/// In delayed mode everybody reads what is queued, and it counts from its commit on, or never.
void queueChanges(Values expected, Pieces &input) {
    const auto early = open(); // before the mode is on, which is judged when writing
    const auto store = open();
    store->setElement("config.delayed", "on");
    require(store->write());
    expected["config.delayed"] = "on";
    const Values before = expected;
    change(*early, expected, input, "config.queued");
    require(early->write() && valuesOf(*open()) == expected);
    const auto later = open();
    change(*later, expected, input, "config.queued");
    require(later->write() && valuesOf(*open()) == expected && committed() == before);
    if (input.flag()) {
        require(later->discardDelayedCommit() && valuesOf(*open()) == before);
    } else {
        require(open()->doDelayedCommit() && committed() == expected);
    }
    std::filesystem::remove_all(appliancePath("/etc/config/delayed"));
}

void run(std::string_view data) {
    Pieces input(data);
    const std::string text = input.line(400);
    const auto document = platform::parseXml(text);
    const bool usable =
        document && document->root.value == "config" && document->root.child("delayed") == nullptr;
    put(file, usable ? text : "<config><a>1<b>2</b></a><a>3</a><!-- x --></config>");

    auto store = open();
    Values expected = valuesOf(*store);
    for (int round = 0; round < 3 && !input.empty(); ++round) {
        const Values before = expected;
        for (int i = input.number(1, 8); i > 0; --i)
            change(*store, expected, input, "config");
        require(valuesOf(*store) == expected && store->isDirty() == (expected != before));
        require(store->write() && !store->isDirty() && valuesOf(*store) == expected);
        if (input.flag())
            store = open();
        require(valuesOf(*open()) == expected);
    }

    const auto one = open();
    const auto other = open();
    change(*one, expected, input, "config.one");
    change(*other, expected, input, "config.other");
    // A value that is sent as it was seen takes back no change.
    other->setElement("config.one.a", other->getElement("config.one.a"));
    require(one->write() && other->write() && valuesOf(*open()) == expected);
    queueChanges(expected, input);
}

} // namespace zandorin::fuzz
