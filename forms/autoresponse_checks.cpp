#include "forms/autoresponse_fields.h"

#include "platform/libzandorin/config_manager.h"

#include <algorithm>

namespace zandorin::autoresponse {

namespace {

constexpr Field webui_login[] = {
    boxField("webui_login.trigger_login", "Trigger on Login"),
    boxField("webui_login.trigger_logout", "Trigger on Logout"),
    boxField("webui_login.trigger_auth_error", "Trigger on Authentication Error",
             "A login with a wrong name or password."),
};

constexpr Field cli_login[] = {
    boxField("cli_login.trigger_login", "Trigger on Login"),
    boxField("cli_login.trigger_logout", "Trigger on Logout"),
    boxField("cli_login.trigger_auth_error", "Trigger on Authentication Error",
             "A login with a wrong name or password."),
};

constexpr Field routeddata[] = {
    menuField("routeddata.interface", "Interface", Menu::interfaces, "Where the data comes in."),
    textField("routeddata.src_mac_addr", "Source MAC Address", "mac",
              "Only data from this device, such as 00:13:c6:00:2b:01; empty for all."),
    textField("routeddata.src_ip_addr", "Source IP Address", "ip",
              "Only data from this address; empty for all."),
    numberField("routeddata.data_kb", "Data Limit (kB)"),
    numberField("routeddata.period_m", "Period (minutes)", "In which the limit must be reached."),
    numberField("routeddata.resolve_m", "Resolve Period (minutes)",
                "The check resolves after this time below the limit."),
};

constexpr const char *summed = "Fields for larger and smaller units add up.";
constexpr Field celldata[] = {
    textField("celldata.cell_device", "Cellular Device", "printablesafe",
              "The modem's device name; empty for the only one."),
    numberField("celldata.data_mb", "Data Limit (MB)", summed),
    numberField("celldata.data_kb", "Data Limit (kB)"),
    numberField("celldata.period_d", "Period (days)", summed),
    numberField("celldata.period_h", "Period (hours)"),
    numberField("celldata.period_m", "Period (minutes)"),
    numberField("celldata.period_s", "Period (seconds)"),
};

constexpr Field sms[] = {
    textField("sms.phone_number", "Phone Number", "phonenumber",
              "Messages from these numbers only, separated by commas."),
    textField("sms.message_pattern", "Message Pattern", "unsafe_printable",
              "A regular expression that the message must match."),
};

constexpr Field net_ping[] = {
    menuField("net.ping.interface", "Interface", Menu::interfaces, "Where pings are sent from."),
    textField("net.ping.address", "Address to Ping", "address", "An IP address or host name."),
    numberField("net.ping.frequency", "Check Frequency (seconds)", "Between two checks."),
    numberField("net.ping.num_packets", "Number of Pings",
                "Sent at each check; it triggers when none is answered."),
};

constexpr const char *ups_help = "Serial ports whose device is a UPS.";
constexpr Field ups_status[] = {
    menuField("ups_status.dev_ref", "UPS", Menu::upses, ups_help),
    menuField("ups_status.trigger_condition", "Trigger Condition", Menu::upsConditions),
};

constexpr Field power[] = {
    menuField("power.dev_ref", "UPS", Menu::upses, ups_help),
    textField("power.trigger_value", "Trigger Value", "integer", "Battery charge in percent."),
    menuField("power.comparison", "Comparison", Menu::comparisons),
    numberField("power.hysteresis", "Hysteresis",
                "How far the value must come back before the check resolves."),
};

constexpr Field alarm[] = {
    menuField("alarm.dev", "Digital Input", Menu::inputPins,
              "The inputs of this model; some have none."),
    menuField("alarm.trigger_value", "Trigger Value", Menu::levels),
    boxField("alarm.trigger_on_change", "Trigger on Change", "Whatever the new value is."),
};

constexpr Field environmental[] = {
    menuField("enviro.dev_ref", "Sensor", Menu::sensors,
              "Serial ports whose device is an environmental monitor."),
    textField("enviro.trigger_value", "Trigger Value", "integer",
              "Degrees Celsius, or percent of humidity."),
    menuField("enviro.comparison", "Comparison", Menu::comparisons),
    numberField("enviro.hysteresis", "Hysteresis",
                "How far the value must come back before the check resolves."),
};

constexpr Field conman[] = {
    menuField("conman.ref", "Connection", Menu::connections),
    boxField("conman.input_event_starting", "Trigger on Starting"),
    boxField("conman.input_event_up", "Trigger on Up"),
    boxField("conman.input_event_stopping", "Trigger on Stopping"),
    boxField("conman.input_event_down", "Trigger on Down"),
    boxField("conman.input_event_failed", "Trigger on Failure",
             "The connection could not be brought up."),
};

constexpr Field serial_login[] = {
    boxField("serial_login.trigger_login", "Trigger on Login"),
    boxField("serial_login.trigger_logout", "Trigger on Logout"),
    portsField("serial.login.dev_refs.dev_ref"),
};

constexpr Field serial_signal[] = {
    menuField("serial_signal.signal", "Signal", Menu::signals),
    boxField("serial_signal.trigger_change", "Trigger on Change", "Whatever the new level is."),
    menuField("serial_signal.trigger_value", "Trigger Value", Menu::levels),
    portsField("serial.signal.dev_refs.dev_ref"),
};

constexpr Field serial_pattern[] = {
    {.key = "serial_pattern.pattern",
     .label = "Pattern",
     .type = "unsafe_printable",
     .input = Input::unsafeText,
     .help = "A regular expression, matched against each line."},
    boxField("serial_pattern.trigger_tx", "Trigger on Transmitted Data",
             "What users send to the port."),
    boxField("serial_pattern.trigger_rx", "Trigger on Received Data", "What the device sends."),
    boxField("serial_pattern.disconnect", "Disconnect",
             "End the connections to the port when the pattern appears."),
    portsField("serial.pattern.dev_refs.dev_ref"),
};

constexpr Field usb_console_status[] = {
    boxField("usb_console_status.trigger_connect", "Trigger on Connect"),
    boxField("usb_console_status.trigger_disconnect", "Trigger on Disconnect"),
    portsField("usb_console_status.dev_refs.dev_ref"),
};

constexpr Field custom[] = {
    textField("custom.script", "Script", "unixfile", "Path of a file on this appliance."),
    numberField("custom.check_delta", "Check Interval (seconds)", "Between two runs."),
    numberField("custom.timeout", "Timeout (seconds)", "A script that takes longer is ended."),
    numberField("custom.trigger_code", "Trigger Code", "The exit status that triggers."),
    argumentsField(),
};

constexpr Type types[] = {
    {"webui_login", "Web UI Login/Logout Check", webui_login},
    {"cli_login", "CLI Session Check", cli_login},
    {"routeddata", "Routed Data Usage Check", routeddata, "routeddata.interface"},
    {"celldata", "Cellular Data Usage Check", celldata, "celldata.cell_device"},
    {"sms", "SMS Command Check", sms, "sms.phone_number"},
    {"net_ping", "ICMP Ping Check", net_ping, "net.ping.address"},
    {"ups_status", "UPS Status Check", ups_status, "ups_status.dev_ref"},
    {"power", "UPS Power Check", power, "power.dev_ref"},
    {"alarm", "Digital I/O Input Check", alarm, "alarm.dev"},
    {"environmental", "Environmental Check", environmental, "enviro.dev_ref"},
    {"conman", "Interface Event Check", conman, "conman.ref"},
    {"serial_login", "Serial Login/Logout Check", serial_login, "serial.login.dev_refs.dev_ref"},
    {"serial_signal", "Serial Signal Check", serial_signal, "serial.signal.dev_refs.dev_ref"},
    {"serial_pattern", "Serial Pattern Check", serial_pattern, "serial.pattern.dev_refs.dev_ref"},
    {"usb_console_status", "USB Console Status Check", usb_console_status,
     "usb_console_status.dev_refs.dev_ref"},
    {"custom", "Custom Check", custom, "custom.script"},
};

} // namespace

std::span<const Type> checkTypes() {
    return types;
}

bool isOffered(const ConfigManager &config, const Type &check) {
    return std::string_view(check.name) != "sms" ||
           config.getElement("config.system.sms.method") == "cellular";
}

bool watchesPorts(const Type &check) {
    return std::any_of(check.fields.begin(), check.fields.end(),
                       [](const Field &field) { return field.input == Input::ports; });
}

} // namespace zandorin::autoresponse
