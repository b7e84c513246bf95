#pragma once

namespace Zevrin {

/// One item that a camera can stamp into the first pixels of its images.
struct EmbeddedImageItem {
    bool available = false;  ///< the camera supports it
    bool onOff = false;      ///< it is switched on
};

/// The items that a camera stamps into its images, each as one quadlet, in this order. Item n belongs to bit
/// n (from the least significant end) of the embedded image information register.
struct EmbeddedImageInfo {
    static constexpr unsigned int kItemCount = 10;  ///< bits that have an item

    EmbeddedImageItem timestamp;   ///< item 0: the bus cycle time at which the image was taken
    EmbeddedImageItem further[9];  ///< items 1 to 9, whose meaning is the camera's
};

}  // namespace Zevrin
