#pragma once

#include <exception>
#include <string>
#include <utility>

namespace zandorin::utilities {

/// An internal fault with a message for the page and the log.
/// The engine catches it around form processing and shows `toString()` as the page error, so the
/// message must already be safe to show: whoever throws escapes what came from outside.
class Exception : public std::exception {
  public:
    explicit Exception(std::string message) : message_(std::move(message)) {}

    const std::string &toString() const { return message_; }
    const char *what() const noexcept override { return message_.c_str(); }

  private:
    std::string message_;
};

} // namespace zandorin::utilities
