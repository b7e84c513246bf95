#pragma once

#include <atomic>
#include <boost/thread/mutex.hpp>
#include <cstddef>
#include <memory>
#include <vector>

namespace Zevrin {

/// The bus generation of every camera that was ever known, by serial number; 0 for any other.
///
/// Asked at every guarded operation, so a look-up takes no lock: a hash table of atomics with linear
/// probing, whose slots are only ever added. A table that has grown full is kept for readers that still
/// look at it.
/// Threads: any.
class GenerationTable {
  public:
    GenerationTable();

    unsigned int Get(unsigned int serialNumber) const noexcept {
        return m_current.load(std::memory_order_acquire)
            ->Find(serialNumber)
            .generation.load(std::memory_order_acquire);
    }

    /// The next generation of the camera, 1 the first time. Throws std::bad_alloc.
    void Raise(unsigned int serialNumber);

  private:
    struct Slot {
        std::atomic<unsigned int> serialNumber{0};
        std::atomic<unsigned int> generation{0};  ///< 0: the slot is empty
    };
    struct Table {
        explicit Table(std::size_t size) : slots(size) {}

        /// The camera's slot, or the empty one where it would go.
        Slot& Find(unsigned int serialNumber) {
            const std::size_t mask = slots.size() - 1;
            std::size_t index = serialNumber * 2654435769U >> 7;  // multiplicative hashing; neighbours spread
            for (;; ++index) {
                Slot& slot = slots[index & mask];
                if (slot.generation.load(std::memory_order_acquire) == 0 ||
                    slot.serialNumber.load(std::memory_order_relaxed) == serialNumber) {
                    return slot;
                }
            }
        }

        std::vector<Slot> slots;  ///< a power of two of them, never more than half full
    };

    void Grow();

    std::atomic<Table*> m_current;

    boost::mutex m_mutex;  // one writer at a time; guards what follows
    std::size_t m_used = 0;
    std::vector<std::unique_ptr<Table>> m_tables;
};

}  // namespace Zevrin
