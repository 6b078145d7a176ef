#pragma once

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include <loki/Singleton.h>

namespace zandorin {

/// Values by name, in the order of the names, which must last as long as the table. The first value
/// of a name stays. Side by side in memory: a request fills dozens of entries before main and looks
/// up one or two.
template <typename Value> class NameTable {
  public:
    using Entry = std::pair<std::string_view, Value>;

    /// Does nothing when there is one of that name.
    void add(std::string_view name, const Value &value) {
        const auto place = placeOf(name);
        if (place == entries_.end() || place->first != name)
            entries_.insert(place, Entry(name, value));
    }

    /// Null when there is none of that name.
    const Value *find(std::string_view name) const {
        const auto place = placeOf(name);
        return place == entries_.end() || place->first != name ? nullptr : &place->second;
    }

    std::size_t size() const { return entries_.size(); }
    auto begin() const { return entries_.begin(); }
    auto end() const { return entries_.end(); }

  private:
    typename std::vector<Entry>::const_iterator placeOf(std::string_view name) const {
        return std::lower_bound(
            entries_.begin(), entries_.end(), name,
            [](const Entry &entry, std::string_view wanted) { return entry.first < wanted; });
    }

    std::vector<Entry> entries_;
};

/// A process-wide table by name, made on first use. Filled by static objects before main runs, in
/// no order that anything may depend on; the first registration of a name wins. Use after its
/// destruction at program exit throws std::logic_error "Dead Reference Detected". `Entries` may be
/// a table that is born with entries of its own, which then come before any other.
template <typename Value, typename Entries = NameTable<Value>> class Registry {
  public:
    /// `name` is a literal: the table keeps no copy.
    static void add(const char *name, const Value &value) { Holder::Instance().add(name, value); }

    /// Null when nothing is registered under the name.
    static const Value *find(std::string_view name) { return Holder::Instance().find(name); }

    static const Entries &entries() { return Holder::Instance(); }

  private:
    using Holder = Loki::SingletonHolder<Entries>;
};

} // namespace zandorin
