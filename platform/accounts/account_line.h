#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace zandorin {

/// One record of passwd(5).
struct Account {
    std::string name;
    std::string hash;
    uid_t uid = 0;
    gid_t gid = 0;
    std::string description;
    std::string home;
    std::string shell;
};

// Lines of passwd(5) and group(5): fields between colons.

/// The lines of a file, without their ends. They last as long as `text`.
std::vector<std::string_view> linesOf(std::string_view text);

/// True when the line's first field is that name.
bool isLineOf(std::string_view line, std::string_view name);

/// The seven fields of an account line, as they stand there; none when it has more or fewer, or
/// no name. They last as long as `line`.
using AccountFields = std::array<std::string_view, 7>;
std::optional<AccountFields> accountFields(std::string_view line);

/// The account of such a line; none, too, when its ids are no numbers.
std::optional<Account> parseAccount(std::string_view line);
std::string lineOf(const Account &account);

/// The id of a group line; 0 when it is no number.
gid_t groupIdOf(std::string_view line);

} // namespace zandorin
