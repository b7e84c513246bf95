#include "SyncIndex.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <limits>
#include <set>
#include <stdexcept>
#include <system_error>

#include "Folder.h"
#include "Output.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

constexpr char kFormatName[] = "zevrin-sync-index";
constexpr unsigned int kVersion = 1;
constexpr std::size_t kMaxLine = 4096;
constexpr std::size_t kMaxCameras = 64;
constexpr unsigned long long kMaxImages = 10000000;
constexpr unsigned long long kMaxMembers = 64ULL * 64 * 100000;  // of all sets: what `sync` itself can grab
constexpr std::size_t kMaxProblems = 100;
constexpr std::size_t kMaxFileName = 255;
constexpr unsigned long long kAnySerialNumber = std::numeric_limits<unsigned int>::max();
constexpr unsigned long long kAny = std::numeric_limits<unsigned long long>::max();

/// Why a line is no good.
struct BadLine : std::runtime_error {
    using std::runtime_error::runtime_error;
};

const Json& Find(const Json& document, const char* key) {
    const auto found = document.find(key);
    if (found == document.end()) {
        throw BadLine("\"" + std::string(key) + "\" is missing");
    }
    return *found;
}

unsigned long long ToNumber(const Json& value, const std::string& name, unsigned long long max) {
    if (!value.is_number_unsigned() || value.get<unsigned long long>() > max) {
        throw BadLine("\"" + name + "\" is " + Quote(value) + "; it must be a whole number from 0 to " +
                      std::to_string(max));
    }
    return value.get<unsigned long long>();
}

unsigned int ToSerialNumber(const Json& value) {
    return static_cast<unsigned int>(ToNumber(value, "serial", kAnySerialNumber));
}

/// A name in the folder itself, and none that a terminal would act upon.
std::string ToFileName(const Json& value) {
    const bool isText = value.is_string();
    const std::string name = isText ? value.get<std::string>() : "";
    if (name.empty() || name.size() > kMaxFileName || name.front() == '.' ||
        name.find('/') != std::string::npos || Printable(name) != name) {
        throw BadLine("\"file\" is " + Quote(value) + "; it must be the name of a file in the same folder");
    }
    return name;
}

Json ToJson(const SyncEntry& entry) {
    Json document = {
        {"serial", entry.record.serialNumber},
        {"frame", entry.record.frameId},
        {"stamp", {entry.record.cycleSeconds, entry.record.cycleCount, entry.record.cycleOffset}}};
    if (!entry.file.empty()) {
        document.update({{"file", entry.file},
                         {"bytes", entry.bytes},
                         {"width", entry.width},
                         {"height", entry.height},
                         {"stride", entry.stride},
                         {"pixelFormat", entry.pixelFormat}});
    } else if (entry.isWanted) {
        document["file"] = nullptr;
    }
    return document;
}

/// Size and format of an image are for those who read raw files, and are not looked at here.
SyncEntry ToEntry(const Json& document) {
    SyncEntry entry;
    entry.record.serialNumber = ToSerialNumber(Find(document, "serial"));
    entry.record.frameId = ToNumber(Find(document, "frame"), "frame", kAny);
    const Json& stamp = Find(document, "stamp");
    if (!stamp.is_array() || stamp.size() != 3) {
        throw BadLine("\"stamp\" is " + Quote(stamp) + "; it must be [seconds, cycles, offset]");
    }
    unsigned int* const fields[] = {&entry.record.cycleSeconds, &entry.record.cycleCount,
                                    &entry.record.cycleOffset};
    for (std::size_t i = 0; i < stamp.size(); ++i) {
        *fields[i] =
            static_cast<unsigned int>(ToNumber(stamp[i], "stamp", std::numeric_limits<unsigned int>::max()));
    }
    const Zevrin::Error error = Zevrin::CheckSyncStamp(entry.record, "the image");
    if (error != Zevrin::ERR_OK) {
        throw BadLine(error.GetDescription());
    }
    entry.isWanted = document.contains("file");
    if (entry.isWanted && !document["file"].is_null()) {
        entry.file = ToFileName(document["file"]);
        entry.bytes = ToNumber(Find(document, "bytes"), "bytes", kAny);
    }
    return entry;
}

struct Head {
    std::vector<unsigned int> cameras;
    unsigned long long images = 0;
};

Head ToHead(const Json& document) {
    if (Find(document, "format") != kFormatName || Find(document, "version") != kVersion) {
        throw BadLine("it is no index of a synchronized run, or one of another version");
    }
    Head head;
    const Json& cameras = Find(document, "cameras");
    if (!cameras.is_array() || cameras.empty() || cameras.size() > kMaxCameras) {
        throw BadLine("\"cameras\" is " + Quote(cameras) + "; it must be 1 to " +
                      std::to_string(kMaxCameras) + " serial numbers");
    }
    for (const Json& camera : cameras) {
        head.cameras.push_back(ToSerialNumber(camera));
    }
    if (std::set<unsigned int>(head.cameras.begin(), head.cameras.end()).size() != head.cameras.size()) {
        throw BadLine("\"cameras\" is " + Quote(cameras) + "; each camera must be there once");
    }
    head.images =
        ToNumber(Find(document, "images"), "images", std::min(kMaxImages, kMaxMembers / head.cameras.size()));
    return head;
}

/// The lines of a file, of which no more is held than one.
class Lines {
  public:
    explicit Lines(const std::string& path) : m_stream(path, std::ios::binary), m_line(kMaxLine + 1) {
        if (!m_stream) {
            throw ToolFailure(kExitFailed, "there is no file \"" + Printable(path) + "\" that can be read");
        }
        std::error_code ignored;
        if (!std::filesystem::is_regular_file(path, ignored)) {
            throw ToolFailure(kExitFailed, "\"" + Printable(path) + "\" is no regular file");
        }
    }

    bool Next() {
        m_stream.getline(m_line.data(), static_cast<std::streamsize>(m_line.size()));
        // The line break is counted, and is not in the line.
        m_length = static_cast<std::size_t>(m_stream.gcount()) - (m_stream.good() ? 1 : 0);
        m_isTooLong = m_stream.fail() && !m_stream.eof() && !m_stream.bad() && m_stream.gcount() > 0;
        if (m_isTooLong) {
            m_stream.clear();
            m_stream.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
        }
        const bool isLine = m_isTooLong || !m_stream.fail();
        m_number += isLine ? 1 : 0;
        return isLine;
    }

    Json Parse() const {
        if (m_isTooLong) {
            throw BadLine("it is longer than " + std::to_string(kMaxLine) + " bytes");
        }
        Json document = Json::parse(m_line.data(), m_line.data() + m_length, nullptr, false);
        if (!document.is_object()) {
            throw BadLine("it is no JSON object");
        }
        return document;
    }

    std::string Describe(const std::exception& problem) const {
        return std::string(kIndexName) + ", line " + std::to_string(m_number) + ": " + problem.what();
    }

  private:
    std::ifstream m_stream;
    std::vector<char> m_line;
    std::size_t m_length = 0;
    std::size_t m_number = 0;
    bool m_isTooLong = false;
};

void ReadEntry(const Lines& lines, SyncIndexReading* pReading) {
    auto& index = pReading->index;
    try {
        SyncEntry entry = ToEntry(lines.Parse());
        const unsigned int serialNumber = entry.record.serialNumber;
        if (std::find(index.cameras.begin(), index.cameras.end(), serialNumber) == index.cameras.end()) {
            throw BadLine(NameOf(serialNumber) + " is not one of those that the first line names");
        }
        index.entries.push_back(std::move(entry));
    } catch (const BadLine& problem) {
        pReading->problems.Add(lines.Describe(problem));
    }
}

}  // namespace

std::string FormatSyncIndex(const SyncIndex& index) {
    const Json head = {{"format", kFormatName},
                       {"version", kVersion},
                       {"cameras", index.cameras},
                       {"images", index.entries.size()}};
    std::string text = head.dump() + "\n";
    for (const SyncEntry& entry : index.entries) {
        text += ToJson(entry).dump() + "\n";
    }
    return text;
}

SyncIndexReading ReadSyncIndex(const std::string& path) {
    Lines lines(path);
    SyncIndexReading reading;
    Head head;
    if (!lines.Next()) {
        throw ToolFailure(kExitFailed, std::string(kIndexName) + ": the file is empty");
    }
    try {
        head = ToHead(lines.Parse());
    } catch (const BadLine& problem) {
        throw ToolFailure(kExitFailed, lines.Describe(problem));
    }
    reading.index.cameras = head.cameras;
    unsigned long long count = 0;
    const unsigned long long max = std::min(kMaxImages, kMaxMembers / head.cameras.size());
    for (; count <= max && lines.Next(); ++count) {
        ReadEntry(lines, &reading);
    }
    if (count != head.images) {
        reading.problems.Add(std::string(kIndexName) + " says that it has " + std::to_string(head.images) +
                             " images and has " + (count > max ? "more than it may" : std::to_string(count)));
    }
    return reading;
}

void SyncProblems::Add(const std::string& problem) {
    if (m_count++ < kMaxProblems) {
        m_lines.push_back(problem);
    }
}

void SyncProblems::Complain() const {
    for (const std::string& line : m_lines) {
        ZevrinTool::Complain(line);
    }
    if (m_count > m_lines.size()) {
        ZevrinTool::Complain("and " + std::to_string(m_count - m_lines.size()) + " more");
    }
}

void SetBadStampsAside(SyncIndex* pIndex, SyncProblems* pProblems) {
    auto& entries = pIndex->entries;
    const auto isBad = [&](const SyncEntry& entry) {
        const Zevrin::Error error = Zevrin::CheckSyncStamp(entry.record, "an image");
        if (error != Zevrin::ERR_OK) {
            pProblems->Add(error.GetDescription());
        }
        return error != Zevrin::ERR_OK;
    };
    entries.erase(std::remove_if(entries.begin(), entries.end(), isBad), entries.end());
}

std::size_t CountUnwritten(const SyncIndex& index) {
    const auto isUnwritten = [](const SyncEntry& entry) { return entry.isWanted && entry.file.empty(); };
    return static_cast<std::size_t>(std::count_if(index.entries.begin(), index.entries.end(), isUnwritten));
}

void FindMissingFiles(const SyncIndex& index, const std::string& folder, SyncProblems* pProblems) {
    namespace fs = std::filesystem;
    for (const SyncEntry& entry : index.entries) {
        if (entry.file.empty()) {
            continue;
        }
        const fs::path path = fs::path(folder) / entry.file;
        std::error_code problem;
        if (!fs::is_regular_file(fs::symlink_status(path, problem))) {
            pProblems->Add("the image " + entry.file + " is not there");
            continue;
        }
        const auto size = fs::file_size(path, problem);
        if (problem) {
            pProblems->Add("the size of the image " + entry.file + " cannot be told: " + problem.message());
        } else if (size != entry.bytes) {
            pProblems->Add("the image " + entry.file + " has " + std::to_string(size) + " bytes; it had " +
                           std::to_string(entry.bytes));
        }
    }
    if (const std::size_t unwritten = CountUnwritten(index); unwritten > 0) {
        pProblems->Add(std::to_string(unwritten) + " of " + std::to_string(index.entries.size()) +
                       " images were never written to a file");
    }
}

}  // namespace ZevrinTool
