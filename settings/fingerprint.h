#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zandorin::settings {

/// The field of a form that carries the fingerprint of what its page was made from.
inline constexpr const char *fingerprint_field = "fingerprint";

/// What the values of a page were when it was opened: eight hexadecimal digits for each (FNV-1a of
/// the field's name, which a record keeps when it is renumbered meanwhile, and the value), sent
/// along with the page's form. By them a submission says which fields its user changed, and the
/// store whether somebody else did meanwhile. `secret` goes into the digits of passwords, so that a
/// saved copy of a page is no way to try them out: the session's id.
class Fingerprint {
  public:
    explicit Fingerprint(std::string secret) : secret_(std::move(secret)) {}

    /// Takes what a form sent along; anything else than digits as above is left out.
    void read(std::string_view text);
    /// False when there was none: then nothing is known, and every field counts as changed.
    bool isKnown() const { return !marks_.empty(); }

    void add(std::string_view key, std::string_view value, bool isSecret);
    bool holds(std::string_view key, std::string_view value, bool isSecret) const;
    std::string text() const;

  private:
    std::string markOf(std::string_view key, std::string_view value, bool isSecret) const;

    std::string secret_;
    std::vector<std::string> marks_;
};

/// Refuses a change of what is not as the page showed it; markup. `label` is markup, too, and so is
/// `more`, about the two values.
std::string changedMeanwhile(const std::string &label, const std::string &more = "");

} // namespace zandorin::settings
