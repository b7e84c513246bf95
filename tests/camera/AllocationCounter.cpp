#include <cstdlib>
#include <new>

namespace {

thread_local bool t_isCounting = false;
thread_local int t_count = 0;

}  // namespace

// Replaced for the whole program, in a file of its own so that no call of them is seen through.
void* operator new(std::size_t size) {
    t_count += t_isCounting ? 1 : 0;
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

/// As the test declares it.
class AllocationCounter {
  public:
    AllocationCounter();
    int Stop();
};

AllocationCounter::AllocationCounter() {
    t_count = 0;
    t_isCounting = true;
}

int AllocationCounter::Stop() {
    t_isCounting = false;
    return t_count;
}
