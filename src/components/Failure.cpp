#include "Failure.h"

#include <cstdarg>
#include <new>
#include <string>

#include "FormatText.h"
#include "InternalError.h"

namespace Zevrin {

namespace {

constexpr char kBuildDate[] = __DATE__;
constexpr char kBuildTime[] = __TIME__;

/// Empty when memory has run out: the type of the error still tells.
std::string FormatWithoutPerCent(const char* format, va_list arguments) noexcept {
    try {
        std::string text = FormatText(format, arguments);
        for (std::string::size_type at = text.find('%'); at != std::string::npos; at = text.find('%', at)) {
            text.replace(at, 1, "\\x25");
        }
        return text;
    } catch (const std::bad_alloc&) {
        return std::string();
    }
}

}  // namespace

Error Failure(FailureSite site, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const std::string text = FormatWithoutPerCent(format, arguments);
    va_end(arguments);
    return InternalError(site.line, site.file, kBuildDate, kBuildTime, site.type, "%s", text.c_str());
}

Error FailureBecause(FailureSite site, const Error& cause, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const std::string text = FormatWithoutPerCent(format, arguments);
    va_end(arguments);
    return InternalError(site.line, site.file, kBuildDate, kBuildTime, site.type, InternalError(cause), "%s",
                         text.c_str());
}

}  // namespace Zevrin
