#include <sys/slog.h>

#include <cstdio>
#include <string>
#include <syslog.h>

namespace {

constexpr size_t kLongestText = 10'500; ///< a refusal is logged with 10,239 bytes of what the server said

/// The system logger's priority for a severity: 6 and 7 are both debugging.
int Priority(int severity) {
    static constexpr int priorities[] = {LOG_EMERG,  LOG_CRIT, LOG_ERR,   LOG_WARNING,
                                         LOG_NOTICE, LOG_INFO, LOG_DEBUG, LOG_DEBUG};
    return severity < _SLOG_SHUTDOWN ? LOG_EMERG : priorities[severity > _SLOG_DEBUG2 ? _SLOG_DEBUG2 : severity];
}

/// One line of the log: what a server or a message says must neither start a new line nor control a terminal.
std::string Escaped(char const *text) {
    std::string line;
    int escape = 0; // bytes still to be escaped
    for (; *text; text++) {
        auto const byte = static_cast<unsigned char>(*text);
        if (byte == '\n' && !text[1])
            break; // a closing line end says nothing
        if (byte < 0x20 || byte == 0x7F)
            escape = 1;
        else if (byte == 0xC2 && (text[1] & 0xE0) == 0x80)
            escape = 2; // U+0080 to U+009F in UTF-8: terminals obey these, too
        if (escape > 0) {
            char code[5];
            snprintf(code, sizeof code, "\\x%02x", byte);
            line += code;
            escape--;
        } else {
            line += *text;
        }
    }
    return line;
}

} // namespace

int vslogf(int code, int severity, char const *format, va_list arguments) {
    char text[kLongestText + 1];
    if (vsnprintf(text, sizeof text, format, arguments) < 0)
        return -1;
    std::string const line = Escaped(text);
    syslog(LOG_USER | Priority(severity), "[%d:%d] %s", code >> 20, code & 0xFFFFF, line.c_str());
    return static_cast<int>(line.size());
}

int slogf(int code, int severity, char const *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    int const length = vslogf(code, severity, format, arguments);
    va_end(arguments);
    return length;
}
