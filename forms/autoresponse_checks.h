#pragma once

#include "forms/autoresponse_choices.h"
#include "platform/libzandorin/config_manager.h"

namespace zandorin::autoresponse::checks {

/// SMS need a modem.
inline bool hasCellularModem(const ConfigManager &config) {
    return config.getElement("config.system.sms.method") == "cellular";
}

constexpr Field ports(const char *key, const char *boxes) {
    return {.label = "Serial Ports",
            .key = key,
            .input = Input::set,
            .options = settings::portOptions,
            .word = "dev_ref",
            .posted = boxes,
            .grid = true};
}

constexpr Field webui_login[] = {
    box(".webui_login.trigger_login", "Trigger on Login"),
    box(".webui_login.trigger_logout", "Trigger on Logout"),
    box(".webui_login.trigger_auth_error", "Trigger on Authentication Error",
        "A login with a wrong name or password."),
};

constexpr Field cli_login[] = {
    box(".cli_login.trigger_login", "Trigger on Login"),
    box(".cli_login.trigger_logout", "Trigger on Logout"),
    box(".cli_login.trigger_auth_error", "Trigger on Authentication Error",
        "A login with a wrong name or password."),
};

constexpr Field routeddata[] = {
    menu(".routeddata.interface", "Interface", interfaceOptions, "Where the data comes in."),
    text(".routeddata.src_mac_addr", "Source MAC Address", "mac",
         "Only data from this device, such as 00:13:c6:00:2b:01; empty for all."),
    text(".routeddata.src_ip_addr", "Source IP Address", "ip",
         "Only data from this address; empty for all."),
    number(".routeddata.data_kb", "Data Limit (kB)"),
    number(".routeddata.period_m", "Period (minutes)", "In which the limit must be reached."),
    number(".routeddata.resolve_m", "Resolve Period (minutes)",
           "The check resolves after this time below the limit."),
};

constexpr const char *summed = "Fields for larger and smaller units add up.";
constexpr Field celldata[] = {
    text(".celldata.cell_device", "Cellular Device", "printablesafe",
         "The modem's device name; empty for the only one."),
    number(".celldata.data_mb", "Data Limit (MB)", summed),
    number(".celldata.data_kb", "Data Limit (kB)"),
    number(".celldata.period_d", "Period (days)", summed),
    number(".celldata.period_h", "Period (hours)"),
    number(".celldata.period_m", "Period (minutes)"),
    number(".celldata.period_s", "Period (seconds)"),
};

constexpr Field sms[] = {
    text(".sms.phone_number", "Phone Number", "phonenumber",
         "Messages from these numbers only, separated by commas."),
    text(".sms.message_pattern", "Message Pattern", "unsafe_printable",
         "A regular expression that the message must match."),
};

constexpr Field net_ping[] = {
    menu(".net.ping.interface", "Interface", interfaceOptions, "Where pings are sent from."),
    text(".net.ping.address", "Address to Ping", "address", "An IP address or host name."),
    number(".net.ping.frequency", "Check Frequency (seconds)", "Between two checks."),
    number(".net.ping.num_packets", "Number of Pings",
           "Sent at each check; it triggers when none is answered."),
};

constexpr const char *ups_help = "Serial ports whose device is a UPS.";
constexpr Field ups_status[] = {
    menu(".ups_status.dev_ref", "UPS", upsOptions, ups_help),
    menu(".ups_status.trigger_condition", "Trigger Condition", ups_conditions),
};

constexpr Field power[] = {
    menu(".power.dev_ref", "UPS", upsOptions, ups_help),
    whole(".power.trigger_value", "Trigger Value", "Battery charge in percent."),
    menu(".power.comparison", "Comparison", comparisons),
    number(".power.hysteresis", "Hysteresis",
           "How far the value must come back before the check resolves."),
};

constexpr Field alarm[] = {
    menu(".alarm.dev", "Digital Input", inputPins, "The inputs of this model; some have none."),
    menu(".alarm.trigger_value", "Trigger Value", levels),
    box(".alarm.trigger_on_change", "Trigger on Change", "Whatever the new value is."),
};

constexpr Field environmental[] = {
    menu(".enviro.dev_ref", "Sensor", sensorOptions,
         "Serial ports whose device is an environmental monitor."),
    whole(".enviro.trigger_value", "Trigger Value", "Degrees Celsius, or percent of humidity."),
    menu(".enviro.comparison", "Comparison", comparisons),
    number(".enviro.hysteresis", "Hysteresis",
           "How far the value must come back before the check resolves."),
};

constexpr Field conman[] = {
    menu(".conman.ref", "Connection", connectionOptions),
    box(".conman.input_event_starting", "Trigger on Starting"),
    box(".conman.input_event_up", "Trigger on Up"),
    box(".conman.input_event_stopping", "Trigger on Stopping"),
    box(".conman.input_event_down", "Trigger on Down"),
    box(".conman.input_event_failed", "Trigger on Failure",
        "The connection could not be brought up."),
};

constexpr Field serial_login[] = {
    box(".serial_login.trigger_login", "Trigger on Login"),
    box(".serial_login.trigger_logout", "Trigger on Logout"),
    ports(".serial.login.dev_refs", ".serial.login.dev_refs.dev_ref"),
};

constexpr Field serial_signal[] = {
    menu(".serial_signal.signal", "Signal", signals),
    box(".serial_signal.trigger_change", "Trigger on Change", "Whatever the new level is."),
    menu(".serial_signal.trigger_value", "Trigger Value", levels),
    ports(".serial.signal.dev_refs", ".serial.signal.dev_refs.dev_ref"),
};

constexpr Field serial_pattern[] = {
    {.label = "Pattern",
     .key = ".serial_pattern.pattern",
     .type = "unsafe_printable",
     .input = Input::unsafeText,
     .help = "A regular expression, matched against each line."},
    box(".serial_pattern.trigger_tx", "Trigger on Transmitted Data",
        "What users send to the port."),
    box(".serial_pattern.trigger_rx", "Trigger on Received Data", "What the device sends."),
    box(".serial_pattern.disconnect", "Disconnect",
        "End the connections to the port when the pattern appears."),
    ports(".serial.pattern.dev_refs", ".serial.pattern.dev_refs.dev_ref"),
};

constexpr Field usb_console_status[] = {
    box(".usb_console_status.trigger_connect", "Trigger on Connect"),
    box(".usb_console_status.trigger_disconnect", "Trigger on Disconnect"),
    ports(".usb_console_status.dev_refs", ".usb_console_status.dev_refs.dev_ref"),
};

constexpr Field custom[] = {
    text(".custom.script", "Script", "unixfile", "Path of a file on this appliance."),
    number(".custom.check_delta", "Check Interval (seconds)", "Between two runs."),
    number(".custom.timeout", "Timeout (seconds)", "A script that takes longer is ended."),
    number(".custom.trigger_code", "Trigger Code", "The exit status that triggers."),
    arguments,
};

constexpr settings::Variant types[] = {
    {"webui_login", "Web UI Login/Logout Check", webui_login},
    {"cli_login", "CLI Session Check", cli_login},
    {"routeddata", "Routed Data Usage Check", routeddata, nullptr, ".routeddata.interface"},
    {"celldata", "Cellular Data Usage Check", celldata, nullptr, ".celldata.cell_device"},
    {"sms", "SMS Command Check", sms, hasCellularModem, ".sms.phone_number"},
    {"net_ping", "ICMP Ping Check", net_ping, nullptr, ".net.ping.address"},
    {"ups_status", "UPS Status Check", ups_status, nullptr, ".ups_status.dev_ref"},
    {"power", "UPS Power Check", power, nullptr, ".power.dev_ref"},
    {"alarm", "Digital I/O Input Check", alarm, nullptr, ".alarm.dev"},
    {"environmental", "Environmental Check", environmental, nullptr, ".enviro.dev_ref"},
    {"conman", "Interface Event Check", conman, nullptr, ".conman.ref"},
    {"serial_login", "Serial Login/Logout Check", serial_login, nullptr, ".serial.login.dev_refs"},
    {"serial_signal", "Serial Signal Check", serial_signal, nullptr, ".serial.signal.dev_refs"},
    {"serial_pattern", "Serial Pattern Check", serial_pattern, nullptr, ".serial.pattern.dev_refs"},
    {"usb_console_status", "USB Console Status Check", usb_console_status, nullptr,
     ".usb_console_status.dev_refs"},
    {"custom", "Custom Check", custom, nullptr, ".custom.script"},
};

} // namespace zandorin::autoresponse::checks
