#pragma once

#include "settings/packed.h"
#include "settings/parts.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zandorin::config_tool {

/// A page that is a table.
struct CataloguedPage {
    std::string id;
    std::string label; ///< of its leaf; its id when it has none
    settings::LoadedPage loaded;

    const settings::Page &table() const { return loaded.page; }
};

/// A setting by its key.
struct Found {
    settings::Part part;
    bool isPassword;
    bool canBeSet; ///< a value of its own, not an entry of a list nor a record
};

/// The tables of all pages, in the order of the navigation; those without a leaf come last.
class Catalogue {
  public:
    Catalogue();

    const std::vector<CataloguedPage> &pages() const { return pages_; }

    /// None when no table of this appliance knows the key.
    std::optional<Found> setting(const ConfigManager &config, const std::string &key) const;
    /// The record of that key, or the list's next one.
    std::optional<settings::Part> record(const ConfigManager &config, const std::string &key) const;
    std::optional<settings::Part> nextRecord(const ConfigManager &config,
                                             const std::string &list) const;

  private:
    template <typename Holds>
    std::optional<settings::Part> firstPart(const ConfigManager &config, const Holds &holds) const;

    std::vector<CataloguedPage> pages_;
};

} // namespace zandorin::config_tool
