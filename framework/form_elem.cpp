#include "framework/form_elem.h"

#include "util/log.h"

namespace zandorin {

FormElem::FormElem(std::string labelText, std::string typeName, bool save, bool remove, int length)
    : label(std::move(labelText)), type(typeName.empty() ? "text" : std::move(typeName)),
      autoSave(save), autoDelete(remove), maxLength(length) {
    ZANDORIN_TRACE();
}

} // namespace zandorin
