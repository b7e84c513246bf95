#include <cstdlib>
#include <new>

#include "Script.h"

// Replaced for the whole program, in a file of its own so that no call of them is seen through.
void* operator new(std::size_t size) {
    Zevrin::Script::t_allocations += Zevrin::Script::t_isRecording ? 0 : 1;
    if (void* memory = std::malloc(size)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
