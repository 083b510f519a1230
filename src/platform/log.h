// Error messages to the system log (priority LOG_ERR). The test build can
// capture them instead, so tests check the exact text.
#pragma once

#include <string>
#include <vector>

namespace viewgeo::platform {

// printf-style message to the system log at error priority.
void log_error(const char *format, ...) __attribute__((format(printf, 1, 2)));

#ifdef VIEWGEO_TEST_SEAM
// Test build only: messages are collected here instead of going to syslog.
std::vector<std::string> &captured_log();
#endif

}  // namespace viewgeo::platform
