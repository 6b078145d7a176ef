#include "settings/form_elem.h"

#include "util/log.h"

namespace zandorin {

FormElem::FormElem(std::string labelText, std::string typeName, bool save, bool remove, int length)
    : label(std::move(labelText)), type(typeName.empty() ? "text" : std::move(typeName)),
      autoSave(save), autoDelete(remove), maxLength(length) {
    ZANDORIN_TRACE();
}

std::size_t FormElem::bufferSize() const {
    constexpr std::size_t ssh_key_size = 16384;
    constexpr std::size_t default_size = 256;
    if (type == "sshauthkey")
        return ssh_key_size;
    return maxLength <= 0 ? default_size : static_cast<std::size_t>(maxLength);
}

bool FormElem::isSecret(const std::string &ofKey) const {
    return type == "password" || ofKey == system_password;
}

} // namespace zandorin
