#pragma once

namespace Zevrin {

/// What a camera's look-up table can do and whether it is on.
struct LUTData {
    bool supported = false;           ///< the camera has one
    bool enabled = false;             ///< it is on
    unsigned int numBanks = 0;        ///< tables kept, one active
    unsigned int numChannels = 0;     ///< of a bank, such as one per colour
    unsigned int inputBitDepth = 0;   ///< bits of an index
    unsigned int outputBitDepth = 0;  ///< bits of an entry
    unsigned int numEntries = 0;      ///< of one channel: 2 to the power of `inputBitDepth`
    unsigned int reserved[8] = {};    ///< zero; for later versions
};

}  // namespace Zevrin
