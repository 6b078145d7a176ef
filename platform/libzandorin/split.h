#pragma once

// The configuration library's name for it; the rule stands in one place.
#include "util/split.h"
