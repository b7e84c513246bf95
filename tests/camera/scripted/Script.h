#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "InternalError.h"
#include "zevrin/Error.h"
#include "zevrin/Property.h"

/// What the scripted collaborators saw, and what they are to answer.
namespace Zevrin {
class Image;
}

namespace Zevrin::Script {

struct State {
    std::vector<std::string> calls;         ///< in order, as `CallText` writes them
    std::map<std::string, Error> failures;  ///< by "Class::Operation", or by the whole call
    Error success;                          ///< what operations answer that do not fail
    std::function<void()> onCall;           ///< runs within every operation
    std::function<Error(const std::string& camera, Image*)> onRetrieve;  ///< instead of a plain answer
    std::map<unsigned int, unsigned int> registers;  ///< what the register component reads and writes
    std::string throwingConstructor;                 ///< the class whose constructor throws
    std::vector<unsigned int> generations;           ///< the bus manager's next answers; the last one stays
    std::map<unsigned int, int> interfaceTypes;      ///< by serial number; 0 is that of all others
    bool isGrabStarted = false;
    int eventStatus = 0;
    bool isPropertyPresent = true;
    Property lastProperty;  ///< what the property component was given
};

inline State& Get() {
    static State state;
    return state;
}

/// What the calling thread has allocated with `new`, but for what the script needs to keep its record.
inline thread_local int t_allocations = 0;
inline thread_local bool t_isRecording = false;

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
/// @param camera  stands before the class; empty when the test has one camera
template <typename... Arguments>
Error Answer(const std::string& camera, const char* className, const char* operation,
             Arguments... arguments) {
    static std::mutex mutex;  // guards the script while the threads of a synchronized start call
    const std::lock_guard<std::mutex> lock(mutex);
    t_isRecording = true;
    const std::string name = camera + className + "::" + operation;
    const std::string call = CallText(name, arguments...);
    Get().calls.push_back(call);
    if (Get().onCall) {
        Get().onCall();
    }
    const auto& failures = Get().failures;
    const auto failure = failures.count(call) != 0 ? failures.find(call) : failures.find(name);
    t_isRecording = false;
    return failure != failures.end() ? failure->second : Get().success;
}

}  // namespace Zevrin::Script
