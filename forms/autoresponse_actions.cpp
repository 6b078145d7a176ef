#include "forms/autoresponse_fields.h"

namespace zandorin::autoresponse {

namespace {

constexpr std::int16_t body_length = 4096;
constexpr std::int16_t message_length = 1024;

// Every action begins with its name and its delay.
constexpr Field nameField(const char *key) {
    return textField(key, "Action Name", "printable", "", 64);
}
constexpr Field delayField(const char *key) {
    return numberField(key, "Delay Time (seconds)", "Between the event and this action.");
}

constexpr Field email[] = {
    nameField("email.name"),
    delayField("email.delay_time"),
    textField("email.to_addr", "Recipient", "email",
              "One address or several, separated by commas."),
    textField("email.subject", "Subject", "unsafe_printable"),
    {.key = "email.body",
     .label = "Text",
     .type = "unsafe_multiline_printable",
     .input = Input::unsafeArea,
     .maxlength = body_length},
};

constexpr Field sms[] = {
    nameField("sms.name"),
    delayField("sms.delay_time"),
    textField("sms.number", "Phone Number", "phonenumber",
              "One number or several, separated by commas."),
    textField("sms.gateway_email", "Gateway Address", "email",
              "Where the message is mailed to when it goes through an e-mail gateway."),
    {.key = "sms.message",
     .label = "Message",
     .type = "unsafe_multiline_printable",
     .input = Input::unsafeArea,
     .maxlength = message_length},
};

constexpr Field snmp[] = {
    nameField("snmp.name"),
    delayField("snmp.delay_time"),
};

constexpr Field nagios[] = {
    nameField("nagios.name"),
    delayField("nagios.delay_time"),
    textField("nagios.message", "Message", "printable", "Sent with the service check result."),
    menuField("nagios.return_code", "Return Code", Menu::returnCodes),
};

constexpr Field conman[] = {
    nameField("conman.name"),
    delayField("conman.delay_time"),
    menuField("conman.ref", "Connection", Menu::connections),
    menuField("conman.action", "Action", Menu::connectionActions),
};

constexpr Field rpc[] = {
    nameField("rpc.name"),
    delayField("rpc.delay_time"),
    menuField("rpc.outlet", "Outlet", Menu::outlets, "Serial ports whose device is an RPC."),
    menuField("rpc.action", "Action", Menu::outletActions),
};

constexpr Field dio[] = {
    nameField("dio.name"),
    delayField("dio.delay_time"),
    menuField("dio.pin", "Digital Output", Menu::outputPins,
              "The outputs of this model; some have none."),
    menuField("dio.value", "Value", Menu::levels),
};

constexpr Field custom[] = {
    nameField("custom.name"),
    delayField("custom.delay_time"),
    textField("custom.script", "Script", "unixfile", "Path of a file on this appliance."),
    numberField("custom.timeout", "Timeout (seconds)", "A script that takes longer is ended."),
    argumentsField(),
};

constexpr Type types[] = {
    {"email", "Email Action", email},
    {"sms", "SMS Action", sms},
    {"snmp", "SNMP Trap Action", snmp},
    {"nagios", "Nagios Event Action", nagios},
    {"conman", "Network Interface Event Action", conman},
    {"rpc", "RPC/PDU Action", rpc},
    {"dio", "Digital Output Action", dio},
    {"custom", "Custom Script Action", custom},
};

} // namespace

std::span<const Type> actionTypes() {
    return types;
}

} // namespace zandorin::autoresponse
