#include "WholeFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <system_error>
#include <utility>

#include "Failure.h"
#include "FormatText.h"

namespace Zevrin {

namespace {

constexpr std::size_t kMaxPathInMessage = 1000;

/// Beside `path`, and of a length of its own: a name as long as the file system allows stays possible.
std::string MakePassingPath(const std::string& path) {
    static std::atomic<unsigned int> s_count{0};
    const std::string::size_type slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : path.substr(0, slash + 1);
    return folder + FormatText(".zevrin-%ld-%u.part", static_cast<long>(getpid()), s_count++);
}

}  // namespace

WholeFile::WholeFile(std::string path) : m_path(std::move(path)) {}

WholeFile::~WholeFile() {
    if (m_pStream != nullptr) {
        std::fclose(m_pStream);
    }
    if (!m_passingPath.empty()) {
        unlink(m_passingPath.c_str());
    }
}

Error WholeFile::Open() {
    int descriptor = -1;
    std::string passingPath;
    do {  // a process of the same number that was killed may have left one behind
        passingPath = MakePassingPath(m_path);
        descriptor = open(passingPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    } while (descriptor < 0 && errno == EEXIST);
    if (descriptor < 0) {
        return WriteFailure(errno);
    }
    m_passingPath = passingPath;
    m_pStream = fdopen(descriptor, "wb");
    if (m_pStream == nullptr) {
        const int number = errno;
        close(descriptor);
        return WriteFailure(number);
    }
    return Error();
}

Error WholeFile::Write(const void* data, std::size_t size) {
    return std::fwrite(data, 1, size, m_pStream) == size ? Error() : WriteFailure(errno);
}

Error WholeFile::Close() {
    return m_pStream == nullptr || std::fclose(std::exchange(m_pStream, nullptr)) == 0 ? Error()
                                                                                       : WriteFailure(errno);
}

Error WholeFile::Finish() {
    const Error error = Close();
    if (error != ERR_OK) {
        return error;
    }
    if (std::rename(m_passingPath.c_str(), m_path.c_str()) != 0) {
        return WriteFailure(errno);
    }
    m_passingPath.clear();
    return Error();
}

Error WholeFile::WriteFailure(int errorNumber) const {
    return WriteFailure(std::generic_category().message(errorNumber));
}

Error WholeFile::WriteFailure(const std::string& reason) const {
    return Failure(ERR_FILE_FAILED, "The file \"%s\" cannot be written: %s.",
                   Printable(m_path, kMaxPathInMessage).c_str(), Printable(reason).c_str());
}

}  // namespace Zevrin
