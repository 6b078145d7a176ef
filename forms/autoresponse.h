#pragma once

#include <string>
#include <vector>

namespace zandorin {
class ConfigManager;
}

namespace zandorin::autoresponse {

/// The limits of a rule's check as one text, such as "5 MB in 1 d"; "" when it has none.
std::string shownAmounts(const ConfigManager &config, const std::string &rule);
/// Limits are typed in several units. Stores each as a whole in its smallest unit (".amount"), and
/// which units it was given in (".display_<unit>"); those of every other check are deleted.
void storeAmounts(ConfigManager &config, const std::string &rule);

/// What the service last reported of a rule; texts are raw.
struct Report {
    std::string status = "Normal";
    std::string subject = ""; ///< device or property
    std::string value = "";   ///< event or measured value
    std::string user = "";    ///< user or device name
};
/// One for each rule number up to `last`, from /var/run/autoresponse.status (docs/autoresponse.md).
/// What it does not name is "Normal".
std::vector<Report> readReports(unsigned last);

} // namespace zandorin::autoresponse
