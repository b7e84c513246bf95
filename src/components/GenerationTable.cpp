#include "GenerationTable.h"

#include <boost/thread/lock_guard.hpp>

namespace Zevrin {

namespace {

constexpr std::size_t kInitialSize = 64;
constexpr unsigned int kNeverAGeneration = 0xFFFFFFFFU;  // what an object holds that was never connected

unsigned int NextGeneration(unsigned int generation) {
    return generation + 1 >= kNeverAGeneration ? 1 : generation + 1;
}

}  // namespace

GenerationTable::GenerationTable() {
    m_tables.push_back(std::make_unique<Table>(kInitialSize));
    m_current = m_tables.back().get();
}

void GenerationTable::Raise(unsigned int serialNumber) {
    boost::lock_guard<boost::mutex> lock(m_mutex);
    Slot* pSlot = &m_tables.back()->Find(serialNumber);
    if (pSlot->generation == 0) {
        if (2 * (m_used + 1) > m_tables.back()->slots.size()) {
            Grow();
            pSlot = &m_tables.back()->Find(serialNumber);
        }
        ++m_used;
        pSlot->serialNumber.store(serialNumber, std::memory_order_relaxed);
    }
    pSlot->generation.store(NextGeneration(pSlot->generation), std::memory_order_release);
}

void GenerationTable::Grow() {
    auto pTable = std::make_unique<Table>(2 * m_tables.back()->slots.size());
    for (const Slot& old : m_tables.back()->slots) {
        if (old.generation != 0) {
            Slot& slot = pTable->Find(old.serialNumber);
            slot.serialNumber.store(old.serialNumber, std::memory_order_relaxed);
            slot.generation.store(old.generation, std::memory_order_release);
        }
    }
    m_tables.push_back(std::move(pTable));
    m_current.store(m_tables.back().get(), std::memory_order_release);
}

}  // namespace Zevrin
