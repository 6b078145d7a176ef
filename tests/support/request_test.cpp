#include "tests/support/request_test.h"

#include "platform/libzandorin/config_tree.h"
#include "platform/libzandorin/xml_tree.h"
#include "util/files.h"

#include <array>
#include <csignal>
#include <ctime>
#include <iomanip>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zandorin::test {

namespace {

constexpr const char *program = ZANDORIN_BIN_DIR "/zandorin.cgi";
// Links in the root: the loader takes a blank in a path, such as the sources' own, for the end of
// it.
constexpr const char *syslog_recorder = "/bin/syslog_recorder.so";
constexpr const char *rough_calls = "/bin/rough_calls.so";
constexpr auto request_limit = std::chrono::seconds(60);

std::vector<char *> pointers(std::vector<std::string> &words) {
    std::vector<char *> result;
    for (std::string &word : words)
        result.push_back(word.data());
    result.push_back(nullptr);
    return result;
}

platform::XmlDocument parsed(const std::string &bytes) {
    auto document = platform::parseXml(bytes);
    if (!document)
        throw std::runtime_error("config.xml is damaged");
    return std::move(*document);
}

} // namespace

Fields formData(const std::string &text) {
    Fields fields;
    std::istringstream parts(text);
    for (std::string part; std::getline(parts, part, '&');) {
        const auto equals = part.find('=');
        fields.emplace_back(part.substr(0, equals), part.substr(equals + 1));
    }
    return fields;
}

std::vector<std::string> captures(const std::string &text, const std::string &pattern) {
    const std::regex expression(pattern);
    return {std::sregex_token_iterator(text.begin(), text.end(), expression, 1), {}};
}

Fields operator+(Fields fields, const Fields &more) {
    fields.insert(fields.end(), more.begin(), more.end());
    return fields;
}

std::string Response::headerLine(std::string_view name) const {
    const auto lines = captures("\n" + header, "\n" + std::string(name) + ": ([^\r]*)");
    return lines.empty() ? "" : lines[0];
}

std::string Response::lacks(const std::vector<std::string> &texts) const {
    const auto found =
        std::find_if_not(texts.begin(), texts.end(), [&](auto &t) { return has(t); });
    return found == texts.end() ? "" : *found;
}

std::string Response::holds(const std::vector<std::string> &texts) const {
    const auto found = std::find_if(texts.begin(), texts.end(), [&](auto &t) { return has(t); });
    return found == texts.end() ? "" : *found;
}

std::string Response::boxes(const std::string &kind) const {
    std::string texts;
    for (const std::string &text :
         captures(body, "<p class=\"" + kind + "\"><font[^>]*><b>\\w+</b></font> (.*?)</p></body>"))
        texts += (texts.empty() ? "" : "|") + text;
    return texts;
}

std::string Response::part(std::string_view start, std::string_view end) const {
    const auto first = body.find(start);
    const auto last = first == std::string::npos ? first : body.find(end, first + start.size());
    return last == std::string::npos ? "" : body.substr(first, last - first + end.size());
}

void Running::readPage() {
    std::array<char, 65536> piece = {};
    const auto deadline = std::chrono::steady_clock::now() + request_limit;
    while (output_) {
        pollfd ready = {output_.get(), POLLIN, 0};
        ::poll(&ready, 1, 1000);
        if (std::chrono::steady_clock::now() > deadline) {
            ::kill(pid, SIGKILL);
            ADD_FAILURE() << "the page does not end";
            output_.reset();
        } else if (ready.revents != 0) {
            const ssize_t got = ::read(output_.get(), piece.data(), piece.size());
            if (got <= 0)
                output_.reset();
            else
                bytes_.append(piece.data(), static_cast<std::size_t>(got));
        }
    }
}

bool Running::hasEnded() const {
    siginfo_t info = {};
    return ::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           info.si_pid == pid;
}

Response Running::finish() {
    readPage();
    const auto deadline = std::chrono::steady_clock::now() + request_limit;
    int status = 0;
    while (::waitpid(pid, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > deadline)
            ::kill(pid, SIGKILL);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    Response response;
    response.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    const auto end = bytes_.find("\r\n\r\n");
    response.header = bytes_.substr(0, end);
    response.body = end == std::string::npos ? "" : bytes_.substr(end + 4);
    return response;
}

RequestTest::RequestTest() {
    clear();
    const std::string root = onHost("");
    fs::copy(ZANDORIN_SOURCE_DIR "/rootfs", root, fs::copy_options::recursive);
    fs::copy(ZANDORIN_SOURCE_DIR "/rootfs/etc/config", root + "/usr/lib/zandorin/factory");
    for (const char *folder : {"/tmp", "/proc", "/var/run/.sessions", "/bin", "/etc/config/users"})
        makeFolder(folder);
    fs::permissions(root + "/var/run/.sessions", fs::perms::owner_all);
    for (const char *helper : {"/pam-client", "/zandorin-config"})
        fs::create_symlink(std::string(ZANDORIN_BIN_DIR) + helper, root + "/bin" + helper);
    fs::create_symlink(ZANDORIN_SYSLOG_RECORDER, root + syslog_recorder);
    fs::create_symlink(ZANDORIN_ROUGH_CALLS, root + rough_calls);
    fs::create_symlink("/proc/uptime", root + "/proc/uptime");
}

void RequestTest::TearDown() {
    std::istringstream lines(log());
    for (std::string line; std::getline(lines, line);) {
        bool expected = line[0] > '3';
        for (const std::string &text : expectedLog_)
            expected = expected || line.find(text) != std::string::npos;
        EXPECT_TRUE(expected) << "unexpected log record: " << line;
    }
}

std::string RequestTest::login(const std::string &user, const std::string &id) {
    const std::string session = id.empty() ? "0123456789abcdef-" + user : id;
    const auto now = static_cast<long long>(std::time(nullptr));
    put("/var/run/.sessions/session-" + session,
        "username = " + user + "\nexpiry_time = " + std::to_string(now + 1200) +
            "\nauth_pid = 0\nauth_state = 7\nsession_len = 20\nautorefresh = true\n"
            "src_ip = 192.0.2.1\nsrc_port = 40000\nsession_start = " +
            std::to_string(now) + "\n");
    return "ZdSessionId=" + session;
}

void RequestTest::equip() const {
    const std::string rule = "config.autoresponse.autoresponse1.";
    configure(
        formData("config.ui.debug=on&config.auth.pmshell.available=on&config.system.model=HX9008&"
                 "config.system.sms.method=cellular&config.ports.port2.device.type=ups&"
                 "config.ports.port3.device.type=enviro&config.ports.port4.device.type=rpc&"
                 "config.ntp.servers=ntp.example.com&config.power.outlets.outlet1.label=Rack&"
                 "config.groups.total=7&"
                 "config.groups.group7.name=ops&config.autoresponse.total=1") +
        Fields{{rule + "name", "rule"},
               {rule + "check_type", "webui_login"},
               {rule + "webui_login.trigger_login", "on"},
               {rule + "resolve_actions.total", "1"},
               {rule + "resolve_actions.action1.type", "custom"}});
    addUser("ann", {"pmshell"});
    for (const char *path :
         {"/etc/config/ssl_cert.pem", "/etc/config/ssl_key.pem", "/var/log/messages"})
        put(path, "a line\n");
    put("/var/run/snmpd/snmpapp.conf", "oldEngineID 0x8000\n");
}

Response RequestTest::get(const std::string &query, const std::string &cookie) {
    return request({{"QUERY_STRING", query}, {"HTTP_COOKIE", cookie}});
}

Response RequestTest::post(const Fields &fields, const std::string &cookie) {
    Response response = startPost(fields, cookie).finish();
    EXPECT_EQ(response.status, 0) << "the program did not end well";
    return response;
}

Response RequestTest::request(const Environment &variables, const std::string &body) {
    Response response = start(variables, body).finish();
    EXPECT_EQ(response.status, 0) << "the program did not end well";
    return response;
}

Running RequestTest::startPost(const Fields &fields, const std::string &cookie,
                               const std::vector<std::string> &wrapper) {
    return start({{"HTTP_COOKIE", cookie}}, encode(fields), wrapper);
}

Running RequestTest::start(const Environment &variables, const std::string &body,
                           const std::vector<std::string> &wrapper) {
    Environment environment = {
        {"PATH", "/usr/bin:/bin"},
        {"ZANDORIN_ROOT", onHost("")},
        {"ZANDORIN_TEST_LOG", onHost("/tmp/log")},
        {"LD_PRELOAD", preloads()},
        {"NSS_WRAPPER_PASSWD", onHost(passwd)},
        {"NSS_WRAPPER_GROUP", onHost(group_file)},
        {"NSS_WRAPPER_DISABLE_DEEPBIND", "1"}, // the sanitizers do not bear it
        {"GATEWAY_INTERFACE", "CGI/1.1"},
        {"SERVER_PROTOCOL", "HTTP/1.1"},
        {"REMOTE_ADDR", "192.0.2.1"},
        {"REMOTE_PORT", "40000"},
        {"REQUEST_METHOD", body.empty() ? "GET" : "POST"},
        {"CONTENT_TYPE", "application/x-www-form-urlencoded"},
        {"CONTENT_LENGTH", std::to_string(body.size())},
    };
    for (const auto &[name, value] : variables)
        environment[name] = value;
    std::vector<std::string> words;
    for (const auto &[name, value] : environment)
        words.push_back(name + "=" + value);
    std::vector<std::string> command = wrapper;
    command.emplace_back(program);

    const UniqueFd input(::memfd_create("request", MFD_CLOEXEC));
    int ends[2] = {-1, -1};
    if (::pwrite(input.get(), body.data(), body.size(), 0) != static_cast<ssize_t>(body.size()) ||
        ::pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("cannot make a pipe");
    UniqueFd output(ends[0]);
    const UniqueFd page(ends[1]);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, input.get(), 0);
    ::posix_spawn_file_actions_adddup2(&actions, page.get(), 1);
    pid_t pid = -1;
    const int failed = ::posix_spawnp(&pid, command[0].c_str(), &actions, nullptr,
                                      pointers(command).data(), pointers(words).data());
    ::posix_spawn_file_actions_destroy(&actions);
    if (failed != 0)
        throw std::runtime_error("cannot start " + command[0]);
    return {pid, std::move(output)};
}

void RequestTest::addPage(const std::string &id, std::string_view def, std::string_view frm) const {
    std::string tree = read("/home/httpd/nav.xml");
    tree.insert(tree.rfind("</tree>"),
                "<branch label='Test'><leaf id='" + id + "' label='Test'/></branch>");
    put("/home/httpd/nav.xml", tree);
    put("/home/httpd/forms/" + id + ".def", def);
    put("/home/httpd/forms/" + id + ".frm", frm);
}

void RequestTest::addConfigurator(const std::string &name, std::string_view script) {
    putProgram("/usr/lib/zandorin/configurators/" + name,
               "cd \"$ZANDORIN_ROOT\" || exit\n" + std::string(script));
}

std::map<std::string, std::string> RequestTest::files() const {
    std::map<std::string, std::string> found;
    const std::string root = onHost("");
    for (const auto &entry : fs::recursive_directory_iterator(root)) {
        const std::string path = entry.path().string().substr(root.size());
        if (entry.is_regular_file() && !entry.is_symlink() && !path.starts_with("/tmp/") &&
            !path.ends_with(".snapshot") && path != "/var/run/.programs")
            found[path] = path.starts_with("/var/run/.sessions/") ? "" : read(path);
    }
    return found;
}

void RequestTest::configure(const std::string &key, const std::string &value) const {
    configure({{key, value}});
}

void RequestTest::configure(const Fields &settings) const {
    auto document = parsed(configuration());
    for (const auto &[key, value] : settings)
        platform::setElementText(document.root, key, value);
    put(config_file, platform::renderXml(document));
}

std::string RequestTest::stored(const std::string &key) const {
    const auto document = parsed(configuration());
    const platform::XmlNode *node = platform::findElement(document.root, key);
    return node == nullptr ? "" : node->text();
}

void RequestTest::addUser(const std::string &name, const std::vector<std::string> &groups) const {
    Fields user = {{"config.users.total", "1"}, {"config.users.user1.username", name}};
    for (std::size_t i = 0; i < groups.size(); ++i)
        user.emplace_back("config.users.user1.groups.group" + std::to_string(i + 1), groups[i]);
    configure(user);
    put(passwd, read(passwd) + name + ":x:1000:1000::/etc/config/users/" + name + ":/bin/bash\n");
}

std::string RequestTest::preloads(bool rough) const {
    return onHost(syslog_recorder) + (rough ? ":" + onHost(rough_calls) : "") +
           ":libnss_wrapper.so";
}

std::string RequestTest::log() const {
    return exists("/tmp/log") ? read("/tmp/log") : "";
}

std::string RequestTest::encode(const Fields &fields) {
    std::ostringstream text;
    text << std::hex << std::uppercase << std::setfill('0');
    for (const auto &[name, value] : fields) {
        text << (text.tellp() == 0 ? "" : "&");
        for (const char c : name)
            text << '%' << std::setw(2) << int{static_cast<unsigned char>(c)};
        text << '=';
        for (const char c : value)
            text << '%' << std::setw(2) << int{static_cast<unsigned char>(c)};
    }
    return text.str();
}

} // namespace zandorin::test
