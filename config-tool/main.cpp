#include "config-tool/commands.h"
#include "config-tool/output.h"
#include "util/exception.h"
#include "util/log.h"

#include <algorithm>
#include <cstdio>

// zandorin-config: the committed configuration for shell scripts, under the rules of the pages.
// docs/configuration-store.md says how it is used.

int main(int argc, char **argv) {
    using namespace zandorin::config_tool;
    Request request;
    for (int at = 1; at < argc; ++at) {
        const std::string word = argv[at];
        // What follows the first operand may look as it likes: it can be a value.
        if (word.starts_with("--") && request.operands.empty())
            request.options.push_back(word);
        else if (request.command.empty())
            request.command = word;
        else
            request.operands.push_back(word);
    }
    zandorin::openLog("zandorin-config");
    Answer answer;
    try {
        answer = run(request);
    } catch (const zandorin::utilities::Exception &fault) {
        answer = {.status = refused, .complaints = {{.key = "", .message = fault.toString()}}};
    }
    for (const Complaint &complaint : answer.complaints)
        if (request.has("--json"))
            answer.output +=
                jsonObject({{"key", complaint.key}, {"message", complaint.message}}) + "\n";
        else
            std::fprintf(stderr, "zandorin-config: %s\n", complaint.message.c_str());
    const bool isWritten =
        std::fputs(answer.output.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
    return isWritten ? answer.status : refused;
}
