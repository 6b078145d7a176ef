#pragma once

#include "services/autoresponse/child.h"

#include <string>

namespace zandorin::responder {

/// One mail. Texts are ISO-8859-1; recipients are separated by commas or blanks.
struct Mail {
    std::string to;
    std::string subject;
    std::string body;
};

/// The command that hands a mail to the appliance's mail program: /usr/sbin/sendmail of the
/// appliance, else the one on PATH. Its sender is that program's matter.
Command sendMail(const Mail &mail);

} // namespace zandorin::responder
