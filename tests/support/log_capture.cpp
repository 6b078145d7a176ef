#include "tests/support/log_capture.h"

#include <algorithm>

#include <log4c/appender.h>
#include <log4c/category.h>
#include <log4c/logging_event.h>

namespace zandorin::test {

namespace {

std::vector<std::string> taken;

int take(log4c_appender_t *, const log4c_logging_event_t *event) {
    taken.push_back(std::to_string(event->evt_priority) + " " + event->evt_msg);
    return 0;
}

const log4c_appender_type_t capture_type = {"capture", nullptr, take, nullptr};

} // namespace

LogCapture::LogCapture(Priority least) {
    taken.clear();
    openLog("zandorin-tests");
    log4c_appender_t *appender = log4c_appender_get("capture");
    log4c_appender_set_type(appender, &capture_type);
    log4c_category_set_appender(log4c_category_get("zandorin-tests"), appender);
    setLogPriority(least);
}

LogCapture::~LogCapture() {
    log4c_category_set_appender(log4c_category_get("zandorin-tests"), nullptr);
    openLog("zandorin-tests");
}

const std::vector<std::string> &LogCapture::records() const {
    return taken;
}

bool LogCapture::has(const std::string &record) const {
    return std::find(taken.begin(), taken.end(), record) != taken.end();
}

} // namespace zandorin::test
