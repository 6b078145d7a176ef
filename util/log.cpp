#include "util/log.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include <log4c/appender.h>
#include <log4c/appender_type_syslog.h>
#include <log4c/category.h>

namespace zandorin {

namespace {

const char *categoryName = nullptr; // null until openLog
log4c_category_t *category = nullptr;
Priority leastPriority = Priority::info;

/// Most requests have nothing to tell, so the category is opened by the first record.
log4c_category_t *openCategory() {
    // log4c_init would read configuration files from the working directory at every request.
    log4c_category_t *opened = log4c_category_get(categoryName);
    if (log4c_category_get_appender(opened) == nullptr) {
        log4c_appender_t *appender = log4c_appender_get("cgi");
        log4c_appender_set_type(appender, &log4c_appender_type_syslog);
        log4c_category_set_appender(opened, appender);
    }
    log4c_category_set_priority(opened, static_cast<int>(leastPriority));
    return opened;
}

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
    categoryName = name;
    category = nullptr;
    leastPriority = Priority::info;
}

void setLogPriority(Priority least) {
    if (categoryName == nullptr)
        return;
    leastPriority = least;
    if (category != nullptr)
        log4c_category_set_priority(category, static_cast<int>(least));
}

bool logEnabled(Priority priority) {
    return categoryName != nullptr && priority <= leastPriority;
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
    if (category == nullptr)
        category = openCategory();
    log4c_category_log(category, static_cast<int>(priority), "%s", text);
}

} // namespace zandorin
