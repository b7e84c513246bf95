#include "Script.h"

namespace Zevrin {
namespace Script {

State& Get() {
    static State state;
    return state;
}

void Reset() {
    Get() = State();
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
