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
    boxField("Trigger on Login", ".webui_login.trigger_login"),
    boxField("Trigger on Logout", ".webui_login.trigger_logout"),
    boxField("Trigger on Authentication Error", ".webui_login.trigger_auth_error",
             "A login with a wrong name or password."),
};

constexpr Field cli_login[] = {
    boxField("Trigger on Login", ".cli_login.trigger_login"),
    boxField("Trigger on Logout", ".cli_login.trigger_logout"),
    boxField("Trigger on Authentication Error", ".cli_login.trigger_auth_error",
             "A login with a wrong name or password."),
};

constexpr Field routeddata[] = {
    selectField("Interface", ".routeddata.interface", interfaceOptions, "Where the data comes in."),
    textField("Source MAC Address", ".routeddata.src_mac_addr", "mac",
              "Only data from this device, such as 00:13:c6:00:2b:01; empty for all."),
    textField("Source IP Address", ".routeddata.src_ip_addr", "ip",
              "Only data from this address; empty for all."),
    numberField("Data Limit (kB)", ".routeddata.data_kb"),
    numberField("Period (minutes)", ".routeddata.period_m", "In which the limit must be reached."),
    numberField("Resolve Period (minutes)", ".routeddata.resolve_m",
                "The check resolves after this time below the limit."),
};

constexpr const char *summed = "Fields for larger and smaller units add up.";
constexpr Field celldata[] = {
    textField("Cellular Device", ".celldata.cell_device", "printablesafe",
              "The modem's device name; empty for the only one."),
    numberField("Data Limit (MB)", ".celldata.data_mb", summed),
    numberField("Data Limit (kB)", ".celldata.data_kb"),
    numberField("Period (days)", ".celldata.period_d", summed),
    numberField("Period (hours)", ".celldata.period_h"),
    numberField("Period (minutes)", ".celldata.period_m"),
    numberField("Period (seconds)", ".celldata.period_s"),
};

constexpr Field sms[] = {
    textField("Phone Number", ".sms.phone_number", "phonenumber",
              "Messages from these numbers only, separated by commas."),
    textField("Message Pattern", ".sms.message_pattern", "unsafe_printable",
              "A regular expression that the message must match."),
};

constexpr Field net_ping[] = {
    selectField("Interface", ".net.ping.interface", interfaceOptions, "Where pings are sent from."),
    textField("Address to Ping", ".net.ping.address", "address", "An IP address or host name."),
    numberField("Check Frequency (seconds)", ".net.ping.frequency", "Between two checks."),
    numberField("Number of Pings", ".net.ping.num_packets",
                "Sent at each check; it triggers when none is answered."),
};

constexpr const char *ups_help = "Serial ports whose device is a UPS.";
constexpr Field ups_status[] = {
    selectField("UPS", ".ups_status.dev_ref", upsOptions, ups_help),
    selectField("Trigger Condition", ".ups_status.trigger_condition", ups_conditions),
};

constexpr Field power[] = {
    selectField("UPS", ".power.dev_ref", upsOptions, ups_help),
    wholeField("Trigger Value", ".power.trigger_value", "Battery charge in percent."),
    selectField("Comparison", ".power.comparison", comparisons),
    numberField("Hysteresis", ".power.hysteresis",
                "How far the value must come back before the check resolves."),
};

constexpr Field alarm[] = {
    selectField("Digital Input", ".alarm.dev", inputPins,
                "The inputs of this model; some have none."),
    selectField("Trigger Value", ".alarm.trigger_value", levels),
    boxField("Trigger on Change", ".alarm.trigger_on_change", "Whatever the new value is."),
};

constexpr Field environmental[] = {
    selectField("Sensor", ".enviro.dev_ref", sensorOptions,
                "Serial ports whose device is an environmental monitor."),
    wholeField("Trigger Value", ".enviro.trigger_value",
               "Degrees Celsius, or percent of humidity."),
    selectField("Comparison", ".enviro.comparison", comparisons),
    numberField("Hysteresis", ".enviro.hysteresis",
                "How far the value must come back before the check resolves."),
};

constexpr Field conman[] = {
    selectField("Connection", ".conman.ref", connectionOptions),
    boxField("Trigger on Starting", ".conman.input_event_starting"),
    boxField("Trigger on Up", ".conman.input_event_up"),
    boxField("Trigger on Stopping", ".conman.input_event_stopping"),
    boxField("Trigger on Down", ".conman.input_event_down"),
    boxField("Trigger on Failure", ".conman.input_event_failed",
             "The connection could not be brought up."),
};

constexpr Field serial_login[] = {
    boxField("Trigger on Login", ".serial_login.trigger_login"),
    boxField("Trigger on Logout", ".serial_login.trigger_logout"),
    ports(".serial.login.dev_refs", ".serial.login.dev_refs.dev_ref"),
};

constexpr Field serial_signal[] = {
    selectField("Signal", ".serial_signal.signal", signals),
    boxField("Trigger on Change", ".serial_signal.trigger_change", "Whatever the new level is."),
    selectField("Trigger Value", ".serial_signal.trigger_value", levels),
    ports(".serial.signal.dev_refs", ".serial.signal.dev_refs.dev_ref"),
};

constexpr Field serial_pattern[] = {
    {.label = "Pattern",
     .key = ".serial_pattern.pattern",
     .type = "unsafe_printable",
     .input = Input::unsafeText,
     .help = "A regular expression, matched against each line."},
    boxField("Trigger on Transmitted Data", ".serial_pattern.trigger_tx",
             "What users send to the port."),
    boxField("Trigger on Received Data", ".serial_pattern.trigger_rx", "What the device sends."),
    boxField("Disconnect", ".serial_pattern.disconnect",
             "End the connections to the port when the pattern appears."),
    ports(".serial.pattern.dev_refs", ".serial.pattern.dev_refs.dev_ref"),
};

constexpr Field usb_console_status[] = {
    boxField("Trigger on Connect", ".usb_console_status.trigger_connect"),
    boxField("Trigger on Disconnect", ".usb_console_status.trigger_disconnect"),
    ports(".usb_console_status.dev_refs", ".usb_console_status.dev_refs.dev_ref"),
};

constexpr Field custom[] = {
    textField("Script", ".custom.script", "unixfile", "Path of a file on this appliance."),
    numberField("Check Interval (seconds)", ".custom.check_delta", "Between two runs."),
    numberField("Timeout (seconds)", ".custom.timeout", "A script that takes longer is ended."),
    numberField("Trigger Code", ".custom.trigger_code", "The exit status that triggers."),
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
