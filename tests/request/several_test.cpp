#include "tests/support/pages.h"
#include "tests/support/request_test.h"

// Several serial ports changed as one: what their user leaves alone stays what it was at each.

namespace zandorin::test {
namespace {

class Several : public RequestTest {
  protected:
    Several() {
        configure("config.ports.port3.speed", "19200");
        configure("config.ports.port3.log.syslog", "on");
        configure("config.ports.port3.label", "Router");
        configure("config.ports.port5.mode", "network");
    }

    static std::string of(unsigned port, const std::string &name) {
        return "config.ports.port" + std::to_string(port) + "." + name;
    }

    /// The form for these ports as it is opened, with some of its fields changed.
    Fields form(const std::string &ports, const Fields &changes) {
        Fields sent = {{"form", "serialconfig"}, {"apply", "Apply"}};
        for (const PageField &field : readFields(get("form=serialconfig&port=" + ports).body)) {
            if (field.kind == "checkbox" && !field.checked)
                continue;
            std::string value = field.value;
            for (const auto &[name, text] : changes)
                if (field.name == "config.ports.portseveral." + name)
                    value = text;
            sent.emplace_back(field.name, value);
        }
        return sent;
    }

    std::string answerTo(const Fields &sent) {
        return post(sent).part("Changes to configuration ", "</p>");
    }
};

TEST_F(Several, WhatIsLeftAloneStaysAtEach) {
    EXPECT_EQ(answerTo(form("3-4, 6", {{"charsize", "7"}})),
              "Changes to configuration succeeded.</p>");
    for (const unsigned port : {3, 4, 6})
        EXPECT_EQ(stored(of(port, "charsize")), "7") << port;
    EXPECT_EQ(stored(of(5, "charsize")), "");
    EXPECT_EQ(stored(of(3, "speed")), "19200");
    EXPECT_EQ(stored(of(4, "speed")), "");
    EXPECT_EQ(stored(of(3, "log.syslog")), "on");
    EXPECT_EQ(stored(of(3, "label")), "Router");

    // A field that is different at each takes one value, also one that some have already; "off".
    post(form("3,4", {{"speed", "19200"}, {"log.syslog", "off"}}));
    EXPECT_EQ(stored(of(4, "speed")), "19200");
    EXPECT_EQ(stored(of(3, "log.syslog")), "");
}

TEST_F(Several, ChangesAreRefusedAsAWhole) {
    const Fields stale = form("3,4", {{"parity", "Even"}});
    configure(of(4, "parity"), "Odd");
    EXPECT_TRUE(post(stale).has("was changed by somebody else"));
    EXPECT_EQ(stored(of(3, "parity")), "");

    const Fields wrong = form("3,4", {{"speed", "12"}, {"parity", "Even"}});
    EXPECT_TRUE(post(wrong).has("<i>Baud Rate</i> must be 50 to 921600."));
    EXPECT_EQ(stored(of(3, "parity")), "");
    EXPECT_EQ(stored(of(3, "speed")), "19200");

    for (const char *ports : {"3,9", "5-3", "0", "3;4", "x"})
        EXPECT_TRUE(get("form=serialconfig&port=" + std::string(ports)).has("No such port: "))
            << ports;
}

TEST_F(Several, SettingsAreCopiedButForAPortsOwn) {
    configure(of(3, "network.port"), "5003");
    const Fields copy = {{"form", "serialconfig"},
                         {"apply", "Copy Settings"},
                         {"copy", "3"},
                         {"port", "1-2"},
                         {"select.8", "on"}};
    EXPECT_EQ(answerTo(copy), "Changes to configuration succeeded.</p>");
    for (const unsigned port : {1, 2, 8}) {
        EXPECT_EQ(stored(of(port, "speed")), "19200") << port;
        EXPECT_EQ(stored(of(port, "log.syslog")), "on") << port;
        EXPECT_NE(stored(of(port, "label")), "Router") << port;
        EXPECT_EQ(stored(of(port, "network.port")), "") << port;
    }
    EXPECT_EQ(stored(of(4, "speed")), "");

    // A copy that one of them cannot take is made nowhere.
    configure(of(7, "network.port"), "8022");
    configure("config.services.ssh.port", "8022");
    configure(of(3, "mode"), "network");
    const Fields refused = {
        {"form", "serialconfig"}, {"apply", "Copy Settings"}, {"copy", "3"}, {"port", "6-7"}};
    EXPECT_TRUE(post(refused).has("The TCP port 8022 is used by <i>SSH</i> already."));
    EXPECT_EQ(stored(of(6, "mode")), "");
}

} // namespace
} // namespace zandorin::test
