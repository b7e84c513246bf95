#include "SvgPlot.h"

#include <algorithm>
#include <cmath>
#include <locale>
#include <sstream>

namespace Zevrin {

namespace {

constexpr double kWidth = 960;
constexpr double kHeight = 340;
constexpr double kLeft = 74;
constexpr double kRight = 14;
constexpr double kTop = 12;
constexpr double kBottom = 46;
constexpr int kSteps = 6;  // lines of the grid, about
constexpr double kSmallestSpan = 1e-3;

/// The distance of two grid lines: 1, 2 or 5 times a power of ten.
double StepOf(const SvgScale& scale) {
    const double wanted = (scale.maxValue - scale.minValue) / kSteps;
    const double power = std::pow(10, std::floor(std::log10(wanted)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (factor * power >= wanted) {
            return factor * power;
        }
    }
    return 10 * power;
}

SvgScale MakeScale(double min, double max, double minPixel, double maxPixel) {
    const double missing = std::max(kSmallestSpan - (max - min), 0.0);
    return {min - missing / 2, max + missing / 2, minPixel, maxPixel};
}

std::string LineText(double x1, double y1, double x2, double y2, const char* style) {
    return "<line class=\"" + std::string(style) + "\" x1=\"" + NumberText(x1, 1) + "\" y1=\"" +
           NumberText(y1, 1) + "\" x2=\"" + NumberText(x2, 1) + "\" y2=\"" + NumberText(y2, 1) + "\"/>\n";
}

std::string TextAt(double x, double y, const char* anchor, const std::string& text) {
    return "<text x=\"" + NumberText(x, 1) + "\" y=\"" + NumberText(y, 1) + "\" text-anchor=\"" + anchor +
           "\">" + EscapeHtml(text) + "</text>\n";
}

/// The values of the grid lines, and the digits that tell them apart.
struct Ticks {
    explicit Ticks(const SvgScale& scale) {
        const double step = StepOf(scale);
        digits = std::max(0, static_cast<int>(std::ceil(-std::log10(step) - 1e-9)));
        const double first = std::ceil(scale.minValue / step - 1e-9);
        for (double tick = first; tick * step <= scale.maxValue + step * 1e-9; ++tick) {
            values.push_back(tick * step);
        }
    }
    std::vector<double> values;
    int digits;
};

}  // namespace

std::string EscapeHtml(const std::string& text) {
    std::string escaped;
    for (const char letter : text) {
        switch (letter) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            case '\'':
                escaped += "&#39;";
                break;
            default:
                const auto byte = static_cast<unsigned char>(letter);
                escaped += byte < ' ' || byte == 0x7F ? '?' : letter;
        }
    }
    return escaped;
}

std::string NumberText(double value, int digits) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream.precision(digits);
    stream << std::fixed << value;
    const std::string text = stream.str();
    // No "-0.0", which is what a small negative number is rounded to.
    return text.find_first_not_of("-0.") == std::string::npos && text[0] == '-' ? text.substr(1) : text;
}

std::string ColorOf(std::size_t index) {
    static constexpr const char* kColors[] = {"#4878d0", "#ee854a", "#3f9e5a", "#c44e52",
                                              "#956cb4", "#8c613c", "#d670b7", "#5f9ea8"};
    constexpr std::size_t kCount = sizeof kColors / sizeof kColors[0];
    constexpr std::size_t kGoldenAngle = 137;
    return index < kCount ? kColors[index]
                          : "hsl(" + std::to_string(index * kGoldenAngle % 360) + ",55%,50%)";
}

SvgPlot::SvgPlot(double minX, double maxX, double minY, double maxY)
    : m_x(MakeScale(minX, maxX, kLeft, kWidth - kRight)),
      m_y(MakeScale(minY, maxY, kHeight - kBottom, kTop)) {}

void SvgPlot::AddLimit(double y, const std::string& text) {
    if (m_y.Contains(y)) {
        const double pixel = m_y.ToPixel(y);
        Add(LineText(kLeft, pixel, kWidth - kRight, pixel, "limit") +
            TextAt(kWidth - kRight - 4, pixel - 4, "end", text));
    }
}

std::string SvgPlot::Grid() const {
    std::string grid;
    const Ticks ticksX(m_x);
    for (const double value : ticksX.values) {
        const double pixel = m_x.ToPixel(value);
        grid += LineText(pixel, kTop, pixel, kHeight - kBottom, "grid") +
                TextAt(pixel, kHeight - kBottom + 17, "middle", NumberText(value, ticksX.digits));
    }
    const Ticks ticksY(m_y);
    for (const double value : ticksY.values) {
        const double pixel = m_y.ToPixel(value);
        grid += LineText(kLeft, pixel, kWidth - kRight, pixel, value == 0 ? "zero" : "grid") +
                TextAt(kLeft - 7, pixel + 4, "end", NumberText(value, ticksY.digits));
    }
    return grid;
}

std::string SvgPlot::Format(const std::string& label, const std::string& labelX,
                            const std::string& labelY) const {
    const std::string middle = NumberText((kHeight - kBottom + kTop) / 2, 0);
    return "<svg class=\"plot\" role=\"img\" aria-label=\"" + EscapeHtml(label) + "\" viewBox=\"0 0 " +
           NumberText(kWidth, 0) + " " + NumberText(kHeight, 0) +
           "\" xmlns=\"http://www.w3.org/2000/svg\">\n" + Grid() + m_shapes +
           TextAt((kLeft + kWidth - kRight) / 2, kHeight - 8, "middle", labelX) +
           "<text text-anchor=\"middle\" transform=\"translate(16," + middle + ") rotate(-90)\">" +
           EscapeHtml(labelY) + "</text>\n</svg>\n";
}

}  // namespace Zevrin
