#include "engine/appliance_state.h"

#include "tests/support/appliance_test.h"

namespace zandorin {
namespace {

using ApplianceState = test::ConfigTest;

TEST_F(ApplianceState, IsReadFromItsKeys) {
    const struct {
        const char *name;
        bool (*asked)(const ConfigManager &);
        const char *inside; ///< of the configuration
        bool expected;
    } rows[] = {
        {"nodes", hasCmsNodes, "<cms><nodes><total>1</total></nodes></cms>", true},
        {"no nodes", hasCmsNodes, "<cms><nodes><total>0</total></nodes></cms>", false},
        {"dialer", isDialerEnabled,
         "<cellmodem><ppp><dialer><enabled>on</enabled></dialer></ppp></cellmodem>", true},
        {"dialer off", isDialerEnabled,
         "<cellmodem><ppp><dialer><enabled>off</enabled></dialer></ppp></cellmodem>", false},
        {"masquerade", isDialoutMasqueradeEnabled,
         "<firewall><dialout><masquerade><enabled>on</enabled></masquerade></dialout></firewall>",
         true},
        {"no masquerade", isDialoutMasqueradeEnabled, "<firewall><dialout/></firewall>", false},
        {"forwards of the second interface", hasDialoutForwards,
         "<interfaces><wan/><lan/></interfaces>"
         "<firewall><lan><forwards><dialout>on</dialout></forwards></lan></firewall>",
         true},
        {"forwards of what is no interface", hasDialoutForwards,
         "<interfaces><wan/></interfaces>"
         "<firewall><lan><forwards><dialout>on</dialout></forwards></lan></firewall>",
         false},
        {"a user's own password", hasStoredUserPasswords,
         "<users><total>2</total><user1><password>x</password></user1>"
         "<user2><password>y</password></user2></users>",
         true},
        {"no passwords of their own", hasStoredUserPasswords,
         "<users><total>1</total><user1><password>x</password></user1></users>", false},
        {"no users", hasStoredUserPasswords, "", false},
    };
    for (const auto &row : rows) {
        configure(row.inside);
        EXPECT_EQ(row.asked(config), row.expected) << row.name;
    }
}

} // namespace
} // namespace zandorin
