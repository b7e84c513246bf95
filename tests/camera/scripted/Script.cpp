#include "Script.h"

#include "InternalError.h"

namespace Zevrin {
namespace Script {

State& Get() {
    static State state;
    return state;
}

void Reset() {
    Get() = State();
}

Error AnswerAccess(const Error& answer) {
    int& until = Get().registerAccessesUntilFailure;
    if (until < 0 || until-- > 0) {
        return answer;
    }
    return InternalError(1, "Component.cpp", "", "", ERR_TIMEOUT, "access refused");
}

void RecordConstruction(const char* className) {
    if (Get().throwingConstructor == className) {
        throw ConstructorFailed();
    }
    Get().calls.push_back(std::string("+") + className);
}

void RecordDestruction(const char* className) {
    Get().calls.push_back(std::string("-") + className);
}

}  // namespace Script
}  // namespace Zevrin
