#include "ui/template_functions.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "ui/inputs.h"
#include "util/escape.h"
#include "util/json.h"

#include "util/strings.h"

#include <algorithm>
#include <array>

// What the page scripts are told about a page, and what a change of the configuration was.

namespace zandorin::ui {

namespace {

/// By the last word of its key, whichever page or tool it belongs to: rather one too many.
bool isSecret(std::string_view key) {
    static constexpr std::array<std::string_view, 8> words = {
        "password", "passwd", "passphrase", "secret", "community", "psk", "key", "token"};
    const std::string_view last = key.substr(key.rfind('.') + 1);
    return std::any_of(words.begin(), words.end(), [last](std::string_view word) {
        return last.find(word) != std::string_view::npos;
    });
}

std::string valueCell(std::string_view key, const std::string &value) {
    constexpr std::size_t longest = 200;
    if (value.empty())
        return "<td>&mdash;</td>";
    if (isSecret(key))
        return std::string("<td>") + password_placeholder + "</td>";
    return "<td>" + encodeSafe(value.substr(0, longest)) + (value.size() > longest ? "..." : "") +
           "</td>";
}

} // namespace

std::string getChanges(Engine &engine, const Arguments &) {
    // Of a queue, only its own page speaks; of what was just saved, the page that saved it.
    const bool queued = engine.config().getDelayedConfigMode();
    if (!engine.session().authSuccess() || (queued && engine.formId() != "commit"))
        return "";
    const std::vector<ConfigChange> changes = engine.config().getChanges();
    if (changes.empty())
        return "";
    std::string html = std::string("<details id=\"changes\"") + (queued ? " open=\"open\"" : "") +
                       "><summary>" + (queued ? "What a commit changes" : "What was changed") +
                       " (" + std::to_string(changes.size()) +
                       ")</summary>\n<table><tr><th scope=\"col\">Key</th><th scope=\"col\">Before"
                       "</th><th scope=\"col\">After</th></tr>\n";
    for (const ConfigChange &change : changes)
        html += "<tr><td>" + encodeSafe(change.key) + "</td>" +
                valueCell(change.key, change.before) + valueCell(change.key, change.after) +
                "</tr>\n";
    return html + "</table></details>\n";
}

std::string getPageData(Engine &engine, const Arguments &) {
    std::string fields;
    for (const auto &[name, element] : engine.elements())
        append(fields, {fields.empty() ? "" : ",", jsonString(name), ":[", jsonString(element.type),
                        ",", jsonString(element.label), "]"});
    const std::string user = engine.session().authSuccess() ? engine.session().username() : "";
    return concat({"<script type=\"application/json\" id=\"page-data\">{\"form\":",
                   jsonString(engine.formId()), ",\"user\":", jsonString(user),
                   ",\"submitted\":", engine.formWasSubmitted() ? "true" : "false", ",\"fields\":{",
                   fields, "}}</script>"});
}

} // namespace zandorin::ui
