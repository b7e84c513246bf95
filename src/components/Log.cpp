#include "Log.h"

#include <spdlog/sinks/stdout_sinks.h>

#include <cstdlib>
#include <memory>

namespace Zevrin {

namespace {

std::unique_ptr<spdlog::logger> MakeLog() {
    auto pLog = std::make_unique<spdlog::logger>("zevrin", std::make_shared<spdlog::sinks::stderr_sink_mt>());
    const char* level = std::getenv("ZEVRIN_LOG");
    pLog->set_level(level != nullptr ? spdlog::level::from_str(level) : spdlog::level::off);
    pLog->flush_on(spdlog::level::trace);
    return pLog;
}

}  // namespace

spdlog::logger& Log() {
    static spdlog::logger* const pLog = MakeLog().release();  // never destroyed: threads may log at exit
    return *pLog;
}

}  // namespace Zevrin
