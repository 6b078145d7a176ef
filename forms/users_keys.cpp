#include "forms/users_keys.h"

#include "cgi/cgi.h"
#include "cgi/decoder.h"
#include "cgi/upload.h"
#include "engine/engine.h"
#include "forms/users_form.h"
#include "util/files.h"
#include "util/log.h"
#include "util/paths.h"
#include "util/strings.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>

#include <stdlib.h>
#include <unistd.h>

namespace zandorin::users {

namespace {

constexpr const char *label = "SSH Authorized Keys";

/// A folder that nobody else can reach into; removed with the file in it.
class PrivateFolder {
  public:
    PrivateFolder() : path_(appliancePath("/tmp/upload-XXXXXX")) {
        if (::mkdtemp(path_.data()) != nullptr)
            return;
        logRecord(Priority::error, "Failed to make: %s: %s", path_.c_str(), std::strerror(errno));
        path_.clear();
    }
    ~PrivateFolder() {
        if (path_.empty())
            return;
        ::unlink(file().c_str());
        ::rmdir(path_.c_str());
    }
    PrivateFolder(const PrivateFolder &) = delete;
    PrivateFolder &operator=(const PrivateFolder &) = delete;

    bool isThere() const { return !path_.empty(); }
    std::string file() const { return path_ + "/file"; }

  private:
    std::string path_;
};

bool isText(std::string_view text) {
    for (const char c : text)
        if (c != '\n' && c != '\r' && c != '\t' && hasControlCharacter({&c, 1}))
            return false;
    return true;
}

/// The uploaded file; "" when there is none, or with an error when it cannot be taken.
std::string uploadedKeys(const RecordForm &form) {
    const std::string field = form.record().key + keys_file_field;
    Cgi &cgi = form.cgi();
    std::size_t size = 0;
    if (gcgiFieldSize(field.c_str(), &size) != GCGI_OK || size == 0)
        return "";
    const std::size_t before = form.errors();
    const PrivateFolder folder;
    constexpr mode_t own = 0600;
    if (!folder.isThere() || !uploadFile(cgi, field, folder.file(), own)) {
        if (form.errors() == before)
            cgi.addError("The file of SSH keys could not be stored.");
        return "";
    }
    const auto text = readFile(folder.file(), keys_limit);
    if (!text)
        cgi.addError("The file of SSH keys is too large: it may hold " +
                     std::to_string(keys_limit) + " bytes.");
    else if (!isText(*text))
        cgi.addError("The file of SSH keys is no text file. Upload a public key.");
    return form.errors() == before ? *text : "";
}

} // namespace

std::string submittedKeys(const RecordForm &form) {
    const std::size_t before = form.errors();
    const std::string typed = form.value(keys_field, keys_limit);
    const std::string text = typed + "\n" + uploadedKeys(form);
    std::string keys;
    int number = 0;
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view whole = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(whole.size() + 1, rest.size()));
        const std::string line(trim(whole));
        ++number;
        if (line.empty() || line.front() == '#')
            continue;
        const std::string name = std::string(label) + ", line " + std::to_string(number);
        if (hasControlCharacter(line)) {
            form.cgi().addError("<i>" + name + "</i> can not contain control characters.");
            break;
        }
        if (!form.engine().acceptsValue(FormElem(name, "sshauthkey", true, true), line))
            break;
        keys += (keys.empty() ? "" : "\n") + line;
    }
    if (form.errors() == before && std::max(typed.size(), keys.size()) > keys_limit)
        form.cgi().addError("<i>" + std::string(label) + "</i> can not be longer than " +
                            std::to_string(keys_limit) + " bytes.");
    return keys;
}

} // namespace zandorin::users
