#include "forms/users_keys.h"

#include "cgi/cgi.h"
#include "cgi/upload.h"
#include "engine/engine.h"
#include "platform/accounts/account_line.h"
#include "util/strings.h"

#include <algorithm>
#include <string_view>

namespace zandorin::users {

namespace {

constexpr const char *label = "SSH Authorized Keys";

bool isText(std::string_view text) {
    return std::none_of(text.begin(), text.end(), [](char c) {
        return c != '\n' && c != '\r' && c != '\t' && hasControlCharacter({&c, 1});
    });
}

} // namespace

std::string submittedKeys(Engine &engine, const std::string &name, std::size_t limit) {
    Cgi &cgi = *engine.cgi();
    const std::size_t before = cgi.getErrors().size();
    const std::string typed = cgi.getVarString(name, limit + 2).raw;
    const std::string file = uploadedText(cgi, name + ".file").value_or("");
    if (file.size() > limit)
        cgi.addError("The file of SSH keys is too large: it may hold " + std::to_string(limit) +
                     " bytes.");
    else if (!isText(file))
        cgi.addError("The file of SSH keys is no text file. Upload a public key.");
    if (cgi.getErrors().size() != before)
        return typed;
    std::string keys;
    int number = 0;
    const std::string text = typed + "\n" + file;
    for (const std::string_view whole : linesOf(text)) {
        const std::string line(trim(whole));
        ++number;
        if (line.empty() || line.front() == '#')
            continue;
        const std::string where = std::string(label) + ", line " + std::to_string(number);
        if (hasControlCharacter(line)) {
            cgi.addError("<i>" + where + "</i> can not contain control characters.");
            break;
        }
        if (!engine.acceptsValue(FormElem(where, "sshauthkey", true, true), line))
            break;
        keys += (keys.empty() ? "" : "\n") + line;
    }
    if (cgi.getErrors().size() == before && keys.size() > limit)
        cgi.addError("<i>" + std::string(label) + "</i> can not be longer than " +
                     std::to_string(limit) + " bytes.");
    return keys;
}

} // namespace zandorin::users
