#include "zevrin/SaveBytes.h"

#include <cerrno>
#include <cstdio>

#include "WholeFile.h"

namespace Zevrin {

Error SaveBytes(const void* data, std::size_t size, const std::string& path) {
    WholeFile file(path);
    const Error opened = file.Open();
    if (opened != ERR_OK) {
        return opened;
    }
    if (size > 0 && std::fwrite(data, 1, size, file.GetStream()) != size) {
        return file.WriteFailure(errno);
    }
    return file.Finish();
}

}  // namespace Zevrin
