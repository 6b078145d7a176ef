#include "platform/libzandorin/config_changes.h"

#include "platform/libzandorin/config_text.h"
#include "platform/libzandorin/config_tree.h"

#include <algorithm>
#include <functional>
#include <unordered_set>

namespace zandorin::platform {

namespace {

using KeySet = std::set<std::string, std::less<>>;

/// In an ordered container, all keys below `key` stand in [key + ".", key + "/"): "/" follows ".".
std::string firstBelow(std::string_view key) {
    return std::string(key) + '.';
}
std::string pastBelow(std::string_view key) {
    return std::string(key) + '/';
}

/// True when `keys` holds `key` or one above it.
bool covers(const KeySet &keys, std::string_view key) {
    if (keys.empty())
        return false;
    for (auto dot = key.find('.'); dot != std::string_view::npos; dot = key.find('.', dot + 1))
        if (keys.contains(key.substr(0, dot)))
            return true;
    return keys.contains(key);
}

using Test = std::function<bool(const std::string &key, XmlImage::Element element)>;

/// True when `test` is true for the element of `key` or any below it.
bool anyElement(const XmlImage &image, const std::string &key, XmlImage::Element element,
                const Test &test) {
    if (test(key, element))
        return true;
    for (const XmlImage::Element child : distinctChildren(image, element))
        if (anyElement(image, firstBelow(key).append(image.name(child)), child, test))
            return true;
    return false;
}

/// The entries of [first, last) in the order in which they were set.
template <class Iterator> std::vector<Iterator> inOrder(Iterator first, Iterator last) {
    std::vector<Iterator> found;
    for (; first != last; ++first)
        found.push_back(first);
    std::sort(found.begin(), found.end(),
              [](auto a, auto b) { return a->second.order < b->second.order; });
    return found;
}

} // namespace

bool ConfigChanges::isSetAtOrBelow(const std::string &key) const {
    const auto below = sets_.lower_bound(firstBelow(key));
    return sets_.contains(key) || (below != sets_.end() && below->first < pastBelow(key));
}

std::string ConfigChanges::value(const XmlImage &base, std::string_view key) const {
    const auto set = sets_.find(key);
    if (set != sets_.end())
        return set->second.value;
    return std::string(covers(deleted_, key) ? "" : valueOf(base, key));
}

std::vector<std::string> ConfigChanges::children(const XmlImage &base, std::string_view key) const {
    std::vector<std::string> names;
    const auto element = covers(deleted_, key) ? XmlImage::none : findElement(base, key);
    for (const XmlImage::Element child : distinctChildren(base, element)) {
        const std::string_view name = base.name(child);
        const std::string childKey = firstBelow(key).append(name);
        if (!deleted_.contains(childKey) || isSetAtOrBelow(childKey))
            names.emplace_back(name);
    }
    const auto first = sets_.lower_bound(firstBelow(key));
    const auto last = sets_.lower_bound(pastBelow(key));
    if (first == last)
        return names;
    std::unordered_set<std::string> known(names.begin(), names.end());
    for (const auto &set : inOrder(first, last)) {
        std::string_view rest = std::string_view(set->first).substr(key.size() + 1);
        std::string name(takeSegment(rest));
        if (known.insert(name).second)
            names.push_back(std::move(name));
    }
    return names;
}

void ConfigChanges::set(const XmlImage &base, std::string_view key, std::string_view newValue) {
    if (value(base, key) == newValue)
        return;
    const auto [set, isNew] =
        sets_.try_emplace(std::string(key), Set{std::string(newValue), next_});
    if (isNew)
        ++next_;
    else
        set->second.value = newValue;
}

void ConfigChanges::remove(const XmlImage &base, std::string_view key) {
    const std::string from = firstBelow(key);
    const std::string to = pastBelow(key);
    sets_.erase(std::string(key));
    sets_.erase(sets_.lower_bound(from), sets_.lower_bound(to));
    if (covers(deleted_, key) || findElement(base, key) == XmlImage::none)
        return;
    deleted_.erase(deleted_.lower_bound(from), deleted_.lower_bound(to));
    deleted_.emplace(key);
}

bool ConfigChanges::alterValues(const XmlImage &base) const {
    const auto differs = [&base](const auto &set) {
        return set.second.value != valueOf(base, set.first);
    };
    const auto loses = [&](const std::string &key) {
        return anyElement(base, key, findElement(base, key),
                          [&](const std::string &below, XmlImage::Element element) {
                              return !sets_.contains(below) && !base.text(element).empty();
                          });
    };
    return std::any_of(sets_.begin(), sets_.end(), differs) ||
           std::any_of(deleted_.begin(), deleted_.end(), loses);
}

std::vector<ConfigEdit> ConfigChanges::edits(const XmlImage &base) const {
    std::vector<ConfigEdit> result;
    KeySet gone;
    for (const std::string &key : deleted_) {
        // An element that only holds others comes back with them.
        const auto missing = [&](const std::string &below, XmlImage::Element element) {
            return !sets_.contains(below) &&
                   (!base.text(element).empty() || base.firstChild(element) == XmlImage::none);
        };
        if (anyElement(base, key, findElement(base, key), missing)) {
            result.push_back({key, std::nullopt});
            gone.insert(key);
        }
    }
    for (const auto &set : inOrder(sets_.begin(), sets_.end()))
        if (covers(gone, set->first) || set->second.value != valueOf(base, set->first))
            result.push_back({set->first, set->second.value});
    return result;
}

void ConfigChanges::clear() {
    sets_.clear();
    deleted_.clear();
}

} // namespace zandorin::platform
