#include "config-tool/commands.h"

#include "config-tool/catalogue.h"
#include "config-tool/describe.h"
#include "config-tool/output.h"
#include "platform/libzandorin/config_manager.h"
#include "settings/edit.h"
#include "settings/records.h"
#include "util/files.h"
#include "util/paths.h"
#include "util/strings.h"

#include <iterator>

namespace zandorin::config_tool {

namespace {

constexpr const char *usage =
    "usage: get KEY | is KEY | set KEY VALUE | add LIST [KEY=VALUE ...] | delete RECORD-KEY | "
    "move RECORD-KEY N | check [KEY [VALUE]] | describe [--search]; with --json, get --secret, set "
    "--force";

/// What every command works on.
struct Context {
    const Request &request;
    ConfigManager &config;
    Catalogue catalogue = {};

    const std::string &operand(std::size_t at) const { return request.operands[at]; }

    /// One line of output.
    std::string line(const std::string &name, const std::string &text) const {
        return (request.has("--json") ? jsonObject({{name, text}}) : text) + "\n";
    }
};

Answer complain(const std::string &key, const std::string &message) {
    return {.status = refused, .complaints = {{.key = key, .message = message}}};
}

Complaint complaintOf(const settings::Problem &problem) {
    return {.key = problem.name, .message = plainText(problem.message)};
}

Answer answerOf(const settings::Problems &problems) {
    Answer answer;
    for (const settings::Problem &problem : problems.all()) {
        answer.status = refused;
        answer.complaints.push_back(complaintOf(problem));
    }
    return answer;
}

Answer save(ConfigManager &config) {
    return config.write() ? Answer{} : complain("", "the configuration could not be written");
}

Answer saveUnless(const settings::Problems &problems, ConfigManager &config) {
    return problems.empty() ? save(config) : answerOf(problems);
}

Answer unknown(const std::string &key) {
    return complain(key, "no page of this appliance knows '" + key + "'");
}

Answer get(Context &context) {
    const std::string &key = context.operand(0);
    const std::string value = context.config.getElement(key);
    if (value.empty())
        return {.status = refused};
    const auto found = context.catalogue.setting(context.config, key);
    const bool isPassword =
        (found ? found->isPassword : key.ends_with("password")) && !context.request.has("--secret");
    return {.output = context.line("value", isPassword ? settings::password_placeholder : value)};
}

Answer is(Context &context) {
    const bool isTrue = context.config.getBoolean(context.operand(0));
    return {.status = isTrue ? done : refused,
            .output =
                context.request.has("--json") ? context.line("value", isTrue ? "on" : "off") : ""};
}

Answer set(Context &context) {
    const std::string &key = context.operand(0);
    const std::string &value = context.operand(1);
    if (const auto found = context.catalogue.setting(context.config, key))
        return saveUnless(settings::change(context.config, found->part, {{key, value}}),
                          context.config);
    if (!context.request.has("--force"))
        return unknown(key);
    context.config.setElement(key, value);
    return save(context.config);
}

Answer add(Context &context) {
    const auto part = context.catalogue.nextRecord(context.config, context.operand(0));
    if (!part)
        return unknown(context.operand(0));
    settings::Changes changes;
    for (auto word = std::next(context.request.operands.begin());
         word != context.request.operands.end(); ++word) {
        const auto equals = word->find('=');
        if (equals == std::string::npos)
            return {.status = misuse, .complaints = {{.key = "", .message = usage}}};
        changes[part->place.keys + "." + word->substr(0, equals)] = word->substr(equals + 1);
    }
    const std::string key = part->place.keys;
    Answer answer = saveUnless(settings::addRecord(context.config, *part, changes), context.config);
    if (answer.status == done)
        answer.output = context.line("key", key);
    return answer;
}

Answer remove(Context &context) {
    const auto part = context.catalogue.record(context.config, context.operand(0));
    if (!part)
        return unknown(context.operand(0));
    return saveUnless(settings::deleteRecord(context.config, *part), context.config);
}

Answer move(Context &context) {
    const std::string &key = context.operand(0);
    const auto part = context.catalogue.record(context.config, key);
    if (!part)
        return unknown(key);
    const settings::RecordList list = part->records();
    const auto to = parseWhole(context.operand(1));
    const auto last = static_cast<std::int64_t>(list.numbers(context.config).size());
    if (!part->list->moves)
        return complain(key, "the order of '" + part->listKey + "' means nothing");
    if (!to || *to < 1 || *to > last)
        return complain(key, "'" + context.operand(1) + "' is no number from 1 to " +
                                 std::to_string(last));
    list.move(context.config, part->number, static_cast<unsigned>(*to));
    return save(context.config);
}

/// Nothing that is checked is saved.
Answer check(Context &context) {
    Answer answer;
    const auto takeFrom = [&](const settings::Part &part, const std::string &key) {
        const settings::Problems problems = settings::checkStored(context.config, part);
        for (const settings::Problem &problem : problems.all())
            if (key.empty() || problem.name == key) {
                answer.status = refused;
                answer.complaints.push_back(complaintOf(problem));
            }
    };
    if (context.request.operands.empty()) {
        for (const CataloguedPage &page : context.catalogue.pages())
            for (const settings::Part &part : settings::partsOf(page.table(), context.config))
                if (!part.isNew())
                    takeFrom(part, "");
        return answer;
    }
    const std::string &key = context.operand(0);
    const auto found = context.catalogue.setting(context.config, key);
    if (!found)
        return unknown(key);
    if (context.request.operands.size() > 1)
        return answerOf(settings::change(context.config, found->part, {{key, context.operand(1)}}));
    takeFrom(found->part, key);
    return answer;
}

Answer describeAll(Context &context) {
    const bool isJson = context.request.has("--json");
    if (context.request.has("--search"))
        return {.output = searchIndex(context.catalogue, context.config)};
    return {.output =
                isJson ? describedJson(context.catalogue) : describedTables(context.catalogue)};
}

struct Command {
    const char *name;
    std::size_t least; ///< operands
    std::size_t most;
    bool changes;
    const char *option; ///< that it takes beside --json; "" for none
    Answer (*run)(Context &context);
};
constexpr std::size_t any = 1000;
constexpr Command commands[] = {
    {"get", 1, 1, false, "--secret", get}, {"is", 1, 1, false, "", is},
    {"set", 2, 2, true, "--force", set},   {"add", 1, any, true, "", add},
    {"delete", 1, 1, true, "", remove},    {"move", 2, 2, true, "", move},
    {"check", 0, 2, false, "", check},     {"describe", 0, 0, false, "--search", describeAll},
};

bool fits(const Command &command, const Request &request) {
    const std::size_t count = request.operands.size();
    return command.name == request.command && count >= command.least && count <= command.most &&
           std::all_of(
               request.options.begin(), request.options.end(),
               [&](const std::string &word) { return word == "--json" || word == command.option; });
}

} // namespace

Answer run(const Request &request) {
    const auto *command =
        std::find_if(std::begin(commands), std::end(commands),
                     [&](const Command &candidate) { return fits(candidate, request); });
    if (command == std::end(commands))
        return {.status = misuse, .complaints = {{.key = "", .message = usage}}};
    // A page that is being saved at this moment has its say first.
    const UniqueFd lock =
        command->changes ? lockFile(appliancePath("/etc/config/.settings.lock")) : UniqueFd();
    if (command->changes && !lock)
        return complain("", "the settings could not be locked");
    ConfigManager config("/etc/config/config.xml", ".");
    if (!config.readCommitted())
        return complain("", "the configuration could not be read");
    Context context{.request = request, .config = config};
    return command->run(context);
}

} // namespace zandorin::config_tool
