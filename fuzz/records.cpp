// Lists of records: whatever is added, copied, moved, deleted or missing, each record keeps all
// that it holds, and they are numbered from 1 after every change.

#include "fuzz/support/support.h"

#include "platform/libzandorin/config_manager.h"
#include "settings/records.h"

#include <map>
#include <memory>

namespace zandorin::fuzz {

using Contents = std::map<std::string, std::string>;
using Model = std::vector<std::pair<unsigned, Contents>>; // by number
constexpr const char *file = "/etc/config/config.xml";

void settle(Model &model) {
    unsigned number = 0;
    for (auto &record : model)
        record.first = ++number;
}

auto find(Model &model, unsigned number) {
    return std::find_if(model.begin(), model.end(),
                        [number](const auto &record) { return record.first == number; });
}

void move(Model &model, std::size_t from, std::size_t to) {
    settle(model);
    if (from < 1 || to < 1 || from > model.size() || to > model.size())
        return;
    const auto moved = model[from - 1];
    model.erase(model.begin() + static_cast<std::ptrdiff_t>(from - 1));
    model.insert(model.begin() + static_cast<std::ptrdiff_t>(to - 1), moved);
    settle(model);
}

void requireEqual(const ConfigManager &config, const settings::RecordList &list,
                  const Model &model) {
    std::vector<unsigned> numbers;
    for (const auto &[number, contents] : model) {
        numbers.push_back(number);
        for (const auto &[key, value] : contents)
            require(config.getElement(list.keyOf(number) + key) == value);
        for (const auto &[other, others] : model)
            require((list.hashOf(config, number) == list.hashOf(config, other)) ==
                    (contents == others));
    }
    require(list.numbers(config) == numbers && list.hashOf(config, 99).empty());
    require(list.next(config) == (numbers.empty() ? 1 : numbers.back() + 1));
}

void run(std::string_view data) {
    Pieces input(data);
    put(file, "<config/>");
    ConfigManager config(file, "/");
    require(config.read());
    const settings::RecordList list("config.list", "item");
    Model model;
    while (!input.empty()) {
        const auto number = input.number<unsigned>(0, 8);
        const auto found = find(model, number);
        const bool isThere = found != model.end();
        const int change = input.number(0, 5);
        if (change <= 1 && model.size() < 8) {
            model.emplace_back(list.next(config), Contents());
            for (const char *key : {".name", ".deep.er.key", ".name.too"})
                if (input.flag()) {
                    model.back().second[key] = input.oneOf({"a", "b", "c"});
                    config.setElement(list.keyOf(model.back().first) + key,
                                      model.back().second[key]);
                }
            model.back().second[".always"] = "x";
            config.setElement(list.keyOf(model.back().first) + ".always", "x");
        } else if (change == 2) {
            list.remove(config, number);
            if (isThere)
                model.erase(found);
            settle(model);
        } else if (change == 3) {
            const auto to = input.number<unsigned>(0, 8);
            list.move(config, number, to);
            move(model, number, to);
        } else if (change == 4) {
            const auto contents = isThere ? found->second : Contents();
            require(list.copy(config, number) == (isThere ? model.size() + 1 : 0));
            if (isThere) {
                model.emplace_back(0, contents);
                settle(model);
            }
        } else if (isThere) { // by another hand
            config.delElement(list.keyOf(number));
            model.erase(found);
        }
        requireEqual(config, list, model);
        if (change >= 2 && change <= 3)
            require(config.getSize("config.list.total") == model.size());
    }
}

} // namespace zandorin::fuzz
