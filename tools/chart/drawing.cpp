#include "tools/chart/drawing.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <functional>

#include "tools/chart/axes.h"
#include "tools/chart/canvas.h"
#include "tools/chart/curve.h"
#include "tools/chart/ticks.h"
#include "tools/client/format.h"

namespace tools {

namespace {

constexpr Colour kPaper = colour(0xFFFFFF);
constexpr Colour kInk = colour(0x1F2933);
constexpr Colour kPale = colour(0x5B6672);
constexpr Colour kGrid = colour(0xE3E6EA);
constexpr Colour kNewDate = colour(0xA9B2BC);

// The colours of Okabe and Ito, which remain distinct with any kind of colour blindness; instead of their
// yellow, which is too pale on white, a brown. In black and white the dashes distinguish the curves.
constexpr std::array<LineStyle, kMostCurves> kStyles{{
    {colour(0x0072B2), {}},
    {colour(0xD55E00), {9, 3}},
    {colour(0x009E73), {3, 2}},
    {colour(0xCC79A7), {10, 3, 2, 3}},
    {colour(0x000000), {1.5, 2.5}},
    {colour(0xE69F00), {14, 4}},
    {colour(0x56B4E9), {8, 2, 2, 2, 2, 2}},
    {colour(0x7A5C00), {4, 6}},
}};

// In units (canvas.h).
constexpr double kMargin = 16;
constexpr double kTitleSize = 17;
constexpr double kTextSize = 12;
constexpr double kLine = 19;        // from one line of text to the next
constexpr double kSample = 28;      // length of a curve's sample in the legend
constexpr double kAxisSample = 16;  // and above an axis
constexpr double kTick = 5;
constexpr double kGap = 7;
constexpr double kValueTickRoom = 42;  // at least, from one mark to the next
constexpr double kTimeTickRoom = 92;

constexpr Text kNoValues{"нет значений", "no values"};
constexpr Text kLocalTime{"местное время", "local time"};

std::string shortNumber(double number) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.5g", number);
    return text.data();
}

struct Rectangle {
    double left, top, right, bottom;

    [[nodiscard]] double width() const { return right - left; }
    [[nodiscard]] double height() const { return bottom - top; }
};

class ChartDrawing {
  public:
    ChartDrawing(const Chart& chart, Canvas& canvas, PictureSize size)
        : chart_(chart),
          canvas_(canvas),
          area_{units(kMargin), units(kMargin), size.width - units(kMargin),
                size.height - units(kMargin)} {
        std::vector<AxisNeed> needs;
        for (std::size_t i = 0; i < chart.curves.size(); ++i) {
            const ChartCurve& curve = chart.curves[i];
            needs.push_back({rangeOf(curve.values), curve.unit});
            if (!needs.back().range || !curve.unit.empty() || !isSwitch(curve.values)) continue;
            needs.back().range.reset();
            switches_.push_back(i);
        }
        axes_ = groupAxes(needs);
    }

    void draw() {
        canvas_.fill(kPaper);
        drawHeading();
        drawLegend();
        area_.top += units(kLine + 3);     // what stands above the axes
        area_.bottom -= units(2 * kLine);  // the time axis
        makeLanes();
        chooseScales();
        makeRoomForAxes();
        drawGrid();
        for (std::size_t i = 0; i < chart_.curves.size(); ++i)
            drawCurve(i);
        for (std::size_t i = 0; i < axes_.size(); ++i)
            drawAxis(i);
        for (std::size_t i = 0; i < switches_.size(); ++i)
            drawLaneMarks(i);
        drawTimeAxis();
    }

  private:
    [[nodiscard]] double units(double count) const { return canvas_.units(count); }

    // ---- Above the picture ----------------------------------------------------------------------

    void drawHeading() {
        canvas_.font(kTitleSize, Weight::bold);
        canvas_.text(chart_.title, area_.left, area_.top + units(kTitleSize - 3), kInk);
        area_.top += units(kTitleSize + 4);
        canvas_.font(kTextSize);
        canvas_.text(timeText(), area_.left, area_.top + units(kTextSize), kPale);
        area_.top += units(kLine + 3);
    }

    /// "2026-11-22 12:00:00 — 13:00:00, local time (UTC+3)"
    [[nodiscard]] std::string timeText() const {
        constexpr std::size_t kDate = 11;  // of "2026-11-22 12:00:00.000", with the blank
        constexpr std::size_t kSeconds = 19;
        const std::string begin = formatTime(chart_.from).substr(0, kSeconds);
        std::string end = formatTime(chart_.to).substr(0, kSeconds);
        if (end.substr(0, kDate) == begin.substr(0, kDate)) end.erase(0, kDate);
        return begin + " — " + end + ", " + kLocalTime.in(chart_.language) + " (" +
               timeZoneText(chart_.from, chart_.to) + ")";
    }

    /// The curves' samples and names, one after the other, in as many lines as they need.
    void drawLegend() {
        constexpr double kBetween = 26;
        double x = area_.left;
        for (std::size_t i = 0; i < chart_.curves.size(); ++i) {
            const ChartCurve& curve = chart_.curves[i];
            const std::string details = detailsOf(curve);
            canvas_.font(kTextSize, Weight::bold);
            const double name = canvas_.widthOf(curve.name);
            canvas_.font(kTextSize);
            const double width = units(kSample + kGap) + name + canvas_.widthOf(details);
            if (x > area_.left && x + width > area_.right) {
                x = area_.left;
                area_.top += units(kLine);
            }
            const double base = area_.top + units(kTextSize);
            drawSample(i, x, base - units(kTextSize * 0.35), kSample);
            canvas_.text(details, x + units(kSample + kGap) + name, base, kPale);
            canvas_.font(kTextSize, Weight::bold);
            canvas_.text(curve.name, x + units(kSample + kGap), base, kInk);
            x += width + units(kBetween);
        }
        area_.top += units(kLine);
    }

    /// ", Boiler 1, °C: 12.5 … 80", in a lighter type behind the name
    [[nodiscard]] std::string detailsOf(const ChartCurve& curve) const {
        std::string text = curve.group;
        if (!text.empty() && !curve.unit.empty()) text += ", ";
        text += curve.unit;
        if (!text.empty()) text += ": ";
        const auto range = rangeOf(curve.values);
        if (!range) return "  " + text + kNoValues.in(chart_.language);
        text += shortNumber(range->low);
        if (range->span() > 0) text += " … " + shortNumber(range->high);
        return "  " + text;
    }

    void drawSample(std::size_t curve, double x, double y, double lengthUnits) {
        canvas_.moveTo(x, y);
        canvas_.lineTo(x + units(lengthUnits), y);
        canvas_.stroke(kStyles[curve]);
    }

    // ---- Axes -----------------------------------------------------------------------------------

    /// Switches lie below the other curves, each in a lane of its own. The lanes fill the picture if there
    /// is nothing else.
    void makeLanes() {
        constexpr double kBesideOthers = 36;
        constexpr double kMostOfPicture = 0.5;
        bottom_ = area_.bottom;
        if (switches_.empty()) return;
        const auto count = static_cast<double>(switches_.size());
        lane_ = axes_.empty()
                    ? area_.height() / count
                    : std::min(units(kBesideOthers), area_.height() * kMostOfPicture / count);
        lanesTop_ = bottom_ - lane_ * count;
        area_.bottom = axes_.empty() ? area_.top : lanesTop_ - units(kTextSize);
    }

    void chooseScales() {
        std::vector<Range> ranges;
        for (const Axis& axis : axes_)
            ranges.push_back(axis.range);
        scales_ = valueScales(ranges, static_cast<int>(area_.height() / units(kValueTickRoom)));
    }

    static bool isLeft(std::size_t axis) { return axis % 2 == 0; }

    /// Axes stand on the left and on the right by turns, the first ones next to the picture.
    void makeRoomForAxes() {
        canvas_.font(kTextSize);
        double left = 0;
        double right = 0;
        for (std::size_t i = 0; i < axes_.size(); ++i) {
            double width = 0;
            for (int tick = 0; tick <= scales_[i].intervals; ++tick)
                width = std::max(width, canvas_.widthOf(tickText(scales_[i], tick)));
            width = std::max(width + units(kTick), headWidth(axes_[i])) + units(2 * kGap);
            double& side = isLeft(i) ? left : right;
            axisOffsets_.push_back(side);
            side += width;
        }
        constexpr double kHalfTimeText = 24;  // beyond the picture's ends
        area_.left += std::max(left, units(kHalfTimeText));
        area_.right -= std::max(right, units(kHalfTimeText));
    }

    /// Of what stands above an axis: samples of its curves, and the unit.
    [[nodiscard]] double headWidth(const Axis& axis) const {
        const double samples =
            axes_.size() > 1 ? units(kAxisSample + 5) * static_cast<double>(axis.curves.size()) : 0;
        return samples + canvas_.widthOf(axis.unit);
    }

    [[nodiscard]] double axisPlace(std::size_t i) const {
        return isLeft(i) ? area_.left - axisOffsets_[i] : area_.right + axisOffsets_[i];
    }

    /// An axis has the colour of its curve, or, if it has several, samples of them above it.
    void drawAxis(std::size_t i) {
        const Axis& axis = axes_[i];
        const bool own = axis.curves.size() == 1 && axes_.size() > 1;
        const Colour ink = own ? kStyles[axis.curves.front()].colour : kInk;
        const double x = axisPlace(i);
        const double outward = isLeft(i) ? -1 : 1;
        const Anchor anchor = isLeft(i) ? Anchor::right : Anchor::left;
        canvas_.line(x, area_.top, x, area_.bottom, ink);
        canvas_.font(kTextSize);
        for (int tick = 0; tick <= scales_[i].intervals; ++tick) {
            const double y = heightOf(i, scales_[i].at(tick));
            canvas_.line(x, y, x + outward * units(kTick), y, ink);
            canvas_.text(tickText(scales_[i], tick), x + outward * units(kTick + 3),
                         y + units(kTextSize * 0.36), ink, anchor);
        }
        const double base = area_.top - units(10);
        double place = x;
        for (std::size_t k = 0; k < axis.curves.size() && axes_.size() > 1; ++k) {
            const double begin = isLeft(i) ? place - units(kAxisSample) : place;
            drawSample(axis.curves[k], begin, base - units(kTextSize * 0.35), kAxisSample);
            place += outward * units(kAxisSample + 5);
        }
        canvas_.text(axis.unit, place, base, ink, anchor);
    }

    void drawGrid() {
        if (!axes_.empty()) {
            for (int tick = 0; tick <= scales_.front().intervals; ++tick) {
                const double y = heightOf(0, scales_.front().at(tick));
                canvas_.line(area_.left, y, area_.right, y, kGrid);
            }
        }
        const auto most = static_cast<int>(area_.width() / units(kTimeTickRoom));
        ticks_ = timeTicks(chart_.from, chart_.to, std::max(most, 2));
        for (const TimeTick& tick : ticks_) {
            const double x = placeOf(tick.time);
            canvas_.line(x, area_.top, x, bottom_, tick.newDate ? kNewDate : kGrid);
        }
    }

    /// "1" and "0" beside a switch's lane.
    void drawLaneMarks(std::size_t lane) {
        canvas_.font(kTextSize);
        for (const int value : {0, 1}) {
            const double y = laneHeight(lane, value);
            canvas_.line(area_.left - units(kTick), y, area_.left, y, kPale);
            canvas_.text(std::to_string(value), area_.left - units(kTick + 3),
                         y + units(kTextSize * 0.36), kStyles[switches_[lane]].colour,
                         Anchor::right);
        }
    }

    void drawTimeAxis() {
        if (!axes_.empty()) canvas_.line(area_.left, area_.bottom, area_.right, area_.bottom, kInk);
        canvas_.line(area_.left, bottom_, area_.right, bottom_, kInk);
        for (const TimeTick& tick : ticks_) {
            const double x = placeOf(tick.time);
            canvas_.line(x, bottom_, x, bottom_ + units(kTick), kInk);
            const double base = bottom_ + units(kTick + kTextSize + 2);
            canvas_.font(kTextSize);
            canvas_.text(tick.text, x, base, kInk, Anchor::middle);
            canvas_.font(kTextSize, Weight::bold);
            canvas_.text(tick.date, x, base + units(kLine - 3), kInk, Anchor::middle);
        }
    }

    // ---- Curves ---------------------------------------------------------------------------------

    [[nodiscard]] double placeOf(UA_DateTime time) const {
        return area_.left + area_.width() * static_cast<double>(time - chart_.from) /
                                static_cast<double>(chart_.to - chart_.from);
    }

    [[nodiscard]] double heightOf(std::size_t axis, double value) const {
        const ValueScale& scale = scales_[axis];
        return area_.bottom - area_.height() * ((value - scale.low) / scale.step / scale.intervals);
    }

    [[nodiscard]] double laneHeight(std::size_t lane, double value) const {
        constexpr double kUsed = 0.6;
        const double base = lanesTop_ + lane_ * (static_cast<double>(lane) + 0.5 + kUsed / 2);
        return base - lane_ * kUsed * value;
    }

    using Height = std::function<double(double value)>;

    /// Where a curve's values lie; empty for one without values.
    [[nodiscard]] Height heightsOf(std::size_t curve) const {
        for (std::size_t axis = 0; axis < axes_.size(); ++axis) {
            const auto& curves = axes_[axis].curves;
            if (std::find(curves.begin(), curves.end(), curve) == curves.end()) continue;
            return [this, axis](double value) { return heightOf(axis, value); };
        }
        const auto lane = std::find(switches_.begin(), switches_.end(), curve) - switches_.begin();
        if (static_cast<std::size_t>(lane) == switches_.size()) return {};
        return [this, lane](double value) {
            return laneHeight(static_cast<std::size_t>(lane), value);
        };
    }

    void drawCurve(std::size_t i) {
        const Height height = heightsOf(i);
        if (!height) return;
        const ChartCurve& curve = chart_.curves[i];
        const double edge = units(2);  // half of a line that runs on the edge is not cut off
        canvas_.clip(area_.left - edge, area_.top - edge, area_.right + edge, bottom_ + edge);
        tracePath(curveColumns(curve.values, chart_.from, chart_.to,
                               static_cast<std::size_t>(std::max(area_.width(), 1.0))),
                  height, isSwitch(curve.values));
        canvas_.stroke(kStyles[i]);
        for (const HistoryValue* value : alone_)
            canvas_.dot(placeOf(value->time), height(value->number), kStyles[i].colour);
        canvas_.unclip();
    }

    /// @param steps  the curve keeps a value until the next one instead of sloping to it
    void tracePath(const std::vector<CurveColumn>& columns, const Height& height, bool steps) {
        alone_.clear();
        const HistoryValue* before = nullptr;
        const HistoryValue* start = nullptr;  // of the piece, as long as it has only one value
        const auto add = [&](const HistoryValue* value, bool joined) {
            if (value == before) return;
            const double x = placeOf(value->time);
            if (joined) {
                if (steps) canvas_.lineTo(x, height(before->number));
                canvas_.lineTo(x, height(value->number));
            } else {
                if (start != nullptr) alone_.push_back(start);
                canvas_.moveTo(x, height(value->number));
            }
            start = joined ? nullptr : value;
            before = value;
        };
        for (const CurveColumn& column : columns) {
            if (column.empty()) continue;
            add(column.first, column.joined);
            add(std::min(column.lowest, column.highest), true);  // the earlier one
            add(std::max(column.lowest, column.highest), true);
            add(column.last, true);
        }
        if (start != nullptr) alone_.push_back(start);
    }

    const Chart& chart_;
    Canvas& canvas_;
    Rectangle area_;  // what is left; in the end the picture of the curves
    double lanesTop_ = 0;
    double bottom_ = 0;                  // of the lanes below it
    double lane_ = 0;                    // height
    std::vector<std::size_t> switches_;  // curves that have lanes
    std::vector<Axis> axes_;
    std::vector<ValueScale> scales_;
    std::vector<double> axisOffsets_;  // from the picture's edge
    std::vector<TimeTick> ticks_;
    std::vector<const HistoryValue*> alone_;  // values without neighbours, drawn as dots
};

}  // namespace

std::string drawChart(const Chart& chart, PictureFormat format, PictureSize size,
                      std::string& picture) {
    Canvas canvas(format, size);
    ChartDrawing(chart, canvas, size).draw();
    return canvas.finish(picture);
}

}  // namespace tools
