#include "types/predicates.h"

#include "util/log.h"
#include "util/split.h"

#include <algorithm>

#include <regex.h>

namespace zandorin {

namespace {

// POSIX extended regular expressions, in which a backslash between square brackets is a character
// like any other.
constexpr const char *posix_user = "^[a-zA-Z0-9][a-zA-Z0-9._-]*$";
constexpr const char *phone_number = R"(^[+]?([0-9]*[\.\s\-\(\)]|[0-9]+){3,24}$)";
constexpr const char *email =
    R"(^([a-zA-Z0-9_\.\-]+)@((\[[0-9]{1,3}\.[0-9]{1,3}\.[0-9]{1,3}\.)|(([a-zA-Z0-9\-]+\.)+)))"
    R"(([a-zA-Z]{2,4}|[0-9]{1,3})(\]?)$)";
// The certificate types are those of OpenSSH's PROTOCOL.certkeys.
constexpr const char *ssh_key =
    R"(^(ssh-rsa|ecdsa-sha2-nistp(256|384|521)|ssh-ed25519)(-cert-v01@openssh\.com)? )"
    R"([a-zA-Z0-9+/]+[=]{0,2}( |$))";

class Pattern {
  public:
    /// A pattern that does not compile is logged in these words and matches nothing.
    Pattern(const char *pattern, const char *failure)
        : compiled_(::regcomp(&regex_, pattern, REG_EXTENDED | REG_NOSUB) == 0) {
        if (!compiled_)
            logRecord(Priority::fatal, "%s", failure);
    }
    ~Pattern() {
        if (compiled_)
            ::regfree(&regex_);
    }
    Pattern(const Pattern &) = delete;
    Pattern &operator=(const Pattern &) = delete;

    bool matches(const std::string &value) const {
        return compiled_ && value.find('\0') == std::string::npos &&
               ::regexec(&regex_, value.c_str(), 0, nullptr, 0) == 0;
    }

    bool matchesEachPiece(const std::string &value) const {
        const auto pieces = utilities::split(value, " ,");
        return compiled_ && std::all_of(pieces.begin(), pieces.end(),
                                        [this](const auto &piece) { return matches(piece); });
    }

  private:
    regex_t regex_ = {};
    bool compiled_;
};

} // namespace

bool isValidPosixUser(const std::string &value) {
    ZANDORIN_TRACE();
    return Pattern(posix_user, "Failed to compile 'username' regex.").matches(value);
}

bool isValidUserName(const std::string &value) {
    ZANDORIN_TRACE();
    return isValidPosixUser(value) || isValidEmail(value);
}

bool isValidPhoneNumber(const std::string &value) {
    ZANDORIN_TRACE();
    return Pattern(phone_number, "Failed to compile regex.").matchesEachPiece(value);
}

bool isValidEmail(const std::string &value) {
    ZANDORIN_TRACE();
    return Pattern(email, "Failed to compile regex.").matchesEachPiece(value);
}

bool isValidSshAuthKey(const std::string &value) {
    ZANDORIN_TRACE();
    return Pattern(ssh_key, "Failed to compile SSH Auth Key regex.").matches(value);
}

bool isValidIpsecId(const std::string &value) {
    ZANDORIN_TRACE();
    const std::string rest = value.size() >= 2 ? value.substr(1) : "";
    const auto found = [&](const char *what) {
        logRecord(Priority::info, "%s%s", what, value.c_str());
        return true;
    };
    if (value.starts_with('%') && (rest == "fromcert" || rest == "none" || rest == "myid"))
        return found("Valid magic value found: ");
    if (isValidIPAddress(value))
        return found("Valid IP Address found: ");
    if (value.starts_with('@') && isValidHostName(rest))
        return found("Valid domain preceeded by'@' found: ");
    if (isValidEmail(value))
        return found("Valid email type ID found: ");
    if (isValidHostName(value))
        return found("Valid domain with no '@' found: ");
    return false;
}

} // namespace zandorin
