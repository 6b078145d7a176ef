#include "util/log.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include <log4c/appender.h>
#include <log4c/appender_type_syslog.h>
#include <log4c/category.h>

namespace zandorin {

namespace {

log4c_category_t *category = nullptr;

void replaceControlCharacters(char *text) {
    for (char *c = text; *c != '\0'; ++c) {
        const auto byte = static_cast<unsigned char>(*c);
        const bool finalLineEnd = *c == '\n' && c[1] == '\0';
        if ((byte < 0x20 || byte == 0x7f) && !finalLineEnd)
            *c = '?';
    }
}

} // namespace

void openLog(const char *name) {
    // log4c_init would read configuration files from the working directory at every request.
    category = log4c_category_get(name);
    log4c_appender_t *appender = log4c_appender_get("cgi");
    log4c_appender_set_type(appender, &log4c_appender_type_syslog);
    log4c_category_set_appender(category, appender);
    setLogPriority(Priority::info);
}

void setLogPriority(Priority least) {
    if (category != nullptr)
        log4c_category_set_priority(category, static_cast<int>(least));
}

bool logEnabled(Priority priority) {
    return category != nullptr &&
           log4c_category_is_priority_enabled(category, static_cast<int>(priority)) != 0;
}

void logRecord(Priority priority, const char *format, ...) {
    if (!logEnabled(priority))
        return;
    char text[4096];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (length < 0)
        return;
    replaceControlCharacters(text);
    log4c_category_log(category, static_cast<int>(priority), "%s", text);
}

} // namespace zandorin
