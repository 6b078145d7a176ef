#pragma once

namespace zandorin {

class Engine;

/// True when a field of the manual setting, "time.year" to "time.minute", was sent.
bool isClockSent(Engine &engine);

} // namespace zandorin
