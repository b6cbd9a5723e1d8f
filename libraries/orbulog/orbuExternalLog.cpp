#include "orbulog/orbuExternalLog.h"

#include <cstdarg>
#include <cstdio>

constinit OrbuExternalLogHandler OrbuExternalLog::g_logHandler = nullptr;
constinit void* OrbuExternalLog::g_userData = nullptr;

int OrbuExternalLog::set_external_log_handler(OrbuExternalLogHandler handler, void* userData) {
    g_logHandler = handler;
    g_userData = userData;
    return 0;
}

void OrbuExternalLog::log_message(char const* format, ...) {
    if (g_logHandler == nullptr) {
        return;
    }
    char text[1024] = {};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    g_logHandler(g_userData, text);
}
