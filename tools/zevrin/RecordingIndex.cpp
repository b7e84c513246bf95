#include "RecordingIndex.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <system_error>

#include "Folder.h"
#include "Tool.h"

namespace ZevrinTool {

namespace {

constexpr long long kLineRoom = 16 * 1024;  // more than the lines of all writers together
constexpr long long kReservation = 64 * 1024;

}  // namespace

RecordingIndex::RecordingIndex(const std::string& folder) : m_path(folder + "/" + kIndexName) {
    m_descriptor = open(m_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (m_descriptor < 0) {
        const int number = errno;
        RequireNoRecording(folder);  // which may have been begun a moment ago
        Fail(number);
    }
}

RecordingIndex::~RecordingIndex() {
    const int released = ftruncate(m_descriptor, m_size);  // what was reserved beyond the last line
    static_cast<void>(released);
    close(m_descriptor);
    if (m_size == 0) {
        unlink(m_path.c_str());  // there is no recording
    }
}

void RecordingIndex::Fail(int errorNumber) const {
    throw ToolFailure(kExitFailed, "the file \"" + m_path + "\" cannot be written: " +
                                       std::generic_category().message(errorNumber));
}

void RecordingIndex::Reserve() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_size + kLineRoom <= m_reserved) {
        return;
    }
    if (fallocate(m_descriptor, FALLOC_FL_KEEP_SIZE, m_size, kReservation) == 0) {
        m_reserved = m_size + kReservation;
    } else if (errno == ENOSPC || errno == EDQUOT) {
        Fail(errno);
    }  // else the file system has no reservations, and `Append` will tell
}

void RecordingIndex::Append(const Json& entry) {
    const std::string line = entry.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::size_t done = 0;
    while (done < line.size()) {
        const ssize_t written = pwrite(m_descriptor, line.data() + done, line.size() - done,
                                       m_size + static_cast<long long>(done));
        if (written <= 0) {
            const int number = written < 0 ? errno : ENOSPC;
            const int cut = ftruncate(m_descriptor, m_size);  // no half lines
            static_cast<void>(cut);
            Fail(number);
        }
        done += static_cast<std::size_t>(written);
    }
    m_size += static_cast<long long>(done);
}

}  // namespace ZevrinTool
