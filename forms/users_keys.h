#pragma once

#include <string>

namespace zandorin {
class Engine;
}

namespace zandorin::users {

/// The keys that a user's page sent in its field `name`, typed, and <name>.file, uploaded: one a
/// line, at most `limit` bytes of them; lines that are empty or begin with "#" are left out. Adds
/// an error to the request for a file that cannot be taken and for the first line that is no key.
std::string submittedKeys(Engine &engine, const std::string &name, std::size_t limit);

} // namespace zandorin::users
