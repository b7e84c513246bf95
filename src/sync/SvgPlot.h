#pragma once

#include <string>
#include <vector>

namespace Zevrin {

/// A text from outside as it may stand in HTML, attributes included.
std::string EscapeHtml(const std::string& text);

/// A number with so many digits after the point, whatever the program's locale.
std::string NumberText(double value, int digits);

/// A colour for the n-th of several things, readable on white and on black.
std::string ColorOf(std::size_t index);

/// The way from a range of values to one of pixels.
struct SvgScale {
    double minValue;
    double maxValue;
    double minPixel;
    double maxPixel;

    double ToPixel(double value) const {
        return minPixel + (value - minValue) / (maxValue - minValue) * (maxPixel - minPixel);
    }
    bool Contains(double value) const { return value >= minValue && value <= maxValue; }
};

/// A frame with two labelled axes, to be filled with shapes.
class SvgPlot {
  public:
    /// Widens ranges that are too small to be shown.
    SvgPlot(double minX, double maxX, double minY, double maxY);

    const SvgScale& GetX() const { return m_x; }
    const SvgScale& GetY() const { return m_y; }

    void Add(const std::string& shape) { m_shapes += shape + "\n"; }

    /// A line across the frame with a text at its end, when it is within the frame.
    void AddLimit(double y, const std::string& text);

    /// The whole element.
    std::string Format(const std::string& label, const std::string& labelX, const std::string& labelY) const;

  private:
    std::string Grid() const;

    SvgScale m_x;
    SvgScale m_y;
    std::string m_shapes;
};

}  // namespace Zevrin
