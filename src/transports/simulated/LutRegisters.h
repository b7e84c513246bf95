#pragma once

#include "RegisterFile.h"

namespace Zevrin {

bool IsLutOn(const RegisterFile& registers);
unsigned int GetLutBank(const RegisterFile& registers);

/// A sample of 16 bits through the table: its most significant bits choose the entry.
unsigned int ApplyLut(const RegisterFile& registers, unsigned int bank, unsigned int channel,
                      unsigned int sample);

}  // namespace Zevrin
