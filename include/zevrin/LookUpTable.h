#pragma once

namespace Zevrin {

/// What a camera's look-up table can do and whether it is on.
struct LUTData {
    bool supported = false;
    bool enabled = false;
    unsigned int numBanks = 0;
    unsigned int numChannels = 0;
    unsigned int inputBitDepth = 0;
    unsigned int outputBitDepth = 0;
    unsigned int numEntries = 0;  ///< of one channel: 2 to the power of `inputBitDepth`
    unsigned int reserved[8] = {};
};

}  // namespace Zevrin
