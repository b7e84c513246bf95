#include "DescriptionUrl.h"

#include <strings.h>

#include <algorithm>
#include <chrono>
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
constexpr unsigned int kReadSize = 512;
constexpr std::chrono::seconds kReadLimit(30);

// Of a zip archive's central directory, which has all numbers with the low byte first.
constexpr unsigned char kEntry[] = {'P', 'K', 1, 2};
constexpr std::ptrdiff_t kUnpackedSize = 24;  // where it is in an entry
constexpr std::ptrdiff_t kEntrySize = 46;

bool IsLocal(const std::string& url) {
    return strncasecmp(url.c_str(), kLocal, sizeof kLocal - 1) == 0;
}

constexpr char kHexadecimal[] = "0123456789abcdefABCDEFx";  // also after 0x

bool IsHexadecimal(char digit) {
    return std::strchr(kHexadecimal, digit) != nullptr && digit != '\0';
}

/// Anything but plain text, which is what it takes in the camera's memory.
bool MayBePacked(const std::string& url) {
    constexpr char kPlain[] = ".xml";
    const std::size_t end = url.find(';');
    return end < sizeof kPlain || strncasecmp(&url[end - 4], kPlain, 4) != 0;
}

/// As much as can be read; what cannot is left to whoever loads it.
std::vector<unsigned char> ReadFile(ControlProbe& probe, const std::string& url) {
    const auto deadline = std::chrono::steady_clock::now() + kReadLimit;
    char* pEnd = nullptr;
    const unsigned long long address = std::strtoull(&url[url.find(';') + 1], &pEnd, 16);
    const unsigned long long size = std::strtoull(pEnd + 1, nullptr, 16);
    std::vector<unsigned char> file;
    std::vector<unsigned char> part;
    while (file.size() < size && std::chrono::steady_clock::now() < deadline) {
        const unsigned long long wanted = std::min<unsigned long long>(size - file.size() + 3, kReadSize);
        if (!probe.ReadMemory(static_cast<unsigned int>(address + file.size()),
                              static_cast<unsigned int>(wanted / 4 * 4), &part)) {
            break;
        }
        file.insert(file.end(), part.begin(), part.end());
    }
    return file;
}

}  // namespace

// Wherever an entry may be: Aravis takes the size from the first one that it finds, and that much memory.
const char* FindArchiveFault(const std::vector<unsigned char>& file) {
    auto entry = file.begin();
    while ((entry = std::search(entry, file.end(), std::begin(kEntry), std::end(kEntry))) != file.end()) {
        if (file.end() - entry >= kEntrySize) {
            const unsigned char* const pSize = &entry[kUnpackedSize];
            const unsigned int size =
                static_cast<unsigned int>(pSize[3]) << 24 | pSize[2] << 16U | pSize[1] << 8U | pSize[0];
            if (size > kMaxSize) {
                return "it is longer than 16 MiB when it is unpacked";
            }
        }
        ++entry;
    }
    return nullptr;
}

const char* FindUrlFault(const std::string& url) {
    if (!IsLocal(url)) {
        return "it is not in the camera's memory";
    }
    const std::size_t address = url.find(';');
    const std::size_t size =
        address == std::string::npos ? address : url.find_first_not_of(kHexadecimal, address + 1);
    if (size == std::string::npos || url[size] != ';' || size + 1 == url.size() ||
        !IsHexadecimal(url[size + 1])) {
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
        const bool isLookedAt = !url.empty() && (!hasFirst || IsLocal(url));
        const char* fault = isLookedAt ? FindUrlFault(url) : nullptr;
        if (isLookedAt && fault == nullptr && MayBePacked(url)) {
            fault = FindArchiveFault(ReadFile(probe, url));
        }
        if (fault != nullptr) {
            return Failure(ERR_INVALID_DESCRIPTION, "The camera's description at '%s' is not loaded: %s.",
                           Printable(url).c_str(), fault);
        }
        hasFirst = !url.empty();
    }
    return Error();
}

}  // namespace Zevrin
