#pragma once

#include <cstdarg>
#include <cstddef>
#include <string>

namespace Zevrin {

/// printf into a string of the length that it needs.
/// Throws std::bad_alloc.
std::string FormatText(const char* format, va_list arguments);
std::string FormatText(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// A text from outside the library (a device, a file, a command line) as it may stand in a message:
/// printable ASCII, with every other byte, the backslash and the per-cent sign as "\x25" and its like,
/// shortened to `maxLength` characters with "..." at its end. The description of an error is used as a
/// printf format when the error is wrapped, so no per-cent sign may reach one.
std::string Printable(const std::string& text, std::size_t maxLength = 120);

}  // namespace Zevrin
