#include "InternalError.h"

#include <boost/smart_ptr/make_shared.hpp>
#include <cstdarg>
#include <cstring>
#include <new>
#include <string>

#include "ErrorDetails.h"
#include "FormatText.h"

namespace Zevrin {

namespace {

const char* FileName(const char* path) {
    const char* slash = std::strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}

/// Null when memory has run out: the error then keeps its type, which is what callers test.
boost::shared_ptr<const ErrorDetails> MakeDetails(int line, const char* file, const char* buildDate,
                                                  const char* buildTime, const Error& cause,
                                                  const char* format, va_list arguments) {
    try {
        auto details = boost::make_shared<ErrorDetails>();
        details->line = line;
        details->file = FileName(file);
        details->buildDate = buildDate;
        details->buildTime = buildTime;
        details->cause = cause;
        details->description = FormatText(format, arguments);
        return details;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace

InternalError::InternalError(int line, const char* file, const char* buildDate, const char* buildTime,
                             ErrorType type, const char* format, ...) {
    m_error.m_type = type;
    va_list arguments;
    va_start(arguments, format);
    m_error.m_pDetails = MakeDetails(line, file, buildDate, buildTime, Error(), format, arguments);
    va_end(arguments);
}

InternalError::InternalError(int line, const char* file, const char* buildDate, const char* buildTime,
                             ErrorType type, const InternalError& cause, const char* format, ...) {
    m_error.m_type = type;
    va_list arguments;
    va_start(arguments, format);
    m_error.m_pDetails = MakeDetails(line, file, buildDate, buildTime, cause.m_error, format, arguments);
    va_end(arguments);
}

}  // namespace Zevrin
