#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The files of the auto-response service: lines of fields, separated by tabs. In a field a
// backslash, tab, line feed and carriage return are "\\", "\t", "\n" and "\r".

namespace zandorin::responder {

/// What the service is to do, written from the configuration: a key and its value a line.
inline constexpr const char *rules_path = "/etc/auto-response/rules";

std::string writeLine(const std::vector<std::string> &fields);
/// Each line with its fields; lines without any are left out.
std::vector<std::vector<std::string>> readLines(std::string_view text);

/// The values of the rules file by their keys, which are those of the configuration.
class Settings {
  public:
    Settings() = default;
    explicit Settings(std::string_view text);

    /// "" when there is none.
    const std::string &get(const std::string &key) const;
    /// A whole number from 0 to 2147483647, else `otherwise`.
    int number(const std::string &key, int otherwise = 0) const;
    bool isOn(const std::string &key) const { return get(key) == "on"; }
    /// The texts <key>.<word>1, <key>.<word>2 and so on.
    std::vector<std::string> list(const std::string &key, const std::string &word) const;

  private:
    std::map<std::string, std::string> values_;
};

} // namespace zandorin::responder
