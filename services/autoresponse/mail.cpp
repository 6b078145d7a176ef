#include "services/autoresponse/mail.h"

#include "util/paths.h"
#include "util/split.h"
#include "util/strings.h"

#include <unistd.h>

namespace zandorin::responder {

namespace {

/// Text of a header as encoded words (RFC 2047) where it is not plain ASCII.
std::string headerText(const std::string &text) {
    constexpr std::size_t most = 15; // characters of a word, whose bytes may each take three
    bool isPlain = true;
    std::string words;
    std::size_t inWord = 0;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        isPlain = isPlain && byte >= ' ' && byte < 0x7f;
        if (byte < ' ' || byte == 0x7f)
            continue;
        if (inWord == 0)
            words += words.empty() ? "=?ISO-8859-1?Q?" : "\r\n =?ISO-8859-1?Q?";
        if (isAlphanumeric(c)) {
            words += c;
        } else {
            constexpr std::string_view digits = "0123456789ABCDEF";
            words += '=';
            words += digits[byte / 16];
            words += digits[byte % 16];
        }
        inWord = (inWord + 1) % most;
        words += inWord == 0 ? "?=" : "";
    }
    constexpr std::size_t line = 200;
    return isPlain && text.size() < line ? text : words + (inWord == 0 ? "" : "?=");
}

} // namespace

Command sendMail(const Mail &mail) {
    const std::string own = appliancePath("/usr/sbin/sendmail");
    Command command{.words = {::access(own.c_str(), X_OK) == 0 ? own : "sendmail", "-i", "--"},
                    .input = "To: ",
                    .limit = std::chrono::seconds(60)};
    const auto recipients = utilities::split(mail.to, ", \t\r\n");
    for (const std::string &recipient : recipients) {
        if (&recipient != &recipients.front())
            command.input += ", ";
        command.input += recipient;
        command.words.push_back(recipient);
    }
    constexpr const char *form = "\nAuto-Submitted: auto-generated\nMIME-Version: 1.0\n"
                                 "Content-Type: text/plain; charset=ISO-8859-1\n"
                                 "Content-Transfer-Encoding: 8bit\n\n";
    append(command.input, {"\nSubject: ", headerText(mail.subject), form, mail.body, "\n"});
    std::erase(command.input, '\r');
    return command;
}

} // namespace zandorin::responder
