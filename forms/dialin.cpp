#include "forms/dialin.h"

#include "cgi/cgi.h"
#include "engine/engine.h"
#include "forms/serial_ports.h"
#include "framework/formlet.h"
#include "ui/escape.h"
#include "ui/markup.h"
#include "ui/page.h"
#include "ui/settings_page.h"
#include "util/strings.h"

// PPP over a modem at one of the serial ports: calls from outside, calling back, calling out.

namespace zandorin {

std::string dialinPort(Engine &engine) {
    if (const Cgi *cgi = engine.cgi()) {
        std::string asked = cgi->getVarString("port").raw;
        if (!asked.empty())
            return asked;
    }
    return engine.formArgs().empty() ? "console" : engine.formArgs();
}

bool isDialinPort(Engine &engine, const std::string &name) {
    if (name == "console")
        return true;
    constexpr std::string_view serial = "port";
    if (!name.starts_with(serial))
        return false;
    const std::int64_t number = parseWhole(name.substr(serial.size())).value_or(0);
    return number >= 1 && number <= engine.config().getSerialPortCount() &&
           name == "port" + std::to_string(number);
}

namespace {

constexpr ui::Choice protocols[] = {
    {"mschapv2", "MS-CHAP v2"},
    {"chap", "CHAP"},
    {"pap", "PAP (password in clear)"},
    {"none", "None"},
};

std::string portChoices(Engine &engine) {
    const std::string current = dialinPort(engine);
    const auto choice = [&](const std::string &name, const std::string &label) {
        if (name == current)
            return "<b>" + encodeSafe(label) + "</b>";
        return ui::link("?form=" + engine.formId() + "&port=" + name, label);
    };
    std::string html = choice("console", "Console");
    const unsigned ports = portCount(engine.config());
    for (unsigned number = 1; number <= ports; ++number) {
        const std::string name = "port" + std::to_string(number);
        html += ", " + choice(name, portLabel(engine.config(), number));
    }
    return html + "<input type=\"hidden\"" + ui::attribute("name", "port") +
           ui::attribute("value", current) + ">";
}

constexpr ui::Setting port[] = {
    {.label = "Serial Port",
     .input = ui::Input::custom,
     .help = "Every port with a modem has settings of its own. Apply before you change to another.",
     .markup = portChoices},
};

constexpr ui::Setting dialin[] = {
    {.label = "Enable Dial-In",
     .key = ".ppp.enabled",
     .type = "boolean",
     .input = ui::Input::check,
     .help = "Answer calls with PPP."},
    {.label = "Remote Address",
     .key = ".ppp.remoteip",
     .type = "ip",
     .help = "The IP address that a caller gets."},
    {.label = "Local Address",
     .key = ".ppp.localip",
     .type = "ip",
     .help = "The IP address at which a caller finds this appliance."},
    {.label = "Authentication Type",
     .key = ".ppp.auth",
     .input = ui::Input::menu,
     .choices = protocols,
     .help = "How a caller proves who it is."},
    {.label = "Dial-In Username",
     .key = ".ppp.username",
     .type = "username",
     .help = "Empty: every user of the group dialin may call."},
    {.label = "Dial-In Password",
     .key = ".ppp.password",
     .type = "password",
     .input = ui::Input::password},
    {.label = "Confirm Dial-In Password",
     .key = ".ppp.confirm",
     .input = ui::Input::confirmation,
     .confirms = ".ppp.password"},
    {.label = "Modem Initialization",
     .key = ".ppp.initstring",
     .type = "unsafe_printable",
     .input = ui::Input::unsafeText,
     .help = "Sent to the modem before it is used, such as AT&amp;C1&amp;D2."},
};

constexpr ui::Setting callback[] = {
    {.label = "Enable Dial-Back",
     .key = ".ppp.callback.enabled",
     .type = "boolean",
     .input = ui::Input::check,
     .help = "Hang up on a caller and call back."},
    {.label = "Dial-Back Phone Number",
     .key = ".ppp.callback.phone1",
     .type = "phonenumber",
     .help = "At least three digits without blanks between them, such as +61730001000."},
    {.label = "Second Dial-Back Phone Number",
     .key = ".ppp.callback.phone2",
     .type = "phonenumber",
     .help = "Tried when the first does not answer."},
};

constexpr ui::Setting dialer[] = {
    {.label = "Enable Dial-Out",
     .key = ".ppp.dialer.enabled",
     .type = "boolean",
     .input = ui::Input::check,
     .help = "Let the appliance call a provider itself."},
    {.label = "Dial-Out Phone Number", .key = ".ppp.dialer.phone1", .type = "phonenumber"},
    {.label = "Dial-Out Username", .key = ".ppp.dialer.username", .type = "printable"},
    {.label = "Dial-Out Password",
     .key = ".ppp.dialer.password",
     .type = "password",
     .input = ui::Input::password},
    {.label = "Confirm Dial-Out Password",
     .key = ".ppp.dialer.confirm",
     .input = ui::Input::confirmation,
     .confirms = ".ppp.dialer.password"},
};

constexpr ui::Section sections[] = {
    {"Port", port},
    {"Dial-In", dialin},
    {"Dial-Back", callback},
    {"Dial-Out", dialer},
};

void define(Engine &engine) {
    const std::string name = dialinPort(engine);
    if (isDialinPort(engine, name))
        ui::defineSettings<sections>(engine, "config." + name);
    else if (Cgi *cgi = engine.requireCgi())
        cgi->addError("No such port: " + encodeSafe(name));
}

void render(Engine &engine) {
    const std::string name = dialinPort(engine);
    if (isDialinPort(engine, name))
        ui::renderSettings<sections>(engine, "config." + name);
}

const AutoRegisterFormlet registration("dialin", define, render);

} // namespace
} // namespace zandorin
