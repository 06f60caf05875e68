#pragma once

#include <string>
#include <vector>

#include "tools/client/history_pager.h"
#include "tools/text/language.h"

namespace tools {

/// One pen's history.
struct ChartCurve {
    std::string name;   ///< UTF-8, printable, like all texts
    std::string group;  ///< the plotter, or what else the pen belongs to; may be empty
    std::string unit;   ///< empty: unknown
    std::vector<HistoryValue> values;  ///< oldest first
};

struct Chart {
    std::string title;
    std::vector<ChartCurve> curves;  ///< at most `kMostCurves`
    UA_DateTime from = 0;
    UA_DateTime to = 0;  ///< after `from`
    Language language = Language::ru;
};

/// Colours and dashes distinguish no more than that.
inline constexpr std::size_t kMostCurves = 8;

enum class PictureFormat { svg, png };

struct PictureSize {  // pixels
    int width = 1200;
    int height = 600;
};

/// Draws the histories over one time axis, with a value axis for each group of curves that fit together.
/// The texts are drawn as outlines, so that the picture looks the same everywhere. It holds no more points
/// than its width needs, however long the histories are.
/// @param size    at least 400 x 250
/// @param picture receives the file's contents
/// @return empty, or why it could not be drawn, in the drawing library's words
[[nodiscard]] std::string drawChart(const Chart& chart, PictureFormat format, PictureSize size,
                                    std::string& picture);

}  // namespace tools
