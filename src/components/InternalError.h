#pragma once

#include "zevrin/Error.h"

namespace Zevrin {

/// Builds an `Error`: a bare type, an existing error as a cause to be, or a new message with or without a
/// cause. Formats are printf's; a text from outside the library never goes into one (see `Printable`).
class InternalError {
  public:
    explicit InternalError(ErrorType type) noexcept { m_error.m_type = type; }
    explicit InternalError(const Error& error) noexcept : m_error(error) {}

    InternalError(int line, const char* file, const char* buildDate, const char* buildTime, ErrorType type,
                  const char* format, ...) __attribute__((format(printf, 7, 8)));
    InternalError(int line, const char* file, const char* buildDate, const char* buildTime, ErrorType type,
                  const InternalError& cause, const char* format, ...) __attribute__((format(printf, 8, 9)));

    operator Error() const noexcept { return m_error; }  // NOLINT(google-explicit-constructor)

  private:
    Error m_error;
};

}  // namespace Zevrin
