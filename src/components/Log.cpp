#include "Log.h"

#include <spdlog/sinks/stdout_sinks.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "FormatText.h"

namespace Zevrin {

namespace {

std::unique_ptr<spdlog::logger> MakeLog() {
    auto pLog = std::make_unique<spdlog::logger>("zevrin", std::make_shared<spdlog::sinks::stderr_sink_mt>());
    const char* const level = std::getenv("ZEVRIN_LOG");
    const std::string name = level != nullptr ? level : "off";
    pLog->set_level(spdlog::level::from_str(name));  // off for a name that is none
    if (pLog->level() == spdlog::level::off && name != "off" && !name.empty()) {
        std::fprintf(stderr, "ZEVRIN_LOG is \"%s\"; it must be off, error, warn, info, debug or trace.\n",
                     Printable(name).c_str());
    }
    pLog->flush_on(spdlog::level::trace);
    return pLog;
}

}  // namespace

spdlog::logger& Log() {
    static spdlog::logger* const pLog = MakeLog().release();  // never destroyed: threads may log at exit
    return *pLog;
}

}  // namespace Zevrin
