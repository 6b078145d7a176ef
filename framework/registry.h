#pragma once

#include <map>
#include <string>
#include <string_view>

#include <loki/Singleton.h>

namespace zandorin {

/// A process-wide table by name, made on first use. Filled by static objects before main runs, in
/// no order that anything may depend on; the first registration of a name wins. Use after its
/// destruction at program exit throws std::logic_error "Dead Reference Detected". `Entries` may be
/// a map that is born with entries of its own, which then come before any other.
template <typename Value, typename Entries = std::map<std::string, Value, std::less<>>>
class Registry {
  public:
    using Map = Entries;

    static void add(const std::string &name, const Value &value) {
        Holder::Instance().emplace(name, value);
    }

    /// Null when nothing is registered under the name.
    static const Value *find(std::string_view name) {
        const Map &entries = Holder::Instance();
        const auto found = entries.find(name);
        return found == entries.end() ? nullptr : &found->second;
    }

    static const Map &entries() { return Holder::Instance(); }

  private:
    using Holder = Loki::SingletonHolder<Map>;
};

} // namespace zandorin
