#include "tests/support/request_test.h"
#include "util/files.h"

#include <cstring>

// Everything that a request starts, with a stand-in that records what it was started with.

namespace zandorin::test {
namespace {

using Set = std::set<std::string>;

/// What may be handed on, and what shells add to it.
const char *const allowed_variables =
    " PATH ZANDORIN_ROOT LD_PRELOAD NSS_WRAPPER_PASSWD NSS_WRAPPER_GROUP "
    "NSS_WRAPPER_DISABLE_DEEPBIND PWD OLDPWD SHLVL _ ";

/// In the place of a program: notes its arguments, variables and open descriptors, a line each.
const char *const recorder = R"(exec 3>>"$ZANDORIN_ROOT/tmp/started"
for argument; do echo "arg $argument" >&3; done
env | sed 's/^/env /; s/=.*//' >&3
(ls -l /proc/$$/fd) >&3
exit 0)";

const std::string closed = "fd 0 /dev/null\nfd 1 /dev/null\nfd 2 /dev/null\n";
const std::string piped = "fd 0 /dev/null\nfd 1 pipe\nfd 2 /dev/null\n";

/// Sources that start programs. One that is new here belongs into the table below as well.
const Set starting_sources = {
    "cgi/session.cpp",                         // pam-client
    "forms/autoresponse_page.cpp",             // auto-response
    "forms/lldpstatus_page.cpp",               // lldpcli
    "forms/time_page.cpp",                     // chronyc
    "platform/libzandorin/configurator.cpp",   // configurators
    "platform/libzdsupport/clock.cpp",         // hwclock, never with an appliance root
    "platform/libzdsupport/process.cpp",       // the one that does it
    "platform/libzandorin/snmp_engine_id.cpp", // initsnmpappconf
    "ui/attempts.cpp",                         // zandorin-services
    "util/process_pipe.cpp",                   // the one that does it through a shell
};

const struct Row {
    const char *program;
    Fields fields;        ///< posted
    std::string expected; ///< arguments and descriptors, a line each; %R is the appliance root
} rows[] = {
    {"/bin/pam-client",
     formData("form=login&action=login_userpass&username=--help&password=-o;id`id`"),
     "arg -o\n" + closed},
    {"/sbin/lldpcli", formData("form=lldpstatus&interface=-x;id"),
     "arg -f\narg keyvalue\narg show\narg chassis\narg details\n" + piped +
         "arg -f\narg keyvalue\narg show\narg neighbor\narg details\n" + piped},
    {"/etc/scripts/initsnmpappconf", formData("form=snmp&config.system.snmp.engineid=-x;id"),
     piped + piped}, // each of the two managers asks
    {"/bin/auto-response",
     formData("form=autoresponse&action=apply&index=1&opened=-x;id&probe=-x;id"),
     "arg read\narg 1\n" + piped},
    {"/usr/lib/zandorin/configurators/systemsettings",
     formData("form=systemsettings&apply=1&config.system.name=--help"),
     "arg %R/etc/config/config.xml\n" + closed},
};

class StartedPrograms : public RequestTest {};

TEST_F(StartedPrograms, GetAnAllowListOfWhatTheRequestHas) {
    expectLog("can not contain markup");
    configure({{"config.auth.extendedsessionids", "off"},
               {"config.autoresponse.autoresponse1.name", "-x;id"},
               {"config.autoresponse.total", "1"}});
    for (const auto &row : rows) {
        put("/tmp/started", "");
        putProgram(row.program, recorder);
        // A web server that leaves descriptors open, and what a client may send.
        start({{"HTTP_COOKIE", row.fields[0].second == "login" ? "" : login()},
               {"HTTP_USER_AGENT", "() { :;}; touch started"},
               {"BASH_FUNC_test%%", "() { id; }"},
               {"BASH_ENV", "/etc/profile"},
               {"LD_LIBRARY_PATH", "/tmp"}},
              encode(row.fields),
              {"/bin/sh", "-c", "exec 7</etc/passwd 9>&1 2>/dev/null; exec \"$0\""})
            .finish();
        // Its own descriptors are 3, and the script's, which has two digits.
        static const std::regex descriptor(".* ([0-24-9]) -> (pipe|[^:]*).*");
        std::istringstream record(read("/tmp/started"));
        std::string seen;
        for (std::string line; std::getline(record, line);) {
            if (line.starts_with("arg "))
                seen += line + "\n";
            else if (std::smatch match; std::regex_match(line, match, descriptor))
                seen += "fd " + match[1].str() + " " + match[2].str() + "\n";
            EXPECT_TRUE(!line.starts_with("env ") ||
                        std::strstr(allowed_variables, (line.substr(3) + " ").c_str()) != nullptr)
                << row.program << ": " << line;
        }
        EXPECT_EQ(seen, std::regex_replace(row.expected, std::regex("%R"), onHost("")));
    }
}

TEST_F(StartedPrograms, AreStartedFromKnownPlacesOnly) {
    const std::regex call("\\b(exec[lv]p?e?|fexecve|popen|system|posix_spawnp?|fork|vfork|clone|"
                          "runProgram|startProgram|zandorin_proc_exec_nowait|ipipestream \\w+)\\(");
    Set found;
    for (const char *folder :
         {"util", "types", "platform", "settings", "cgi", "ui", "engine", "forms"})
        for (const auto &entry :
             fs::recursive_directory_iterator(fs::path(ZANDORIN_SOURCE_DIR) / folder))
            if (const std::string path = entry.path();
                path.ends_with(".cpp") && std::regex_search(readFile(path).value_or(""), call))
                found.insert(path.substr(std::string(ZANDORIN_SOURCE_DIR).size() + 1));
    EXPECT_EQ(found, starting_sources);
}

} // namespace
} // namespace zandorin::test
