#pragma once

#include "cgi/cgi.h"
#include "settings/submission.h"

namespace zandorin {

/// The fields of a request as a form that was sent.
class CgiSubmission : public settings::Submission {
  public:
    /// `cgi` must last as long.
    explicit CgiSubmission(const Cgi &cgi) : cgi_(cgi) {}

    std::optional<std::string> text(const std::string &name, std::size_t longest) const override {
        std::string text = cgi_.getVarString(name, longest).raw;
        if (text.empty() && !cgi_.varStringExists(name))
            return std::nullopt;
        return text;
    }
    bool isWhole() const override { return true; }

  private:
    const Cgi &cgi_;
};

} // namespace zandorin
