#include "DescriptionUrl.h"

#include <strings.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "ControlProbe.h"
#include "Failure.h"
#include "FormatText.h"
#include "Gvcp.h"

namespace Zevrin {

namespace {

constexpr char kLocal[] = "local:";
constexpr unsigned long long kMaxSize = 16ULL << 20;
constexpr unsigned int kUrlSize = 512;  // of the register, padded with zeros

bool IsLocal(const std::string& url) {
    return strncasecmp(url.c_str(), kLocal, sizeof kLocal - 1) == 0;
}

bool IsHexadecimal(char digit) {
    return std::strchr("0123456789abcdefABCDEF", digit) != nullptr && digit != '\0';
}

}  // namespace

const char* FindUrlFault(const std::string& url) {
    if (!IsLocal(url)) {
        return "it is not in the camera's memory";
    }
    const std::size_t address = url.find(';');
    const std::size_t size = address == std::string::npos ? address : url.find(';', address + 1);
    if (size == std::string::npos || size + 1 == url.size() || !IsHexadecimal(url[size + 1])) {
        return "its size is not told";
    }
    // Too large a number is the largest.
    return std::strtoull(&url[size + 1], nullptr, 16) > kMaxSize ? "it is longer than 16 MiB" : nullptr;
}

// The second is a fallback, and often a page of the maker's: it is looked at only where the first is missing
// or it is in the camera's memory as well.
Error CheckDescriptionUrls(ControlProbe& probe) {
    bool hasFirst = false;
    for (const unsigned int address : {GvcpRegister::kFirstUrl, GvcpRegister::kSecondUrl}) {
        std::vector<unsigned char> bytes;
        if (!probe.ReadMemory(address, kUrlSize, &bytes)) {
            return Error();
        }
        const std::string url(bytes.begin(), std::find(bytes.begin(), bytes.end(), 0));
        const char* const fault = url.empty() || (hasFirst && !IsLocal(url)) ? nullptr : FindUrlFault(url);
        if (fault != nullptr) {
            return Failure(ERR_INVALID_DESCRIPTION, "The camera's description at '%s' is not loaded: %s.",
                           Printable(url).c_str(), fault);
        }
        hasFirst = !url.empty();
    }
    return Error();
}

}  // namespace Zevrin
