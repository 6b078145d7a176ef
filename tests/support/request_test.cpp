#include "tests/support/request_test.h"

#include "platform/libzandorin/xml_tree.h"
#include "util/files.h"

#include <array>
#include <chrono>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>

namespace zandorin::test {

namespace fs = std::filesystem;

namespace {

constexpr const char *program = ZANDORIN_BIN_DIR "/zandorin.cgi";
constexpr auto request_limit = std::chrono::seconds(60);

std::string makeRoot() {
    std::string root = (fs::temp_directory_path() / "zandorin-request-XXXXXX").string();
    if (::mkdtemp(root.data()) == nullptr)
        throw std::runtime_error("cannot make " + root);
    fs::copy(ZANDORIN_SOURCE_DIR "/rootfs", root, fs::copy_options::recursive);
    for (const char *folder : {"/tmp", "/proc", "/var/run/.sessions", "/bin", "/etc/config/users"})
        fs::create_directories(root + folder);
    fs::permissions(root + "/var/run/.sessions", fs::perms::owner_all);
    fs::create_symlink(ZANDORIN_BIN_DIR "/pam-client", root + "/bin/pam-client");
    fs::create_symlink("/proc/uptime", root + "/proc/uptime");
    return root;
}

std::string wholeFile(const std::string &path) {
    return readFile(path).value_or("(missing)");
}

/// Waits for the process; ends it when it takes too long.
int exitStatus(pid_t pid) {
    const auto deadline = std::chrono::steady_clock::now() + request_limit;
    int status = 0;
    while (::waitpid(pid, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > deadline)
            ::kill(pid, SIGKILL);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

platform::XmlNode &childOf(platform::XmlNode &parent, const std::string &name) {
    if (platform::XmlNode *found = parent.child(name))
        return *found;
    platform::XmlNode child;
    child.value = name;
    parent.children.push_back(std::move(child));
    return parent.children.back();
}

} // namespace

std::string Response::headerLine(std::string_view name) const {
    const std::string start = "\r\n" + std::string(name) + ": ";
    const auto found = ("\r\n" + header).find(start);
    if (found == std::string::npos)
        return "";
    const std::string rest = header.substr(found + start.size() - 2);
    return rest.substr(0, rest.find("\r\n"));
}

std::string Response::part(std::string_view start, std::string_view end) const {
    const auto first = body.find(start);
    const auto last = first == std::string::npos ? first : body.find(end, first + start.size());
    return last == std::string::npos ? "" : body.substr(first, last - first + end.size());
}

RequestTest::RequestTest() : root_(makeRoot()) {}

RequestTest::~RequestTest() {
    std::error_code ignored;
    fs::remove_all(root_, ignored);
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

Response RequestTest::get(const std::string &query, const std::string &cookie) {
    return request({{"REQUEST_METHOD", "GET"}, {"QUERY_STRING", query}, {"HTTP_COOKIE", cookie}});
}

Response RequestTest::post(const Fields &fields, const std::string &cookie) {
    return request({{"REQUEST_METHOD", "POST"},
                    {"CONTENT_TYPE", "application/x-www-form-urlencoded"},
                    {"HTTP_COOKIE", cookie}},
                   encode(fields));
}

Response RequestTest::request(const Environment &variables, const std::string &body) {
    Environment environment = {
        {"PATH", "/usr/bin:/bin"},
        {"ZANDORIN_ROOT", root_},
        {"ZANDORIN_TEST_LOG", onHost("/tmp/log")},
        {"LD_PRELOAD", ZANDORIN_SYSLOG_RECORDER ":libnss_wrapper.so"},
        {"NSS_WRAPPER_PASSWD", onHost("/etc/config/passwd")},
        {"NSS_WRAPPER_GROUP", onHost("/etc/config/group")},
        // The sanitizers do not take a library bound to itself first.
        {"NSS_WRAPPER_DISABLE_DEEPBIND", "1"},
        {"GATEWAY_INTERFACE", "CGI/1.1"},
        {"SERVER_PROTOCOL", "HTTP/1.1"},
        {"REMOTE_ADDR", "192.0.2.1"},
        {"REMOTE_PORT", "40000"},
        {"CONTENT_LENGTH", std::to_string(body.size())},
    };
    for (const auto &[name, value] : variables)
        environment[name] = value;
    std::vector<std::string> words;
    std::vector<char *> pointers;
    for (const auto &[name, value] : environment)
        words.push_back(name + "=" + value);
    for (std::string &word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);

    const std::string input = onHost("/tmp/request");
    const std::string output = onHost("/tmp/response");
    if (!replaceFile(input, body, 0600, Durable::no))
        throw std::runtime_error("cannot write " + input);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, 0, input.c_str(), O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                       0600);
    std::string name = program;
    std::array<char *, 2> arguments = {name.data(), nullptr};
    pid_t pid = -1;
    const int failed =
        ::posix_spawn(&pid, program, &actions, nullptr, arguments.data(), pointers.data());
    ::posix_spawn_file_actions_destroy(&actions);
    if (failed != 0)
        throw std::runtime_error(std::string("cannot start ") + program);

    Response response;
    response.status = exitStatus(pid);
    EXPECT_EQ(response.status, 0) << "the program did not end well";
    const std::string bytes = wholeFile(output);
    const auto end = bytes.find("\r\n\r\n");
    response.header = bytes.substr(0, end);
    response.body = end == std::string::npos ? "" : bytes.substr(end + 4);
    return response;
}

void RequestTest::put(std::string_view path, std::string_view contents) const {
    const fs::path file = onHost(path);
    fs::create_directories(file.parent_path());
    if (!replaceFile(file.string(), contents, 0600, Durable::no))
        throw std::runtime_error("cannot write " + file.string());
}

std::string RequestTest::read(std::string_view path) const {
    return wholeFile(onHost(path));
}

bool RequestTest::exists(std::string_view path) const {
    return fs::exists(onHost(path));
}

void RequestTest::configure(const std::string &key, const std::string &value) const {
    auto document = platform::parseXml(read("/etc/config/config.xml"));
    if (!document)
        throw std::runtime_error("config.xml is damaged");
    platform::XmlNode *node = &document->root;
    std::istringstream segments(key.substr(key.find('.') + 1));
    for (std::string segment; std::getline(segments, segment, '.');)
        node = &childOf(*node, segment);
    platform::XmlNode text;
    text.kind = platform::XmlNode::Kind::text;
    text.value = value;
    node->children = {text};
    put("/etc/config/config.xml", platform::renderXml(*document));
}

std::string RequestTest::stored(const std::string &key) const {
    const auto document = platform::parseXml(read("/etc/config/config.xml"));
    if (!document)
        throw std::runtime_error("config.xml is damaged");
    const platform::XmlNode *node = &document->root;
    std::istringstream segments(key.substr(key.find('.') + 1));
    for (std::string segment; node != nullptr && std::getline(segments, segment, '.');)
        node = node->child(segment);
    return node == nullptr ? "" : node->text();
}

void RequestTest::addUser(const std::string &name, const std::vector<std::string> &groups) const {
    configure("config.users.total", "1");
    configure("config.users.user1.username", name);
    for (std::size_t i = 0; i < groups.size(); ++i)
        configure("config.users.user1.groups.group" + std::to_string(i + 1), groups[i]);
    put("/etc/config/passwd", read("/etc/config/passwd") + name +
                                  ":x:1000:1000::/etc/config/users/" + name + ":/bin/bash\n");
}

std::string RequestTest::log() const {
    return exists("/tmp/log") ? read("/tmp/log") : "";
}

std::string RequestTest::encode(const Fields &fields) {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    const auto append = [&text](const std::string &part) {
        for (const char c : part) {
            const auto byte = static_cast<unsigned char>(c);
            text += '%';
            text += digits[byte >> 4U];
            text += digits[byte & 0xfU];
        }
    };
    for (const auto &[name, value] : fields) {
        text += text.empty() ? "" : "&";
        append(name);
        text += "=";
        append(value);
    }
    return text;
}

} // namespace zandorin::test
