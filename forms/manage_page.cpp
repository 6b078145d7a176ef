#include "cgi/cgi.h"
#include "engine/engine.h"
#include "engine/formlet.h"
#include "platform/libzandorin/serial_ports.h"
#include "platform/ports/port_access.h"
#include "settings/devices.h"
#include "settings/records.h"
#include "ui/page.h"
#include "ui/table.h"
#include "ui/template_functions.h"
#include "util/strings.h"

#include <algorithm>
#include <string_view>
#include <vector>

// What somebody sees first who may not see the appliance's summary: who they are to the console,
// which ports, outlets and devices are theirs, and which pages are open to them.

namespace zandorin {
namespace {

struct Device {
    std::string_view type; ///< of a port's key ".device.type"
    const char *name;
};
constexpr Device devices[] = {
    {"ups", "Uninterruptible power supply"},
    {"rpc", "Power strip"},
    {"enviro", "Environmental monitor"},
};

/// Answers what the session's user was given by the configuration.
class Grants {
  public:
    explicit Grants(Engine &engine)
        : all_(roles_has(engine.getUserRoles(), "admin")),
          ports_(engine.config(), engine.getCurrentUsername()) {
        const settings::RecordList users("config.users", "user");
        if (const auto user = users.find(engine.config(), ".username", engine.getCurrentUsername()))
            outlets_ = settings::readTextList(engine.config(),
                                              users.keyOf(*user) + settings::granted_outlets,
                                              settings::outlet_word);
    }
    bool hasPort(unsigned number) const { return ports_.has(number); }
    /// Outlets are given to users, not to groups.
    bool hasOutlet(const std::string &key) const {
        return all_ || std::find(outlets_.begin(), outlets_.end(), key) != outlets_.end();
    }

  private:
    bool all_; ///< an administrator has everything
    PortAccess ports_;
    std::vector<std::string> outlets_; ///< by their keys
};

void showUser(Engine &engine, ui::Table &table) {
    table.titleRow("Welcome");
    table.labelledTextRow("User", engine.getCurrentUsername());
    table.inputRow("Appliance", ui::getSystemName(engine));
    const char *label = "What you may do";
    for (const role_record *role = ALL_ROLES; role->name != nullptr; ++role)
        if (roles_has(engine.getUserRoles(), role->name)) {
            table.labelledTextRow(label, role->description);
            label = "";
        }
}

/// A row about a serial port: its number, its label where it has one of its own, and the rest.
void portRow(const ConfigManager &config, ui::Table &table, unsigned number,
             const std::string &text) {
    const std::string name = "Port " + std::to_string(number);
    const std::string label = portLabel(config, number);
    table.labelledTextRow(name, (label == name ? "" : label + ", ") + text);
}

void showPorts(const ConfigManager &config, const Grants &grants, ui::Table &table) {
    table.titleRow("Your Serial Ports");
    bool any = false;
    for (unsigned number = 1; number <= portCount(config); ++number) {
        if (!grants.hasPort(number))
            continue;
        any = true;
        const std::string speed = config.getElement(portReference(number) + ".speed");
        portRow(config, table, number, speed.empty() ? "not set up yet" : speed + " baud");
    }
    if (!any)
        table.textRow("None yet: an administrator assigns ports to you or to your groups.");
}

void showOutlets(const ConfigManager &config, const Grants &grants, ui::Table &table) {
    table.titleRow("Your Power Outlets");
    bool any = false;
    for (const settings::Option &outlet : settings::outletOptions(config)) {
        if (!grants.hasOutlet(outlet.value))
            continue;
        any = true;
        table.labelledTextRow(outlet.group, outlet.label);
    }
    if (!any)
        table.textRow("None yet: an administrator assigns outlets to you.");
}

void showDevices(const ConfigManager &config, ui::Table &table) {
    table.titleRow("Managed Devices");
    bool any = false;
    for (unsigned number = 1; number <= portCount(config); ++number) {
        const std::string type = config.getElement(portReference(number) + ".device.type");
        for (const Device &device : devices)
            if (device.type == type) {
                any = true;
                portRow(config, table, number, device.name);
            }
    }
    if (!any)
        table.textRow("No serial port has a managed device.");
}

void showPages(Engine &engine, ui::Table &table) {
    table.titleRow("Pages Open to You");
    bool any = false;
    for (const NavBranch &branch : engine.navTree().branches()) {
        std::string links;
        for (const NavLeaf &leaf : branch.leaves)
            if (!leaf.hidden && leaf.id != engine.formId() && engine.isOffered(leaf))
                links += concat({links.empty() ? "" : "<br>",
                                 ui::link(concat({"?form=", leaf.id}), leaf.label)});
        if (links.empty())
            continue;
        any = true;
        table.inputRow(std::string(branch.label), links);
    }
    if (!any)
        table.textRow("Only this one.");
}

void render(Engine &engine) {
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr)
        return;
    settings::moveOutlets(engine.config());
    const ConfigManager &config = engine.config();
    const Grants grants(engine);
    const auto may = [&](const char *role) { return roles_has(engine.getUserRoles(), role); };
    ui::Table table(*cgi);
    table.open();
    showUser(engine, table);
    if (may("ports"))
        showPorts(config, grants, table);
    if (may("power"))
        showOutlets(config, grants, table);
    if (may("devices"))
        showDevices(config, table);
    showPages(engine, table);
    table.close();
}

const AutoRegisterFormlet registration("manage", nullptr, render);

} // namespace
} // namespace zandorin
