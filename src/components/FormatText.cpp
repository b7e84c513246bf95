#include "FormatText.h"

#include <cstdio>

namespace Zevrin {

std::string FormatText(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    char small[256];
    const int length = std::vsnprintf(small, sizeof small, format, arguments);
    std::string text;
    if (length > 0) {
        const auto size = static_cast<std::size_t>(length);
        if (size < sizeof small) {
            text.assign(small, size);
        } else {
            text.resize(size + 1);
            std::vsnprintf(&text[0], text.size(), format, again);
            text.resize(size);
        }
    }
    va_end(again);
    return text;
}

std::string FormatText(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::string text = FormatText(format, arguments);
    va_end(arguments);
    return text;
}

std::string Printable(const std::string& text, std::size_t maxLength) {
    static const char kEllipsis[] = "...";
    static const char kHex[] = "0123456789abcdef";
    std::string printable;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        const bool plain = byte >= 0x20 && byte < 0x7F && character != '%' && character != '\\';
        if (printable.size() + (plain ? 1 : 4) > maxLength) {
            printable.resize(printable.size() < maxLength - 3 ? printable.size() : maxLength - 3);
            return printable + kEllipsis;
        }
        if (plain) {
            printable += character;
        } else {
            printable += {'\\', 'x', kHex[byte >> 4], kHex[byte & 0xF]};
        }
    }
    return printable;
}

}  // namespace Zevrin
