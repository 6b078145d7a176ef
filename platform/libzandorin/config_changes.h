#pragma once

#include "platform/libzandorin/xml_image.h"

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace zandorin::platform {

/// One step towards the changed configuration: a text (ISO-8859-1) for a key, or none to remove
/// the key's element with all below it.
struct ConfigEdit {
    std::string key;
    std::optional<std::string> text;
};

/// What one request has set and deleted, kept apart from the configuration it was read from: `base`
/// is that configuration, the same in every call. Values are ISO-8859-1, keys are
/// keys of the store.
class ConfigChanges {
  public:
    /// The value with the changes, "" when there is none.
    std::string value(const XmlImage &base, std::string_view key) const;

    /// Names of the child elements with the changes: first those of the base.
    std::vector<std::string> children(const XmlImage &base, std::string_view key) const;

    /// Setting what `value` answers already does nothing, so that no element is made for an empty
    /// value.
    void set(const XmlImage &base, std::string_view key, std::string_view value);
    void remove(const XmlImage &base, std::string_view key);

    /// True when a value differs from the base.
    bool alterValues(const XmlImage &base) const;

    /// The edits that make the changes, in the order in which they must be applied. What was set
    /// back to the base's value is not among them, nor is a deletion below which every value was
    /// set anew: another request's change there is not to be undone.
    std::vector<ConfigEdit> edits(const XmlImage &base) const;

    void clear();

  private:
    struct Set {
        std::string value;
        std::size_t order; // of the first setting, which new elements keep in the file
    };
    bool isSetAtOrBelow(const std::string &key) const;

    std::map<std::string, Set, std::less<>> sets_;
    std::set<std::string, std::less<>> deleted_; // none of them below another
    std::size_t next_ = 0;
};

} // namespace zandorin::platform
