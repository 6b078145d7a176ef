#pragma once

#include "settings/fingerprint.h"
#include "settings/page.h"
#include "settings/problems.h"
#include "settings/values.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Several places of a page, such as serial ports, changed as one: a form with the fields that they
// share, in which what their user leaves alone stays as it is in each of them.

namespace zandorin::settings {

/// The values of the options that a list such as "3, 5-9" names, each once and in the options'
/// order; a range names every option between its ends, which must be options. None when a word of
/// the list is neither, or the list names nothing.
std::optional<std::vector<std::string>> optionsNamed(const std::vector<Option> &options,
                                                     std::string_view list);

/// The form for several places. Only fields with one text are in it, and none that belongs to one
/// place (Field::alone).
class SharedForm {
  public:
    /// `places` are their keys, at least one. The configuration must last as long, the page's table
    /// too.
    SharedForm(const Page &page, const ConfigManager &config, std::vector<std::string> places);

    std::span<const Section> sections() const { return sections_; }

    /// What the form shows: of each field the value that all places have, or what `submission` (may
    /// be null) holds.
    Values values(const Submission *submission) const;

    /// Puts into the store's memory, at each place, what the form's user changed: every field whose
    /// text is not the one that the form was opened with. What somebody else has changed meanwhile
    /// at any place is a problem. With a problem only a part of it may be there: read() drops it.
    Problems change(ConfigManager &config, const Submission &submission,
                    const Fingerprint &opened) const;

  private:
    const Page &page_;
    const ConfigManager &config_;
    std::vector<std::string> places_;
    std::vector<std::vector<Field>> fields_; ///< of each section
    std::vector<Section> sections_;
};

/// Gives the place `to` every setting of the place `from` that does not belong to one place, in the
/// store's memory; nothing of it when there is a problem. The field of a problem is one of `to`.
Problems copyPlace(ConfigManager &config, const Page &page, const std::string &from,
                   const std::string &to);

/// In a fingerprint: the name and the value of what all places have stored in a shared field.
std::string sharedMark(const Value &value);
std::string sharedState(const Value &value);

} // namespace zandorin::settings
