#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace zandorin::settings {

/// What is to be changed, by field name: a form that was sent, or the words of a command.
class Submission {
  public:
    virtual ~Submission() = default;

    /// The text of a field, at most `longest` bytes of it; none when it is not there.
    virtual std::optional<std::string> text(const std::string &name, std::size_t longest) const = 0;

    /// True for a form: a field that is not there was left empty. False for a command: it stays as
    /// it is stored.
    virtual bool isWhole() const = 0;
};

/// What a password input shows when a password is stored; submitted unchanged it keeps that.
inline constexpr const char *password_placeholder = "********";

} // namespace zandorin::settings
