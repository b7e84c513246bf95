#pragma once

#include <cstddef>
#include <vector>

#include "Tones.h"
#include "zevrin/PixelFormat.h"

namespace Zevrin {

/// Brightness of the scene at a phase, 0 to 255: up and down once in 256 pixels.
constexpr unsigned int SceneAt(unsigned int phase) {
    return (phase & 0xFF) < 128 ? (phase & 0x7F) * 2 : 255 - (phase & 0x7F) * 2;
}

/// What a picture shows, and how.
struct PictureSettings {
    unsigned int left = 0;  ///< of the region on the sensor, a multiple of 4
    unsigned int top = 0;   ///< a multiple of 2
    unsigned int width = 0;
    unsigned int height = 0;
    PixelFormat format = PIXEL_FORMAT_MONO8;
    BayerTileFormat bayer = BAYER_NONE;  ///< of the sensor; none: a mono camera
    unsigned int serialNumber = 0;
    unsigned int frameNumber = 0;
    double hue = 0;         ///< degrees
    double saturation = 1;  ///< neither has an effect on raw mosaics and mono cameras
    ToneSettings tones;     ///< unless it is the scene, the waves do not move
};

/// Paints the moving test picture: diagonal waves, which on colour cameras differ in phase by a third of a
/// wave from red to green and from green to blue, and at the top left, white on black, the serial number
/// and below it the frame number, in digits that no setting changes.
///
/// Every row is a piece of one of two strips, which change with the settings alone: painting is little more
/// than copying.
/// Threads: one at a time.
class TestPicture {
  public:
    /// `data` holds a whole image of these settings.
    void Paint(const PictureSettings& settings, unsigned char* data);

  private:
    void PaintStrip(const PictureSettings& settings, const ToneTable& tones, unsigned int row);
    PictureSettings m_painted;               // of the strips
    std::vector<unsigned char> m_strips[2];  // for even and odd rows of the sensor; empty: not painted yet
};

/// The top left corner of the digits in a picture and their size, in pixels.
constexpr unsigned int kDigitsLeft = 8;
constexpr unsigned int kDigitsTop = 8;
constexpr unsigned int kDigitDotSize = 4;    ///< a digit is 3 dots wide and 5 high
constexpr unsigned int kDigitPitch = 4;      ///< dots from one digit to the next
constexpr unsigned int kDigitLinePitch = 6;  ///< dots from one line to the next

/// The dots of a digit, row by row from its top left, most significant of 15 bits first.
unsigned int GetDigitDots(unsigned int digit);

}  // namespace Zevrin
