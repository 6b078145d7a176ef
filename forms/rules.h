#pragma once

#include <string>

namespace zandorin {

class Engine;

/// The rules of one form's submission: reads what was sent, adds an error to the request for each
/// rule that fails and remembers whether all held. Made by a form's validator for one call.
/// Without a request every field reads as empty, and a failed rule logs "CGI is not initialized".
class Rules {
  public:
    explicit Rules(Engine &engine) : engine_(engine) {}

    /// The submitted text, at most 255 bytes; to be escaped where it is shown.
    std::string text(const std::string &field) const;
    /// Something was sent; of a check box: it is checked.
    bool isGiven(const std::string &field) const { return !text(field).empty(); }
    /// There will be a password once the form is saved: a new one, or a stored one that is kept.
    bool isPasswordGiven(const std::string &key) const;
    /// The same of an input with a box that clears it (see ui/unsafe_inputs.h).
    bool isUnsafeGiven(const std::string &key) const;

    /// What the form calls the field; the field's name when the form does not have it.
    std::string label(const std::string &field) const;

    /// `message` is markup.
    void require(bool holds, const std::string &message);
    /// Byte for byte.
    void requireMatch(const std::string &password, const std::string &confirmation,
                      const std::string &message);
    /// Of a new password only: the placeholder stands for the stored one.
    void requireLength(const std::string &password, std::size_t least, const std::string &message);

    /// True while no rule has failed.
    bool hold() const { return hold_; }

  private:
    Engine &engine_;
    bool hold_ = true;
};

} // namespace zandorin
