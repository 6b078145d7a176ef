#pragma once

#include "forms/autoresponse_choices.h"

namespace zandorin::autoresponse::actions {

constexpr int body_length = 4096;
constexpr int message_length = 1024;

// Every action begins with its name and its delay.
constexpr Field actionName(const char *key) {
    return text(key, "Action Name", "printable", "", 64);
}
constexpr Field delay(const char *key) {
    return number(key, "Delay Time (seconds)", "Between the event and this action.");
}

constexpr Field email[] = {
    actionName(".email.name"),
    delay(".email.delay_time"),
    text(".email.to_addr", "Recipient", "email", "One address or several, separated by commas."),
    text(".email.subject", "Subject", "unsafe_printable"),
    {.label = "Text",
     .key = ".email.body",
     .type = "unsafe_multiline_printable",
     .input = Input::unsafeTextArea,
     .maxlength = body_length},
};

constexpr Field sms[] = {
    actionName(".sms.name"),
    delay(".sms.delay_time"),
    text(".sms.number", "Phone Number", "phonenumber",
         "One number or several, separated by commas."),
    text(".sms.gateway_email", "Gateway Address", "email",
         "Where the message is mailed to when it goes through an e-mail gateway."),
    {.label = "Message",
     .key = ".sms.message",
     .type = "unsafe_multiline_printable",
     .input = Input::unsafeTextArea,
     .maxlength = message_length},
};

constexpr Field snmp[] = {
    actionName(".snmp.name"),
    delay(".snmp.delay_time"),
};

constexpr Field nagios[] = {
    actionName(".nagios.name"),
    delay(".nagios.delay_time"),
    text(".nagios.message", "Message", "printable", "Sent with the service check result."),
    menu(".nagios.return_code", "Return Code", return_codes),
};

constexpr Field conman[] = {
    actionName(".conman.name"),
    delay(".conman.delay_time"),
    menu(".conman.ref", "Connection", connectionOptions),
    menu(".conman.action", "Action", connection_actions),
};

constexpr Field rpc[] = {
    actionName(".rpc.name"),
    delay(".rpc.delay_time"),
    menu(".rpc.outlet", "Outlet", outletOptions, "Serial ports whose device is an RPC."),
    menu(".rpc.action", "Action", outlet_actions),
};

constexpr Field dio[] = {
    actionName(".dio.name"),
    delay(".dio.delay_time"),
    menu(".dio.pin", "Digital Output", outputPins, "The outputs of this model; some have none."),
    menu(".dio.value", "Value", levels),
};

constexpr Field custom[] = {
    actionName(".custom.name"),
    delay(".custom.delay_time"),
    text(".custom.script", "Script", "unixfile", "Path of a file on this appliance."),
    number(".custom.timeout", "Timeout (seconds)", "A script that takes longer is ended."),
    arguments,
};

constexpr settings::Variant types[] = {
    {"email", "Email Action", email, nullptr, ".email.name"},
    {"sms", "SMS Action", sms, nullptr, ".sms.name"},
    {"snmp", "SNMP Trap Action", snmp, nullptr, ".snmp.name"},
    {"nagios", "Nagios Event Action", nagios, nullptr, ".nagios.name"},
    {"conman", "Network Interface Event Action", conman, nullptr, ".conman.name"},
    {"rpc", "RPC/PDU Action", rpc, nullptr, ".rpc.name"},
    {"dio", "Digital Output Action", dio, nullptr, ".dio.name"},
    {"custom", "Custom Script Action", custom, nullptr, ".custom.name"},
};

} // namespace zandorin::autoresponse::actions
