#pragma once

#include <cstddef>
#include <vector>

namespace Zevrin {

class SimulatedDevice;

/// One row of a camera's register table: a run of registers that behave alike.
struct RegisterRow {
    unsigned int offset;    ///< bytes from the beginning of its register space
    unsigned int count;     ///< quadlets
    unsigned int writable;  ///< the bits that stick
    unsigned int reset;     ///< value after power-up
    const char* name;

    /// What is read instead of the stored value; null: that itself.
    unsigned int (*read)(const SimulatedDevice& device, unsigned int offset, unsigned int stored) = nullptr;

    /// What a write causes once the bits that stick are stored. `written` is the whole word, self-clearing
    /// bits included; `before` what was stored until now.
    void (*written)(SimulatedDevice& device, unsigned int offset, unsigned int written,
                    unsigned int before) = nullptr;

    bool isLockedWhileSending = false;  ///< writes are without effect while transmission is on
    bool isVolatile = false;            ///< no setting: memory channels leave it alone
    int resetStep = 0;                  ///< from one quadlet's value after power-up to the next one's
};

/// The registers of one register space. A row that is added later replaces earlier ones at its addresses.
/// Threads: one at a time.
class RegisterFile {
  public:
    using Settings = std::vector<unsigned int>;

    void Add(const std::vector<RegisterRow>& rows);

    /// Sorts what was added; to be called before the registers are used.
    void Seal();

    bool Has(unsigned int offset) const { return Find(offset) != nullptr; }
    const RegisterRow* GetRow(unsigned int offset) const;

    /// The stored value; 0 where there is no register.
    unsigned int Get(unsigned int offset) const;

    /// The stored values from here on, which are registers without a gap.
    std::vector<unsigned int> GetRun(unsigned int offset, std::size_t count) const;

    /// Stores a whole word, whether its bits are writable or not.
    void Set(unsigned int offset, unsigned int value);

    /// Everything as after power-up.
    void Reset();

    /// All settings, to be put back later; what is volatile stays as it is then.
    Settings Save() const;
    void Restore(const Settings& settings);
    Settings GetFactorySettings() const;

  private:
    struct Cell {
        unsigned int offset;
        unsigned int value;
        unsigned int reset;
        unsigned int row;
    };
    const Cell* Find(unsigned int offset) const;

    std::vector<RegisterRow> m_rows;
    std::vector<Cell> m_cells;
    std::vector<unsigned int> m_places;  ///< of the cells, by offset: each frame asks for many registers
};

}  // namespace Zevrin
