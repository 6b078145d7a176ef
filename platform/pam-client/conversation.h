#pragma once

#include "platform/pam-client/server.h"

#include <string>

struct pam_message;
struct pam_response;

namespace zandorin::auth {

/// One authentication by PAM, service "web" of the appliance's /etc/pam.d, between PAM and the
/// clients of a server. The first prompt that asks for input is answered with the reply of the
/// first request; every later one goes to the client as a challenge, behind whatever PAM told
/// meanwhile, and waits for a request with a reply.
class Conversation {
  public:
    /// `first` is the request that starts the session. The server must outlive the object.
    Conversation(Server &server, Request first) : server_(server), client_(std::move(first)) {}

    /// Authenticates the user and checks the account: authenticated, rejected or helperError. Takes
    /// as long as PAM and the client do.
    Message run();

    /// The request that waits for the result; without a connection when the session ended.
    Request &client() { return client_; }

  private:
    static int converse(int count, const pam_message **messages, pam_response **responses,
                        void *conversation);
    bool respond(const pam_message &message, pam_response &response);
    bool ask(const char *prompt);

    Server &server_;
    Request client_;
    std::string notices_; ///< shown ahead of the next challenge
};

} // namespace zandorin::auth
