#include "Canvas.h"

#include <algorithm>

namespace ZevrinTool {

namespace {

constexpr unsigned int kGlyphWidth = 5;
constexpr unsigned int kGlyphHeight = 7;
constexpr unsigned int kDot = kTextHeight / kGlyphHeight;

/// Rows from the top, the leftmost dot in the highest of five bits.
struct Glyph {
    char letter;
    unsigned char rows[kGlyphHeight];
};

constexpr Glyph kGlyphs[] = {
    {'0', {14, 17, 19, 21, 25, 17, 14}}, {'1', {4, 12, 4, 4, 4, 4, 14}},
    {'2', {14, 17, 1, 2, 4, 8, 31}},     {'3', {31, 2, 4, 2, 1, 17, 14}},
    {'4', {2, 6, 10, 18, 31, 2, 2}},     {'5', {31, 16, 30, 1, 1, 17, 14}},
    {'6', {6, 8, 16, 30, 17, 17, 14}},   {'7', {31, 1, 2, 4, 8, 8, 8}},
    {'8', {14, 17, 17, 14, 17, 17, 14}}, {'9', {14, 17, 17, 15, 1, 2, 12}},
    {'+', {0, 4, 4, 31, 4, 4, 0}},       {'-', {0, 0, 0, 31, 0, 0, 0}},
    {'.', {0, 0, 0, 0, 0, 12, 12}},      {'#', {10, 10, 31, 10, 31, 10, 10}},
    {'u', {0, 0, 17, 17, 17, 19, 13}},   {'s', {0, 0, 15, 16, 14, 1, 30}},
};

}  // namespace

Canvas::Canvas(unsigned int width, unsigned int height, Color paper)
    : m_width(width), m_height(height), m_rgb(std::size_t{3} * width * height) {
    Fill(0, 0, width, height, paper);
}

void Canvas::Fill(unsigned int left, unsigned int top, unsigned int width, unsigned int height, Color color) {
    for (unsigned int y = top; y < std::min(top + height, m_height); ++y) {
        for (unsigned int x = left; x < std::min(left + width, m_width); ++x) {
            unsigned char* const pPixel = At(x, y);
            pPixel[0] = color.red;
            pPixel[1] = color.green;
            pPixel[2] = color.blue;
        }
    }
}

void Canvas::Draw(unsigned int left, unsigned int top, unsigned int width, unsigned int height,
                  const std::vector<unsigned char>& rgb) {
    const std::size_t fitting = std::min(width, m_width - std::min(left, m_width));
    for (unsigned int y = 0; y < height && top + y < m_height && fitting > 0; ++y) {
        std::copy_n(rgb.data() + std::size_t{3} * y * width, 3 * fitting, At(left, top + y));
    }
}

void Canvas::Write(unsigned int left, unsigned int top, const std::string& text, Color color) {
    for (const char letter : text) {
        for (const Glyph& glyph : kGlyphs) {
            for (unsigned int y = 0; y < kGlyphHeight && glyph.letter == letter; ++y) {
                for (unsigned int x = 0; x < kGlyphWidth; ++x) {
                    if ((glyph.rows[y] >> (kGlyphWidth - 1 - x) & 1) != 0) {
                        Fill(left + x * kDot, top + y * kDot, kDot, kDot, color);
                    }
                }
            }
        }
        left += (kGlyphWidth + 1) * kDot;
    }
}

Zevrin::PixelView Canvas::View() const {
    Zevrin::PixelView view;
    view.data = m_rgb.data();
    view.size = m_rgb.size();
    view.width = m_width;
    view.height = m_height;
    view.stride = std::size_t{3} * m_width;
    view.pixelFormat = Zevrin::PIXEL_FORMAT_RGB8;
    return view;
}

}  // namespace ZevrinTool
