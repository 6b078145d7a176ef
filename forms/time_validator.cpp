#include "cgi/cgi.h"
#include "engine/engine.h"
#include "forms/time.h"
#include "framework/formlet.h"
#include "platform/libzdsupport/clock.h"
#include "util/log.h"

#include <array>
#include <climits>
#include <cstring>
#include <ctime>

namespace zandorin {
namespace {

struct Limit {
    const char *field;
    int from;
    int to;
    int std::tm::*part;
    int offset;
    const char *message;
};

// In the order of checking.
constexpr Limit limits[] = {
    {"time.hour", 0, 23, &std::tm::tm_hour, 0, "Invalid Hour specified"},
    {"time.minute", 0, 59, &std::tm::tm_min, 0, "Invalid Minute specified"},
    {"time.year", 1977, INT_MAX, &std::tm::tm_year, 1900, "Invalid Year specified"},
    {"time.month", 1, 12, &std::tm::tm_mon, 1, "Invalid Month specified"},
    {"time.day", 1, 31, &std::tm::tm_mday, 0, "Invalid Day specified"},
};

/// Sets the clock at once: it is no value of the configuration.
bool setClock(Cgi &cgi, std::tm parts) {
    parts.tm_isdst = -1;
    const std::time_t seconds = std::mktime(&parts);
    std::array<char, 128> record = {};
    std::strftime(record.data(), record.size(), "Manually setting time: %d %b %Y %H:%M:%S", &parts);
    logRecord(Priority::info, "%s", record.data());
    if (const int failure = utilities::setSystemClock(seconds); failure != 0) {
        cgi.addError(std::string("Failed to set system time: ") + std::strerror(failure));
        return false;
    }
    if (!utilities::storeHardwareClock())
        logRecord(Priority::error, "Failed to set system clock to UTC\n");
    cgi.addMessage("System time successfully updated.");
    return true;
}

bool validateTimeForm(Engine &engine) {
    ZANDORIN_TRACE();
    Cgi *cgi = engine.requireCgi();
    if (cgi == nullptr)
        return false;
    if (cgi->getVarString("apply").raw.empty() || !isClockSent(engine))
        return true;
    std::tm parts = {};
    for (const Limit &limit : limits) {
        const int value = cgi->getVarNumber(limit.field);
        if (value < limit.from || value > limit.to) {
            cgi->addError(limit.message);
            return false;
        }
        parts.*limit.part = value - limit.offset;
    }
    return setClock(*cgi, parts);
}

const AutoRegisterFormValidator registration("time", validateTimeForm);

} // namespace
} // namespace zandorin
