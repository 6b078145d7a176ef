#pragma once

#include "tests/support/appliance_test.h"
#include "util/fd.h"

namespace zandorin::test {

using Environment = std::map<std::string, std::string>;
using Fields = std::vector<std::pair<std::string, std::string>>;

/// The fields of "name=value&name=value", taken as they stand: nothing is decoded.
Fields formData(const std::string &text);
Fields operator+(Fields fields, const Fields &more);
/// What the first group of the regular expression matches, for each match.
std::vector<std::string> captures(const std::string &text, const std::string &pattern);

/// What the program answered.
struct Response {
    std::string header; ///< up to and without the empty line, lines ended by CR LF
    std::string body;
    int status = -1; ///< exit status, or 128 + the signal that ended it

    bool has(std::string_view text) const { return body.find(text) != std::string::npos; }
    /// The first of the texts that the body has not; "" when it has all of them.
    std::string lacks(const std::vector<std::string> &texts) const;
    /// The first of the texts that the body has; "" when it has none of them.
    std::string holds(const std::vector<std::string> &texts) const;
    /// The one header line of that name without it; "" when missing.
    std::string headerLine(std::string_view name) const;
    /// The texts of the boxes of a class such as "error-message", joined by "|".
    std::string boxes(const std::string &kind = "error-message") const;
    /// The text of the body from `start` to the `end` that follows it, both included.
    std::string part(std::string_view start, std::string_view end) const;
};

/// A request on its way: a process whose standard output is a pipe, as a web server gives it.
class Running {
  public:
    Running(pid_t process, UniqueFd output) : pid(process), output_(std::move(output)) {}

    /// Reads up to the end of the page, which may come before the process's own.
    void readPage();
    /// Reads what is left of the page and waits for the process; ends it when it takes more than a
    /// minute.
    Response finish();
    /// Ended by now. Only before finish().
    bool hasEnded() const;

    const pid_t pid;

  private:
    UniqueFd output_;
    std::string bytes_;
};

/// Runs the real zandorin.cgi, one process a request, on an appliance root of its own: a copy of
/// rootfs/ in its factory state. Paths are the appliance's. A record in the log of priority error
/// or graver that no expectLog announced fails the test, and so does a program that was killed.
class RequestTest : public ApplianceTest {
  protected:
    RequestTest();
    void SetUp() override {} // the root was filled already
    void TearDown() override;

    /// A logged-in session of that user; answers the cookie header.
    std::string login(const std::string &user = "root", const std::string &id = "");

    /// `query` is what stands behind the "?". As root, unless the cookie header of another session
    /// is given, or "" for nobody's.
    Response get(const std::string &query, const std::string &cookie);
    Response get(const std::string &query) { return get(query, login()); }
    /// Posts the fields URL-encoded.
    Response post(const Fields &fields, const std::string &cookie);
    Response post(const Fields &fields) { return post(fields, login()); }
    /// The same with the fields of formData().
    Response post(const char *text, const std::string &cookie) {
        return post(formData(text), cookie);
    }
    Response post(const char *text) { return post(formData(text)); }
    /// Any request: the variables in addition to REMOTE_ADDR and the like, and the body. With one
    /// it is a POST of a form.
    Response request(const Environment &variables, const std::string &body = "");

    /// The same without waiting for it. `wrapper` is a program with its arguments that runs the
    /// real one, whose path is appended.
    Running start(const Environment &variables, const std::string &body = "",
                  const std::vector<std::string> &wrapper = {});
    Running startPost(const Fields &fields, const std::string &cookie,
                      const std::vector<std::string> &wrapper = {});

    /// Devices, a group, a user ann and an auto-response, so that pages have all that they can
    /// have.
    void equip() const;
    /// Adds a page made of templates, open to administrators, to the navigation.
    void addPage(const std::string &id, std::string_view def, std::string_view frm) const;
    /// Installs a configurator: the lines of a shell script, in the appliance's root folder.
    static void addConfigurator(const std::string &name, std::string_view script);

    /// The stored configuration's file.
    static std::string configuration() { return read(config_file); }

    /// The appliance's files by path, but those of /tmp, the snapshots of XML files, and the one
    /// that counts programs; of a session only that it is there.
    std::map<std::string, std::string> files() const;

    /// Adds to or replaces the value of a dotted key in the stored configuration.
    void configure(const std::string &key, const std::string &value) const;
    void configure(const Fields &settings) const;
    /// The value of a dotted key in the stored configuration; "" when there is none.
    std::string stored(const std::string &key) const;
    /// Adds a user with these groups to the configuration and the account file.
    void addUser(const std::string &name, const std::vector<std::string> &groups) const;

    /// A grave log record that holds this text is no failure.
    void expectLog(const std::string &text) { expectedLog_.push_back(text); }
    /// All log records so far, one "<syslog priority> <text>" a line.
    std::string log() const;

    /// LD_PRELOAD of the programs; `rough` adds what interrupts system calls and moves the clock.
    std::string preloads(bool rough = false) const;

    static std::string encode(const Fields &fields);

  private:
    std::vector<std::string> expectedLog_;
};

} // namespace zandorin::test
