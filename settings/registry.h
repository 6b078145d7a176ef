#pragma once

#include "settings/packed.h"
#include "util/registry.h"

namespace zandorin::settings {

/// The tables of all pages by page id.
using PageRegistry = Registry<PackedPage>;

/// Registers the table of a page; a static object of the page's own source file.
class AutoRegisterPage {
  public:
    AutoRegisterPage(const char *id, PackedPage page) { PageRegistry::add(id, page); }
};

} // namespace zandorin::settings
