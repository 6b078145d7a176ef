#pragma once

#include "settings/values.h"

#include <string>
#include <vector>

namespace zandorin {
class Engine;
}

namespace zandorin::ui {

class Table;

/// The place that a page is about: the one that the request names, else the page's own (the "args"
/// of its leaf), else the first. A page without a chooser has one place, with no name.
class Chosen {
  public:
    /// `chooser` must last as long.
    Chosen(Engine &engine, const settings::Chooser &chooser);

    /// False when there is no such place.
    bool isKnown() const { return isKnown_; }
    const std::string &name() const { return name_; }
    settings::Place place() const;

    /// A link to the page for every other place, and the hidden field that keeps this one; nothing
    /// on a page without a chooser.
    void row(Engine &engine, Table &table) const;

  private:
    const settings::Chooser &chooser_;
    std::vector<settings::Option> options_;
    std::string name_;
    bool isKnown_ = true;
};

} // namespace zandorin::ui
