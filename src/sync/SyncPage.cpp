#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "SvgPlot.h"
#include "SyncTimeline.h"
#include "zevrin/SyncReport.h"

namespace Zevrin {

namespace {

constexpr double kLimitUs =
    kSyncLimitCycles * static_cast<double>(kSyncTicksPerCycle) / kSyncTicksPerMicrosecond;

constexpr char kHead[] = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'unsafe-inline'">
<meta name="viewport" content="width=device-width, initial-scale=1">
<style>
:root { color-scheme: light dark; --ink: #1c2126; --faint: #6b7480; --rule: #dfe3e8; --paper: #fff; --bad: #b3261e;
    --good: #1c7c3c; }
@media (prefers-color-scheme: dark) { :root { --ink: #e6e9ed; --faint: #98a2ae; --rule: #363d45; --paper: #14181c;
    --bad: #f2766d; --good: #5ec57f; } }
body { font: 15px/1.5 system-ui, "DejaVu Sans", sans-serif; color: var(--ink); background: var(--paper);
    max-width: 1000px; margin: 2em auto; padding: 0 1.2em; }
h1 { font-size: 1.35em; margin: 0 0 .6em; overflow-wrap: anywhere; } h2 { font-size: 1.05em; margin: 2em 0 .5em; }
.verdict { display: inline-block; padding: .25em .8em; border-radius: .4em; color: var(--paper); font-weight: 600; }
.good { background: var(--good); } .bad { background: var(--bad); }
.facts { color: var(--faint); margin: .6em 0; } .reasons { color: var(--bad); }
table { border-collapse: collapse; width: 100%; font-variant-numeric: tabular-nums; font-size: .93em; }
th, td { text-align: right; padding: .3em .55em; border-bottom: 1px solid var(--rule); white-space: nowrap; }
th { color: var(--faint); font-weight: 500; } th:first-child, td:first-child { text-align: left; }
.scroll { overflow-x: auto; } .key { display: inline-block; width: .75em; height: .75em; border-radius: 2px;
    margin-right: .45em; } .legend span { margin-right: 1.2em; } .warn { color: var(--bad); font-weight: 600; }
svg.plot { width: 100%; height: auto; } svg text { font-size: 12px; fill: var(--faint); }
.grid { stroke: var(--rule); } .zero { stroke: var(--faint); } .limit { stroke: var(--bad); stroke-dasharray: 6 4; }
.gauge { width: 130px; height: 14px; vertical-align: middle; } .gauge rect { fill: var(--rule); }
.note { color: var(--faint); font-size: .93em; }
</style>
)";

constexpr char kNote[] =
    R"(<p class="note">An offset is the bus time of a camera's image less that of the first camera's image of the same set;
above zero the image is the later one. Sets are matched by these time stamps, so a lost frame shifts nothing. The drift is the
slope of a straight line through the offsets. Cycles are counted by the bus clock, 8000 a second: two images a few
microseconds apart may lie on either side of a cycle's beginning.</p>
</body>
</html>
)";

double Microseconds(double ticks) {
    return ticks / kSyncTicksPerMicrosecond;
}

double Microseconds(long long ticks) {
    return Microseconds(static_cast<double>(ticks));
}

double Seconds(long long ticks) {
    return static_cast<double>(ticks) / static_cast<double>(kSyncTicksPerSecond);
}

std::string Key(std::size_t camera) {
    return "<i class=\"key\" style=\"background:" + ColorOf(camera) + "\"></i>";
}

std::string Counted(unsigned long long count) {
    return count == 0 ? "0" : "<span class=\"warn\">" + std::to_string(count) + "</span>";
}

/// The range of a camera's offsets between the limits, which are the ends of the bar.
std::string Gauge(const SyncCamera& camera, std::size_t index) {
    const SvgScale scale = {-kLimitUs, kLimitUs, 0, 130};
    const auto place = [&](long long ticks) {
        return scale.ToPixel(std::clamp(Microseconds(ticks), -kLimitUs, kLimitUs));
    };
    const double begin = std::min(place(camera.minTicks), 127.0);
    return "<svg class=\"gauge\" viewBox=\"0 0 130 14\"><rect y=\"5\" width=\"130\" height=\"4\" rx=\"2\"/>"
           "<rect x=\"64.5\" width=\"1\" height=\"14\"/><rect x=\"" +
           NumberText(begin, 1) + "\" y=\"3\" width=\"" +
           NumberText(std::max(place(camera.maxTicks) - begin, 3.0), 1) +
           "\" height=\"8\" rx=\"2\" style=\"fill:" + ColorOf(index) + "\"/></svg>";
}

std::string CameraRow(const SyncCamera& camera, std::size_t index) {
    std::string row = "<tr><td>" + Key(index) + std::to_string(camera.serialNumber) + "</td>";
    const auto add = [&](const std::string& cell) { row += "<td>" + cell + "</td>"; };
    const bool isCompared = camera.offsets > 0;
    const auto ifCompared = [&](const std::string& cell) { return isCompared ? cell : "–"; };
    add(std::to_string(camera.images));
    add(Counted(camera.lost));
    add(Counted(camera.outOfOrder));
    add(Counted(camera.duplicated));
    add(ifCompared(NumberText(Microseconds(camera.minTicks), 1)));
    add(ifCompared(NumberText(Microseconds(camera.meanTicks), 1)));
    add(ifCompared(NumberText(Microseconds(camera.maxTicks), 1)));
    add(ifCompared(std::to_string(camera.worstCycles)));
    add(ifCompared(Gauge(camera, index)));
    add(camera.hasDrift ? NumberText(camera.driftPpm, 2) : "–");
    add(camera.isInStep ? "yes" : "<span class=\"warn\">no</span>");
    return row + "</tr>\n";
}

std::string CameraTable(const SyncReport& report) {
    std::string table =
        "<h2>Cameras</h2>\n<div class=\"scroll\"><table>\n<tr><th>camera</th><th>images</th><th>lost</th>"
        "<th>out of order</th><th>duplicated</th><th>min µs</th><th>mean µs</th><th>max µs</th>"
        "<th>worst cycles</th><th>of ±" +
        std::to_string(kSyncLimitCycles) + " cycles</th><th>drift ppm</th><th>in step</th></tr>\n";
    for (std::size_t i = 0; i < report.cameras.size(); ++i) {
        table += CameraRow(report.cameras[i], i);
    }
    return table + "</table></div>\n";
}

struct Range {
    double min = 0;
    double max = 0;
};

/// Of all offsets, and of 0, which is the first camera.
Range RangeOf(const SyncReport& report) {
    Range range;
    for (const SyncCamera& camera : report.cameras) {
        range.min = std::min(range.min, Microseconds(camera.minTicks));
        range.max = std::max(range.max, Microseconds(camera.maxTicks));
    }
    return range;
}

/// A camera's offsets as a line. Where there are more than can be seen, each part of the time is drawn by its
/// least and its greatest.
std::string OffsetLine(const SyncReport& report, std::size_t camera, const SvgPlot& plot) {
    constexpr std::size_t kParts = 480;
    std::string points;
    const auto add = [&](long long ticks, double microseconds) {
        points += NumberText(plot.GetX().ToPixel(Seconds(ticks)), 1) + "," +
                  NumberText(plot.GetY().ToPixel(microseconds), 1) + " ";
    };
    const std::size_t step = std::max<std::size_t>(report.sets.size() / kParts, 1);
    for (std::size_t begin = 0; begin < report.sets.size(); begin += step) {
        Range range;
        bool isAny = false;
        for (std::size_t i = begin; i < std::min(begin + step, report.sets.size()); ++i) {
            const SyncMember& member = report.sets[i].members[camera];
            if (member.hasOffset) {
                const double offset = Microseconds(member.offsetTicks);
                range = isAny ? Range{std::min(range.min, offset), std::max(range.max, offset)}
                              : Range{offset, offset};
                isAny = true;
            }
        }
        if (isAny) {
            add(report.sets[begin].ticks, range.min);
        }
        if (range.max > range.min) {
            add(report.sets[begin].ticks, range.max);
        }
    }
    return "<polyline fill=\"none\" stroke-width=\"1.8\" stroke-linejoin=\"round\" stroke=\"" +
           ColorOf(camera) + "\" points=\"" + points + "\"/>";
}

std::string OffsetPlot(const SyncReport& report) {
    Range range = RangeOf(report);
    const double margin = std::max((range.max - range.min) * 0.08, 0.5);
    range = {range.min - margin, range.max + margin};
    // The limits belong in the picture where they do not squeeze it flat.
    if (std::max(-range.min, range.max) > kLimitUs / 3) {
        range = {std::min(range.min, -kLimitUs * 1.08), std::max(range.max, kLimitUs * 1.08)};
    }
    SvgPlot plot(0, Seconds(report.durationTicks), range.min, range.max);
    for (std::size_t i = 0; i < report.cameras.size(); ++i) {
        plot.Add(OffsetLine(report, i, plot));
    }
    const std::string limit = std::to_string(kSyncLimitCycles) + " cycles";
    plot.AddLimit(kLimitUs, "+" + limit);
    plot.AddLimit(-kLimitUs, "-" + limit);
    return plot.Format("Offset of each camera over time", "time in seconds", "offset in µs");
}

/// How often each camera had which offset, one upon the other. The first camera is left out: it is always 0.
std::string Histogram(const SyncReport& report) {
    constexpr std::size_t kBins = 48;
    const Range range = RangeOf(report);
    const double width = std::max((range.max - range.min) / (kBins - 1), 0.05);
    const double begin = range.min - width / 2;
    std::vector<std::vector<std::size_t>> counts(report.cameras.size(), std::vector<std::size_t>(kBins));
    std::vector<std::size_t> sums(kBins);
    for (const SyncSet& set : report.sets) {
        for (std::size_t camera = 1; camera < set.members.size(); ++camera) {
            if (set.members[camera].hasOffset) {
                const double place = (Microseconds(set.members[camera].offsetTicks) - begin) / width;
                const std::size_t bin = std::min(static_cast<std::size_t>(std::max(place, 0.0)), kBins - 1);
                ++counts[camera][bin];
                ++sums[bin];
            }
        }
    }
    const double highest = static_cast<double>(*std::max_element(sums.begin(), sums.end()));
    SvgPlot plot(begin, begin + width * kBins, 0, std::max(highest * 1.05, 1.0));
    std::vector<std::size_t> heights(kBins);
    for (std::size_t camera = 1; camera < counts.size(); ++camera) {
        for (std::size_t bin = 0; bin < kBins; ++bin) {
            if (counts[camera][bin] == 0) {
                continue;
            }
            const double left = plot.GetX().ToPixel(begin + width * static_cast<double>(bin));
            const double right = plot.GetX().ToPixel(begin + width * static_cast<double>(bin + 1));
            const double bottom = plot.GetY().ToPixel(static_cast<double>(heights[bin]));
            heights[bin] += counts[camera][bin];
            const double top = plot.GetY().ToPixel(static_cast<double>(heights[bin]));
            plot.Add("<rect x=\"" + NumberText(left, 1) + "\" y=\"" + NumberText(top, 1) + "\" width=\"" +
                     NumberText(right - left - 1, 1) + "\" height=\"" + NumberText(bottom - top, 1) +
                     "\" fill=\"" + ColorOf(camera) + "\"/>");
        }
    }
    return plot.Format("Histogram of the offsets", "offset in µs", "images");
}

std::string Legend(const SyncReport& report, std::size_t begin) {
    std::string legend = "<p class=\"legend\">";
    for (std::size_t i = begin; i < report.cameras.size(); ++i) {
        legend += "<span>" + Key(i) + std::to_string(report.cameras[i].serialNumber) + "</span>";
    }
    return legend + "</p>\n";
}

std::string Verdict(const SyncReport& report) {
    std::string text = std::string("<p><span class=\"verdict ") +
                       (report.isInStep ? "good\">In step" : "bad\">Not in step") +
                       "</span></p>\n<p class=\"facts\">" + std::to_string(report.cameras.size()) +
                       " cameras, " + std::to_string(report.sets.size()) + " sets, " +
                       std::to_string(report.completeSets) + " of them complete, in " +
                       NumberText(Seconds(report.durationTicks), 1) + " s";
    if (report.periodTicks > 0) {
        text += ", " + NumberText(1 / Seconds(report.periodTicks), 2) + " frames a second";
    }
    if (report.hasWorstPair) {
        const SyncWorstPair& pair = report.worstPair;
        text += ".<br>Furthest apart: " + NumberText(Microseconds(pair.ticks), 1) + " µs (" +
                std::to_string(pair.cycles) + (pair.cycles == 1 ? " cycle)" : " cycles)") + ", camera " +
                std::to_string(report.cameras[pair.laterCamera].serialNumber) + " after camera " +
                std::to_string(report.cameras[pair.earlierCamera].serialNumber) + " in set " +
                std::to_string(pair.set) + ". The limit is " + std::to_string(kSyncLimitCycles) +
                " cycles (" + NumberText(kLimitUs, 0) + " µs) from camera " +
                std::to_string(report.cameras.front().serialNumber);
    }
    text += ".</p>\n";
    for (const std::string& reason : report.reasons) {
        text += "<p class=\"reasons\">" + EscapeHtml(reason) + "</p>\n";
    }
    return text;
}

}  // namespace

std::string FormatSyncReportAsHtml(const SyncReport& report, const std::string& title) {
    return kHead + ("<title>" + EscapeHtml(title) + "</title>\n</head>\n<body>\n<h1>" + EscapeHtml(title)) +
           "</h1>\n" + Verdict(report) + CameraTable(report) + "<h2>Offset over time</h2>\n" +
           Legend(report, 0) + OffsetPlot(report) + "<h2>Histogram of the offsets</h2>\n" +
           Legend(report, 1) + Histogram(report) + kNote;
}

}  // namespace Zevrin
