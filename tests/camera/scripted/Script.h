#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "InternalError.h"
#include "zevrin/CameraInfo.h"
#include "zevrin/Error.h"
#include "zevrin/PixelFormat.h"
#include "zevrin/Property.h"
#include "zevrin/TimeStamp.h"

/// What the scripted collaborators saw, and what they are to answer.
namespace Zevrin {
class Image;
}

namespace Zevrin::Script {

struct State {
    std::vector<std::string> calls;         ///< in order, as `CallText` writes them
    std::map<std::string, Error> failures;  ///< by "Class::Operation", or by the whole call
    std::function<Error(const std::string& camera, Image*)> onRetrieve;  ///< instead of a plain answer
    std::map<unsigned int, int> interfaceTypes;  ///< by serial number, where it is not `interfaceType`
    bool isBusMasterMissing = false;             ///< there is no memory for a new one
    Error success;                               ///< what operations answer that do not fail
    std::function<void()> onCall;                ///< runs within every operation
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
    Property lastProperty;  ///< what the property component was given
    bool isQuiet = false;   ///< nothing is recorded, nothing fails: for counting allocations
};

inline State& Get() {
    static State state;
    return state;
}

struct ConstructorFailed {};

inline void RecordConstruction(const char* className) {
    if (Get().throwingConstructor == className) {
        throw ConstructorFailed();
    }
    Get().calls.push_back(std::string("+") + className);
}

/// As a call records it: a pointer by its address, but a class by its name.
template <typename Argument>
void Append(std::ostringstream& text, const Argument& argument) {
    using Pointee = std::remove_pointer_t<Argument>;
    if constexpr (std::is_function_v<Pointee>) {
        text << ' ' << reinterpret_cast<const void*>(argument);
    } else if constexpr (std::is_pointer_v<Argument> && !std::is_same_v<Pointee, const char>) {
        text << ' ' << static_cast<const void*>(argument);
    } else {
        text << ' ' << argument;
    }
}

/// A call as it stands in the record: the operation and its arguments.
template <typename... Arguments>
std::string CallText(const std::string& operation, Arguments... arguments) {
    std::ostringstream text;
    text << operation;
    (Append(text, arguments), ...);
    return text.str();
}

/// Records a call and gives the answer that the script has for it.
/// @param camera  stands before the operation; empty when the test has one camera
template <typename... Arguments>
Error AnswerOf(const std::string& camera, const char* operation, Arguments... arguments) {
    if (Get().isQuiet) {
        return Error();
    }
    static std::mutex mutex;  // guards the script while the threads of a synchronized start call
    std::unique_lock<std::mutex> lock(mutex);
    const std::string call = CallText(camera + operation, arguments...);
    Get().calls.push_back(call);
    if (Get().onCall) {
        lock.unlock();
        Get().onCall();
        lock.lock();
    }
    for (const std::string& key : {call, camera + operation}) {
        const auto failure = Get().failures.find(key);
        if (failure != Get().failures.end()) {
            return failure->second;
        }
    }
    return Get().success;
}

template <typename... Arguments>
Error Answer(const char* operation, Arguments... arguments) {
    return AnswerOf(std::string(), operation, arguments...);
}

/// The same for a register access, which fails when the script has come to that one.
inline Error AnswerAccess(const Error& answer) {
    int& until = Get().registerAccessesUntilFailure;
    if (until < 0 || until-- > 0) {
        return answer;
    }
    return InternalError(1, "Component.cpp", "", "", ERR_TIMEOUT, "access refused");
}

}  // namespace Zevrin::Script
