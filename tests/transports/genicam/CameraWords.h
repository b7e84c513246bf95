#pragma once

#include <functional>
#include <sstream>
#include <string>

#include "IidcCamera.h"

namespace Zevrin {

/// One thing that can be set, as words: what the camera object has, and how it is given.
struct Setting {
    std::function<std::string(IidcCamera&)> get;
    std::function<Error(IidcCamera&, std::istringstream& words)> set;
};

template <typename... Words>
std::string Join(Words... words) {
    std::ostringstream text;
    ((text << words << ' '), ...);
    return text.str().substr(0, text.str().size() - 1);
}

Setting Absolute(PropertyType type);
Setting Raw(PropertyType type);         ///< both values
Setting Modes(PropertyType type);       ///< on, auto, one push
Setting TheTrigger();                   ///< on, source, mode, polarity
Setting StrobeOf(unsigned int source);  ///< on, polarity
Setting Pin(unsigned int pin);          ///< direction
Setting Region();                       ///< mode, left, top, width, height, pixel format
Setting TheMemoryChannel();             ///< get: loaded, highest; set: to load, to save to
Setting LutEntry();                     ///< on, entry with the number 3 of channel 1
Setting Fire();                         ///< the software trigger; there is nothing to be read

}  // namespace Zevrin
