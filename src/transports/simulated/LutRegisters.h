#pragma once

#include <vector>

#include "RegisterFile.h"

namespace Zevrin {

/// The entries of one bank, channel after channel.
struct LutBank {
    std::vector<unsigned int> entries;
    unsigned int channels = 1;  ///< 1 or 3
};

bool IsLutOn(const RegisterFile& registers);

/// The active bank as it is now.
LutBank ReadLutBank(const RegisterFile& registers);

/// A sample of 16 bits through the table: its most significant bits choose the entry.
unsigned int ApplyLut(const LutBank& bank, std::size_t channel, unsigned int sample);

}  // namespace Zevrin
