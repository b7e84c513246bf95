#pragma once

namespace Zevrin {

/// Fields of a register in the numbering of the IIDC standard: bit 0 is the most significant of the
/// 32-bit word, a field goes from its first (most significant) to its last bit, both included.
constexpr unsigned int RegisterBit(unsigned int bit) {
    return 0x80000000U >> bit;
}

struct RegisterField {
    unsigned int first;
    unsigned int last;

    constexpr unsigned int GetMax() const {
        return last - first == 31 ? 0xFFFFFFFFU : (1U << (last - first + 1)) - 1;
    }
    constexpr unsigned int GetMask() const { return GetMax() << (31 - last); }
    constexpr unsigned int Get(unsigned int word) const { return word >> (31 - last) & GetMax(); }

    /// A word that holds `value` in this field and 0 elsewhere; bits that do not fit are cut off.
    constexpr unsigned int Make(unsigned int value) const { return (value & GetMax()) << (31 - last); }
    constexpr unsigned int Put(unsigned int word, unsigned int value) const {
        return (word & ~GetMask()) | Make(value);
    }
};

}  // namespace Zevrin
