#pragma once

#include "forms/autoresponse_choices.h"

namespace zandorin::autoresponse::actions {

constexpr int body_length = 4096;
constexpr int message_length = 1024;

// Every action begins with its name and its delay.
constexpr Field actionName(const char *key) {
    return textField("Action Name", key, "printable", "", 64);
}
constexpr Field delay(const char *key) {
    return numberField("Delay Time (seconds)", key, "Between the event and this action.");
}

constexpr Field email[] = {
    actionName(".email.name"),
    delay(".email.delay_time"),
    textField("Recipient", ".email.to_addr", "email",
              "One address or several, separated by commas."),
    textField("Subject", ".email.subject", "unsafe_printable"),
    {.label = "Text",
     .key = ".email.body",
     .type = "unsafe_multiline_printable",
     .input = Input::unsafeTextArea,
     .maxlength = body_length},
};

constexpr Field sms[] = {
    actionName(".sms.name"),
    delay(".sms.delay_time"),
    textField("Phone Number", ".sms.number", "phonenumber",
              "One number or several, separated by commas."),
    textField("Gateway Address", ".sms.gateway_email", "email",
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
    textField("Message", ".nagios.message", "printable", "Sent with the service check result."),
    selectField("Return Code", ".nagios.return_code", return_codes),
};

constexpr Field conman[] = {
    actionName(".conman.name"),
    delay(".conman.delay_time"),
    selectField("Connection", ".conman.ref", connectionOptions),
    selectField("Action", ".conman.action", connection_actions),
};

constexpr Field rpc[] = {
    actionName(".rpc.name"),
    delay(".rpc.delay_time"),
    selectField("Outlet", ".rpc.outlet", outletOptions, "Serial ports whose device is an RPC."),
    selectField("Action", ".rpc.action", outlet_actions),
};

constexpr Field dio[] = {
    actionName(".dio.name"),
    delay(".dio.delay_time"),
    selectField("Digital Output", ".dio.pin", outputPins,
                "The outputs of this model; some have none."),
    selectField("Value", ".dio.value", levels),
};

constexpr Field custom[] = {
    actionName(".custom.name"),
    delay(".custom.delay_time"),
    textField("Script", ".custom.script", "unixfile", "Path of a file on this appliance."),
    numberField("Timeout (seconds)", ".custom.timeout", "A script that takes longer is ended."),
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
