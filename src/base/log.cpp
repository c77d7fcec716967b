#include "base/log.h"

#include <cstdarg>
#include <sys/slog.h>

unsigned VerboseLevel = 0;

namespace {

constexpr int kDebugCode = 0x302710;
constexpr int kErrorCode = 10000;

} // namespace

void LogDebug(unsigned level, char const *format, ...) {
    if (level >= VerboseLevel)
        return;
    va_list arguments;
    va_start(arguments, format);
    vslogf(kDebugCode, _SLOG_DEBUG1, format, arguments);
    va_end(arguments);
}

void LogError(char const *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    vslogf(kErrorCode, _SLOG_CRITICAL, format, arguments);
    va_end(arguments);
}
