#pragma once

#include "tests/support/request_test.h"

#include <crypt.h>

namespace zandorin::test {

inline constexpr const char *key_one = "ssh-ed25519 AAAAC3NzaC1lZDI1NTE5AAAA ann@home";
inline constexpr const char *key_two = "ssh-rsa AAAAB3NzaC1yc2E= second";

/// What the page of user or group `index`, opened with that name, sends for that action besides
/// its own fields.
inline Fields question(const std::string &action, const std::string &type, int index,
                       const std::string &opened) {
    return {{"action", action}, {"type", type},    {"index", std::to_string(index)},
            {"opened", opened}, {"form", "users"}, {"apply", "Apply"}};
}
/// A user's page as it is sent: a name, and a password unless it stays as it is. An empty `opened`
/// adds. Of two fields of one name the first counts: those of `more` stand first.
inline Fields userFields(int index, const std::string &opened, const std::string &name,
                         const std::string &password, const Fields &more = {}) {
    const std::string key = "config.users.user" + std::to_string(index);
    return more +
           Fields{{key + ".username", name},
                  {key + ".password", password},
                  {key + ".confirm", password}} +
           question(opened.empty() ? "add" : "edit", "user", index, opened);
}
inline Fields groupFields(int index, const std::string &opened, const std::string &name,
                          const Fields &more = {}) {
    return more + Fields{{"config.groups.group" + std::to_string(index) + ".name", name}} +
           question(opened.empty() ? "add" : "edit", "group", index, opened);
}

/// The page of users and groups: its submissions, and what the files then hold.
class Users : public RequestTest {
  protected:
    std::string value(const std::string &key) const { return stored("config." + key); }
    /// The files that a change of users may touch.
    std::string files() const { return read(passwd) + read(group_file) + configuration(); }
    static std::string keysOf(const std::string &name) {
        return "/etc/config/users/" + name + "/.ssh/authorized_keys";
    }

    Response upload(const Fields &fields, const std::string &name, const std::string &fileName,
                    const std::string &contents) {
        const std::string part = "--b\r\nContent-Disposition: form-data; name=\"";
        std::string body;
        for (const auto &[field, text] : fields)
            body += part + field + "\"\r\n\r\n" + text + "\r\n";
        body += part + name + "\"; filename=\"" + fileName +
                "\"\r\nContent-Type: application/octet-stream\r\n\r\n" + contents + "\r\n--b--\r\n";
        return request({{"REQUEST_METHOD", "POST"},
                        {"CONTENT_TYPE", "multipart/form-data; boundary=b"},
                        {"HTTP_COOKIE", login()}},
                       body);
    }

    void addTwo() {
        int index = 0;
        for (const char *name : {"ann", "anna"})
            ASSERT_TRUE(post(userFields(++index, "", name, "secret"))
                            .has("Changes to configuration succeeded."));
    }
};

inline bool saved(const Response &response) {
    return response.has(" has been saved.") && !response.has("error-message");
}

} // namespace zandorin::test
