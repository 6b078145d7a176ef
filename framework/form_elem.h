#pragma once

#include <map>
#include <string>

namespace zandorin {

/// One input of the current form: a request field whose name is a configuration key.
struct FormElem {
    FormElem() = default;
    FormElem(std::string labelText, std::string typeName, bool save, bool remove, int length = 0);

    std::string label;         ///< names the field in messages; markup, as its author wrote it
    std::string type = "text"; ///< an element type's name, or the built-in "text"
    bool autoSave = true;      ///< save a valid non-empty submitted value
    bool autoDelete = true;    ///< delete the key when the submitted value is empty
    int maxLength = 0;         ///< bytes of the field's buffer; 0 or less means 256
};

/// The elements of one request's form by field name, in byte order of the names.
using FormElements = std::map<std::string, FormElem>;

} // namespace zandorin
