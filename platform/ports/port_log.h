#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zandorin {

// What was logged of a serial port: the file that conserver(8) appends to, and the one before it.
// A line begins with when it began, "[Tue Nov 24 03:29:06 2026]"; what happened to the port is in
// lines such as "[-- anna@localhost attached -- Tue Nov 24 03:29:03 2026]".

enum class PortLogAge { current, older };

/// The file on this machine.
std::string portLogPath(unsigned port, PortLogAge age = PortLogAge::current);

/// Whole lines of a file, by the positions of their first byte and of the one after their last.
struct LogPart {
    std::uint64_t from = 0;
    std::uint64_t to = 0;
    std::uint64_t size = 0; ///< of the file
    std::string text = "";
};

/// The whole lines that end at or before the byte `end`, as many as there are in `most` bytes; the
/// newest of the file with an `end` at or above its size. A line that is longer is cut. None when
/// there is no such file.
std::optional<LogPart> readLogBefore(const std::string &path, std::uint64_t end, std::size_t most);

/// What comes at or after the byte `from`, at most `most` bytes of it; the last line may still be
/// growing. Of a file that is shorter by now: from its beginning.
std::optional<LogPart> readLogAfter(const std::string &path, std::uint64_t from, std::size_t most);

struct LogMatch {
    std::uint64_t to; ///< where the line ends
    std::string line;
};

/// The last `most` lines that hold `words`, in either letter case of ASCII letters, oldest first.
/// Reads the whole file, a piece at a time.
std::vector<LogMatch> findInLog(const std::string &path, std::string_view words, std::size_t most);

/// Lines as people read them: without control sequences of terminals (ECMA-48) and other control
/// characters, and without the time stamps unless `stamps`. Bytes above 0x7f stay as they are.
std::string readableLog(std::string_view text, bool stamps);

/// Empties the current file and removes the older one; conserver goes on with the file. False when
/// that failed; errno tells why. Logs that are not there count as cleared.
bool clearPortLog(unsigned port);

} // namespace zandorin
