#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>

namespace zandorin {

/// One input of the current form: a request field whose name is a configuration key.
struct FormElem {
    FormElem() = default;
    FormElem(std::string labelText, std::string typeName, bool save, bool remove, int length = 0);

    /// Bytes of the buffer that the field is read into, one more than its longest text.
    std::size_t bufferSize() const;

    std::string label;         ///< names the field in messages; markup, as its author wrote it
    std::string type = "text"; ///< an element type's name, or the built-in "text"
    bool autoSave = true;      ///< save a valid non-empty submitted value
    bool autoDelete = true;    ///< delete the key when the submitted value is empty
    int maxLength = 0;         ///< bytes of the field's buffer; 0 or less means the type's
    std::string key = "";      ///< configuration key; "" when the field's name is the key
    /// Counts as submitted, in place of the field's text.
    std::optional<std::string> given = std::nullopt;
    std::string standard = ""; ///< what the input shows while nothing is stored

    /// The configuration key of the field `name`.
    const std::string &keyAs(const std::string &name) const { return key.empty() ? name : key; }

    /// True when no page and no log record may show the value; `ofKey` is the element's key.
    bool isSecret(const std::string &ofKey) const;
};

/// The password of root, stored as a hash.
inline constexpr const char *system_password = "config.system.password";

/// The elements of one request's form by field name, in byte order of the names.
using FormElements = std::map<std::string, FormElem>;

} // namespace zandorin
