#pragma once

#include <string>
#include <vector>

namespace zandorin::settings {

/// Why a submission is refused.
struct Problem {
    std::string name;    ///< of the field it is about; "" for none
    std::string message; ///< markup
};

/// What a check found, in the order of finding.
class Problems {
  public:
    void add(std::string name, std::string message) {
        all_.push_back({.name = std::move(name), .message = std::move(message)});
    }
    /// Adds the message unless `holds`.
    void require(bool holds, const std::string &name, const std::string &message) {
        if (!holds)
            add(name, message);
    }
    bool empty() const { return all_.empty(); }
    std::size_t size() const { return all_.size(); }
    const std::vector<Problem> &all() const { return all_; }

  private:
    std::vector<Problem> all_;
};

} // namespace zandorin::settings
