#pragma once

#include "platform/libzandorin/config_tree.h"
#include "tests/support/request_test.h"

#include <regex>

#include <crypt.h>

namespace zandorin::test {

inline constexpr const char *passwd = "/etc/config/passwd";
inline constexpr const char *config_file = "/etc/config/config.xml";
inline constexpr const char *key_one = "ssh-ed25519 AAAAC3NzaC1lZDI1NTE5AAAA ann@home";
inline constexpr const char *key_two = "ssh-rsa AAAAB3NzaC1yc2E= second";

/// The fields that a page of user or group `index`, opened with that name, sends besides its
/// own. An empty name adds.
inline Fields taskFields(const std::string &type, int index, const std::string &opened) {
    return {{"action", opened.empty() ? "add" : "edit"},
            {"type", type},
            {"index", std::to_string(index)},
            {"opened", opened},
            {"form", "users"},
            {"apply", "Apply"}};
}
/// A user's page as it is sent: a name, and a password unless it stays as it is.
inline Fields userFields(int index, const std::string &opened, const std::string &name,
                         const std::string &password, const Fields &more = {}) {
    const std::string key = "config.users.user" + std::to_string(index);
    Fields fields = taskFields("user", index, opened);
    fields.insert(
        fields.begin(),
        {{key + ".username", name}, {key + ".password", password}, {key + ".confirm", password}});
    fields.insert(fields.begin(), more.begin(), more.end()); // the first of a name counts
    return fields;
}
inline Fields groupFields(int index, const std::string &opened, const std::string &name,
                          const Fields &more = {}) {
    Fields fields = taskFields("group", index, opened);
    fields.emplace_back("config.groups.group" + std::to_string(index) + ".name", name);
    fields.insert(fields.begin(), more.begin(), more.end());
    return fields;
}

/// The page of users and groups: its submissions, and what the files then hold.
class Users : public RequestTest {
  protected:
    std::string value(const std::string &key) const {
        const auto document = platform::parseXml(read(config_file));
        const auto *element = platform::findElement(document.value().root, "config." + key);
        return element == nullptr ? "" : element->text();
    }

    std::string account(const std::string &name) const {
        std::smatch match;
        const std::string text = read(passwd);
        return std::regex_search(text, match, std::regex("(^|\n)(" + name + ":[^\n]*)"))
                   ? match[2].str()
                   : "";
    }
    bool hasPassword(const std::string &name, const std::string &password) const {
        const std::string line = account(name);
        const auto start = line.find(':') + 1;
        const std::string hash = line.substr(start, line.find(':', start) - start);
        const char *made = ::crypt(password.c_str(), hash.c_str());
        return made != nullptr && hash == made;
    }

    Response upload(const Fields &fields, const std::string &name, const std::string &fileName,
                    const std::string &contents) {
        std::string body;
        for (const auto &[field, text] : fields)
            body += "--b\r\nContent-Disposition: form-data; name=\"" + field + "\"\r\n\r\n" + text +
                    "\r\n";
        body += "--b\r\nContent-Disposition: form-data; name=\"" + name + "\"; filename=\"" +
                fileName + "\"\r\nContent-Type: application/octet-stream\r\n\r\n" + contents +
                "\r\n--b--\r\n";
        return request({{"REQUEST_METHOD", "POST"},
                        {"CONTENT_TYPE", "multipart/form-data; boundary=b"},
                        {"HTTP_COOKIE", login()}},
                       body);
    }

    void addTwo() {
        ASSERT_TRUE(post(userFields(1, "", "ann", "secret-1"), login())
                        .has("Changes to configuration succeeded."));
        ASSERT_TRUE(post(userFields(2, "", "bea", "secret-2"), login())
                        .has("Changes to configuration succeeded."));
    }
};

inline bool saved(const Response &response) {
    return response.has(" has been saved.") && !response.has("error-message");
}

} // namespace zandorin::test
