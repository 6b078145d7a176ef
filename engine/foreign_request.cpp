#include "engine/foreign_request.h"

#include "cgi/cgi.h"
#include "engine/nav_tree.h"
#include "util/environment.h"
#include "util/strings.h"

#include <algorithm>
#include <string_view>

namespace zandorin {

namespace {

/// Fields that make a page act: the forms' buttons, the "action" of forms and links, the reply to a
/// login's challenge.
constexpr std::string_view command_fields[] = {"apply", "action", "cancel",
                                               "reply", "select", "try"};
/// Values of the configuration, and the boxes that clear them. Some pages take them without a
/// button.
constexpr std::string_view setting_prefix = "config.";
/// What a leaf of the navigation hands to its page to be done at once.
constexpr std::string_view acting_arguments[] = {"logout"};

/// Host and port of a URL, as a browser writes them in Host, too; "" for what is no URL.
std::string_view authorityOf(std::string_view url) {
    const auto scheme = url.find("://");
    if (scheme == std::string_view::npos)
        return {};
    const std::string_view rest = url.substr(scheme + 3);
    return rest.substr(0, rest.find_first_of("/?#"));
}

bool isOwnAuthority(std::string_view authority) {
    return !authority.empty() && (equalsIgnoreCase(authority, environmentVariable("HTTP_HOST")) ||
                                  equalsIgnoreCase(authority, authorityOf(baseUri())));
}

bool isCommandField(std::string_view name) {
    return name.starts_with(setting_prefix) ||
           std::find(std::begin(command_fields), std::end(command_fields), name) !=
               std::end(command_fields);
}

} // namespace

bool isForeignRequest() {
    // What is not known to be the console's own is foreign.
    if (const std::string_view site = environmentVariable("HTTP_SEC_FETCH_SITE"); !site.empty())
        return site != "same-origin" && site != "none";
    for (const char *name : {"HTTP_ORIGIN", "HTTP_REFERER"})
        if (const std::string_view source = environmentVariable(name); !source.empty())
            return !isOwnAuthority(authorityOf(source));
    return false;
}

bool isCommand(const Cgi &cgi, const NavLeaf *leaf) {
    const bool acts =
        leaf != nullptr && std::find(std::begin(acting_arguments), std::end(acting_arguments),
                                     leaf->args) != std::end(acting_arguments);
    return acts || cgi.getRequestMethod() != "GET" || cgi.anyFieldName(isCommandField);
}

} // namespace zandorin
