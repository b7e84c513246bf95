#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <zevrin/PixelBuffer.h>

namespace ZevrinTool {

struct Color {
    unsigned char red;
    unsigned char green;
    unsigned char blue;
};

/// Of a line of text in pixels.
constexpr unsigned int kTextHeight = 14;

/// A colour picture that is put together from others and from numbers. What does not fit is cut off.
class Canvas {
  public:
    Canvas(unsigned int width, unsigned int height, Color paper);

    void Fill(unsigned int left, unsigned int top, unsigned int width, unsigned int height, Color color);
    void Draw(unsigned int left, unsigned int top, unsigned int width, unsigned int height,
              const std::vector<unsigned char>& rgb);

    /// Digits, signs, the point, #, and "us".
    void Write(unsigned int left, unsigned int top, const std::string& text, Color color);

    Zevrin::PixelView View() const;

  private:
    unsigned char* At(unsigned int x, unsigned int y) { return &m_rgb[3 * (std::size_t{y} * m_width + x)]; }

    const unsigned int m_width;
    const unsigned int m_height;
    std::vector<unsigned char> m_rgb;
};

}  // namespace ZevrinTool
