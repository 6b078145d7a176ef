#include "platform/pam-client/conversation.h"

#include "util/log.h"
#include "util/paths.h"
#include "util/wipe.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <security/pam_appl.h>

namespace zandorin::auth {

namespace {

constexpr std::size_t notices_limit = 4096; ///< bytes

/// What a PAM result means to the client: that the user is not let in, or that nobody can say.
Message judge(int result) {
    switch (result) {
    case PAM_SUCCESS:
        return Message::authenticated;
    case PAM_AUTH_ERR:
    case PAM_USER_UNKNOWN:
    case PAM_MAXTRIES:
    case PAM_PERM_DENIED:
    case PAM_CRED_INSUFFICIENT:
    case PAM_ACCT_EXPIRED:
    case PAM_AUTHTOK_EXPIRED:
    case PAM_NEW_AUTHTOK_REQD:
        return Message::rejected;
    default:
        return Message::helperError;
    }
}

void freeResponses(pam_response *responses, int count) {
    for (int i = 0; i < count; ++i) {
        if (responses[i].resp == nullptr)
            continue;
        wipe(responses[i].resp, std::strlen(responses[i].resp));
        std::free(responses[i].resp);
    }
    std::free(responses);
}

} // namespace

Message Conversation::run() {
    const pam_conv conversation = {converse, this};
    pam_handle_t *pam = nullptr;
    int result = ::pam_start_confdir("web", client_.username->c_str(), &conversation,
                                     appliancePath("/etc/pam.d").c_str(), &pam);
    if (result != PAM_SUCCESS) {
        logRecord(Priority::error, "PAM service 'web' cannot be used: %s",
                  ::pam_strerror(nullptr, result));
        return Message::helperError;
    }
    if (!client_.clientAddress.empty())
        result = ::pam_set_item(pam, PAM_RHOST, client_.clientAddress.c_str());
    if (result == PAM_SUCCESS)
        result = ::pam_authenticate(pam, PAM_DISALLOW_NULL_AUTHTOK);
    if (result == PAM_SUCCESS)
        result = ::pam_acct_mgmt(pam, PAM_DISALLOW_NULL_AUTHTOK);
    if (judge(result) == Message::helperError)
        logRecord(Priority::error, "PAM failed: %s", ::pam_strerror(pam, result));
    ::pam_end(pam, result);
    client_.reply.reset();
    return judge(result);
}

// PAM frees what it is given, on success; on failure it is not given anything.
int Conversation::converse(int count, const pam_message **messages, pam_response **responses,
                           void *conversation) {
    if (count <= 0 || count > PAM_MAX_NUM_MSG)
        return PAM_CONV_ERR;
    auto *answers = static_cast<pam_response *>(
        std::calloc(static_cast<std::size_t>(count), sizeof(pam_response)));
    if (answers == nullptr)
        return PAM_BUF_ERR;
    for (int i = 0; i < count; ++i) {
        if (static_cast<Conversation *>(conversation)->respond(*messages[i], answers[i]))
            continue;
        freeResponses(answers, count);
        return PAM_CONV_ERR;
    }
    *responses = answers;
    return PAM_SUCCESS;
}

bool Conversation::respond(const pam_message &message, pam_response &response) {
    const char *text = message.msg == nullptr ? "" : message.msg;
    switch (message.msg_style) {
    case PAM_TEXT_INFO:
    case PAM_ERROR_MSG:
        notices_ += text;
        notices_ += '\n';
        notices_.resize(std::min(notices_.size(), notices_limit));
        return true;
    case PAM_PROMPT_ECHO_OFF:
    case PAM_PROMPT_ECHO_ON:
        if (!client_.reply && !ask(text))
            return false;
        if (client_.reply->text().size() < PAM_MAX_RESP_SIZE)
            response.resp = ::strdup(client_.reply->text().c_str());
        client_.reply.reset();
        return response.resp != nullptr;
    default:
        return false;
    }
}

/// Puts a challenge to the client until a request brings a reply.
bool Conversation::ask(const char *prompt) {
    const std::string challenge = std::exchange(notices_, {}) + prompt;
    while (!client_.reply) {
        server_.answer(client_, Message::challenge, challenge);
        auto next = server_.next();
        if (!next)
            return false;
        client_ = std::move(*next);
    }
    return true;
}

} // namespace zandorin::auth
