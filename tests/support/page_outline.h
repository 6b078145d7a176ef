#pragma once

#include "tests/support/request_test.h"

namespace zandorin::test {

/// What in an answer a browser would act upon, and nothing of its texts: the names of the header
/// lines and the type of the content; each tag in order with the names of its attributes, but
/// for what is chosen; whole what is code (scripts, styles, event handlers); where an address leads
/// ("relative", "elsewhere", or its scheme, entities resolved). What is no well-formed markup is an
/// entry "broken: ...".
std::vector<std::string> outline(const Response &response);

} // namespace zandorin::test
