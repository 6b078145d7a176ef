#pragma once

#include "settings/values.h"

#include <functional>
#include <string>
#include <vector>

namespace zandorin {
class Engine;
}

namespace zandorin::ui {

class Table;

/// The place that a page is about: the one that the request names, else the page's own (the "args"
/// of its leaf), else the first. A page without a chooser has one place, with no name. Where the
/// chooser has columns, the request may name several ("3, 5-9", and a box "select.<name>" for
/// each), or none.
class Chosen {
  public:
    /// `chooser` must last as long.
    Chosen(Engine &engine, const settings::Chooser &chooser);

    /// False when there is no such place.
    bool isKnown() const { return isKnown_; }
    /// True when the page is about no place, but shows the table of all of them.
    bool isNone() const { return isKnown_ && name_.empty() && !chooser_.columns.empty(); }
    bool isSeveral() const { return places_.size() > 1; }
    /// As the request names it; of several the whole list, such as "3, 5-9".
    const std::string &name() const { return name_; }
    /// Of one.
    settings::Place place() const;
    /// The keys of all.
    std::vector<std::string> keys() const;

    /// The form's row that says which place it is about, with the hidden field that keeps it: a
    /// link to the page for every other place, or one to the table of all; nothing on a page
    /// without a chooser.
    void row(Engine &engine, Table &table) const;
    /// The table of all places, in which some can be selected to be changed as one. `cell` answers
    /// the text, raw, of a column of which the table of the page knows nothing, and may be empty.
    using Cell =
        std::function<std::string(const settings::Option &place, const settings::Column &column)>;
    void showTable(Engine &engine, std::span<const settings::Section> sections,
                   const Cell &cell) const;

  private:
    std::string namedBy(Engine &engine) const;
    std::string linkTo(const Engine &engine, const settings::Option &option) const;

    const settings::Chooser &chooser_;
    std::vector<settings::Option> options_;
    std::string name_;
    std::vector<std::string> places_;
    bool isKnown_ = true;
};

} // namespace zandorin::ui
