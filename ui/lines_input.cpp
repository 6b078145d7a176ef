#include "ui/lines_input.h"

#include "cgi/cgi.h"
#include "cgi/upload.h"
#include "engine/engine.h"
#include "util/strings.h"

#include <algorithm>
#include <string_view>

namespace zandorin::ui {

namespace {

bool isText(std::string_view text) {
    return std::none_of(text.begin(), text.end(), [](char c) {
        return c != '\n' && c != '\r' && c != '\t' && hasControlCharacter({&c, 1});
    });
}

std::string tooLong(const std::string &what, std::size_t most, const char *verb) {
    return what + verb + std::to_string(most) + " bytes.";
}

} // namespace

std::string submittedLines(Engine &engine, const settings::Value &value,
                           const settings::Field *file) {
    Cgi &cgi = *engine.cgi();
    const std::size_t before = cgi.getErrors().size();
    const std::size_t most = settings::bufferOf(*value.field) - 1;
    const std::string uploaded = uploadedText(cgi, value.name + ".file").value_or("");
    if (file != nullptr && uploaded.size() > most)
        cgi.addError(
            tooLong(std::string("The file of ") + file->word, most, " is too large: it may hold "));
    else if (file != nullptr && !isText(uploaded))
        cgi.addError(file->refusal);
    if (cgi.getErrors().size() != before)
        return value.text;
    const std::string label = value.field->label;
    const std::string text = file == nullptr ? value.text : value.text + "\n" + uploaded;
    std::string lines;
    int number = 0;
    for (std::string_view rest = text; !rest.empty();) {
        const std::string_view whole = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(whole.size() + 1, rest.size()));
        const std::string line(trim(whole));
        ++number;
        if (line.empty() || line.front() == '#')
            continue;
        const std::string name = label + ", line " + std::to_string(number);
        if (hasControlCharacter(line))
            cgi.addError("<i>" + name + "</i> can not contain control characters.");
        else
            engine.acceptsValue(FormElem(name, value.field->type.name(), true, true), line);
        if (cgi.getErrors().size() != before)
            return value.text;
        lines += (lines.empty() ? "" : "\n") + line;
    }
    if (lines.size() > most)
        cgi.addError(tooLong("<i>" + label + "</i>", most, " can not be longer than "));
    return lines;
}

} // namespace zandorin::ui
