#include "platform/libzandorin/config_manager.h"
#include "services/quoting.h"
#include "services/service.h"
#include "util/files.h"
#include "util/paths.h"
#include "util/process_pipe.h"
#include "util/strings.h"

#include <array>
#include <iterator>

#include <unistd.h>

// msmtp(1) sends the appliance's mails; who has one calls usr/sbin/sendmail, which queues it, and
// the queue's script, rootfs/usr/lib/zandorin/mail-queue, sends it.

namespace zandorin::services {
namespace {

constexpr const char *key = "config.system.smtp.";
constexpr const char *settings_path = "/etc/msmtprc";
constexpr mode_t own = 0600;

std::string valueOf(const ConfigManager &config, const char *name) {
    return config.getElement(key + std::string(name));
}

bool isOn(const ConfigManager &config) {
    return !valueOf(config, "server").empty();
}

const char *standardPort(const std::string &security) {
    if (security == "tls")
        return "465";
    return security == "starttls" ? "587" : "25";
}

std::vector<File> files(const ConfigManager &config) {
    const std::string security = valueOf(config, "security");
    const std::string port = valueOf(config, "port");
    const std::string sender = valueOf(config, "sender");
    const std::string user = valueOf(config, "username");
    std::string text = "account default\nhost " + msmtpText(valueOf(config, "server")) + "\nport " +
                       (port.empty() ? standardPort(security) : port) + "\nfrom " +
                       msmtpText(sender.empty() ? "console@localhost" : sender) + "\n";
    text += security.empty() ? "tls off\n" : "tls on\n";
    if (security == "tls")
        text += "tls_starttls off\n";
    // Without encryption msmtp takes those methods alone that hide the password.
    if (!user.empty())
        text += "auth on\nuser " + msmtpText(user) + "\npassword " +
                msmtpText(valueOf(config, "password")) + "\n";
    return {{.path = settings_path, .text = text, .mode = own}};
}

std::string run(const ConfigManager & /*config*/) {
    return "exec " + shellQuote(appliancePath("/usr/lib/zandorin/mail-queue")) + "\n";
}

std::vector<std::string> checker(const std::vector<File> &files) {
    return {"msmtp", "-C", candidatePath(files.front()), "--pretend"};
}

/// The part of msmtp's log line between these words and the next quote.
std::string partOf(const std::string &line, const std::string &word) {
    const auto at = line.find(word + "='");
    if (at == std::string::npos)
        return "";
    const auto start = at + word.size() + 2;
    return line.substr(start, line.find("' ", start) - start);
}

Tried sendTestMail(const ConfigManager &config) {
    constexpr int patience = 10000; // milliseconds
    const std::string recipient = config.getElement("config.try.to");
    if (!isOn(config) || recipient.empty())
        return {.words = "A mail server and a recipient are needed."};
    const std::string base =
        appliancePath("/var/run/.mail-" + std::to_string(static_cast<long long>(::getpid())));
    const std::string subject = valueOf(config, "subject");
    const std::string mail = "To: " + recipient +
                             "\nSubject: " + (subject.empty() ? "Test mail" : subject) +
                             "\n\nThis mail was asked for on the page of the mail settings.\n";
    Tried tried = {.words = "There is no room for the mail."};
    if (replaceFile(base + "-rc", files(config).front().text, own, Durable::no) &&
        replaceFile(base, mail, own, Durable::no)) {
        ipipestream msmtp("exec msmtp -C " + shellQuote(base + "-rc") +
                              " --logfile=- --timeout=9 -- " + shellQuote(recipient) + " <" +
                              shellQuote(base) + " 2>&1",
                          patience);
        const std::string line(std::istreambuf_iterator<char>(msmtp), {});
        const std::string answer = partOf(line, "smtpmsg");
        const std::string fault = partOf(line, "errormsg");
        tried = {.isGood = msmtp.success(),
                 .words = fault + (fault.empty() || answer.empty() ? "" : "; ") + answer};
        if (tried.words.empty())
            tried.words = line;
    }
    ::unlink(base.c_str());
    ::unlink((base + "-rc").c_str());
    return tried;
}

constexpr std::array attempts = {Attempt{.name = "mail", .run = sendTestMail}};

} // namespace

extern const Service smtp = {.name = "smtp",
                             .pages = "smtp",
                             .isOn = isOn,
                             .files = files,
                             .run = run,
                             .checker = checker,
                             .attempts = attempts};

} // namespace zandorin::services
