#pragma once

#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "zevrin/CameraInfo.h"
#include "zevrin/Error.h"
#include "zevrin/PixelFormat.h"
#include "zevrin/Property.h"
#include "zevrin/TimeStamp.h"

namespace Zevrin {

/// What the scripted collaborators saw, and what they are to answer.
namespace Script {

struct State {
    std::vector<std::string> calls;         ///< in order, as `CallText` writes them
    std::map<std::string, Error> failures;  ///< by "Class::Operation"
    Error success;                          ///< what operations answer that do not fail
    std::function<void()> onCall;           ///< runs within every operation
    int grabStartedQueries = 0;
    std::map<unsigned int, unsigned int> registers;  ///< what the register component reads and writes
    int registerAccessesUntilFailure = -1;           ///< 0: the next one fails; -1: none does
    TimeStamp timeStamp;                             ///< the bus time
    unsigned int readErrors = 0;                     ///< of every component
    unsigned int writeErrors = 0;                    ///< of every component
    std::string throwingConstructor;                 ///< the class whose constructor throws
    std::vector<unsigned int> generations;           ///< the bus manager's next answers; the last one stays
    int interfaceType = 0;
    bool isGrabStarted = false;
    int eventStatus = 0;
    BayerTileFormat bayerFormat = BAYER_NONE;
    CameraInfo cameraInfo;
    Property property;      ///< what the property component has
    Property lastProperty;  ///< what the property component was given to set
    bool isQuiet = false;   ///< nothing is recorded, nothing fails: for counting allocations
};
State& Get();
void Reset();

struct ConstructorFailed {};

inline void AppendArguments(std::ostringstream&) {}

template <typename First, typename... Rest>
void AppendArguments(std::ostringstream& text, const First& first, const Rest&... rest) {
    text << ' ' << first;
    AppendArguments(text, rest...);
}

/// A call as it stands in the record: the operation and its arguments.
template <typename... Arguments>
std::string CallText(const char* operation, const Arguments&... arguments) {
    std::ostringstream text;
    text << operation;
    AppendArguments(text, arguments...);
    return text.str();
}

/// Records a call and gives the answer that the script has for it.
template <typename... Arguments>
Error Answer(const char* operation, const Arguments&... arguments) {
    if (Get().isQuiet) {
        return Error();
    }
    Get().calls.push_back(CallText(operation, arguments...));
    if (Get().onCall) {
        Get().onCall();
    }
    const auto failure = Get().failures.find(operation);
    return failure != Get().failures.end() ? failure->second : Get().success;
}

/// The same for a register access, which fails when the script has come to that one.
Error AnswerAccess(const Error& answer);

void RecordConstruction(const char* className);
void RecordDestruction(const char* className);

}  // namespace Script

}  // namespace Zevrin
