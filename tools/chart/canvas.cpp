#include "tools/chart/canvas.h"

#include <cairo-svg.h>

#include <algorithm>
#include <cmath>

namespace tools {

namespace {

/// Called by the drawing library with the next bytes of a file.
cairo_status_t append(void* contents, const unsigned char* bytes, unsigned length) noexcept {
    static_cast<std::string*>(contents)->append(reinterpret_cast<const char*>(bytes), length);
    return CAIRO_STATUS_SUCCESS;
}

/// Half pixels are fine enough, and their short numbers keep a drawing's file small.
double rounded(double pixels) {
    return std::round(pixels * 2) / 2;
}

}  // namespace

Canvas::Canvas(PictureFormat format, PictureSize size)
    : format_(format), unit_(std::max(0.75, std::min(size.width / 1200.0, size.height / 600.0))) {
    if (format == PictureFormat::svg) {
        surface_ = cairo_svg_surface_create_for_stream(append, &contents_, size.width, size.height);
        cairo_svg_surface_set_document_unit(surface_, CAIRO_SVG_UNIT_PX);
    } else {
        surface_ = cairo_image_surface_create(CAIRO_FORMAT_RGB24, size.width, size.height);
    }
    context_ = cairo_create(surface_);
}

Canvas::~Canvas() {
    cairo_destroy(context_);
    cairo_surface_destroy(surface_);
}

void Canvas::use(Colour colour) {
    cairo_set_source_rgb(context_, colour.red, colour.green, colour.blue);
}

void Canvas::fill(Colour colour) {
    use(colour);
    cairo_paint(context_);
}

void Canvas::line(double x1, double y1, double x2, double y2, Colour colour) {
    use(colour);
    cairo_set_line_width(context_, std::max(1.0, std::round(unit_)));
    // In the middle of a pixel, so that a thin line does not blur over two.
    cairo_move_to(context_, std::floor(x1) + 0.5, std::floor(y1) + 0.5);
    cairo_line_to(context_, std::floor(x2) + 0.5, std::floor(y2) + 0.5);
    cairo_stroke(context_);
}

void Canvas::dot(double x, double y, Colour colour) {
    constexpr double kRadius = 2;
    constexpr double kFullTurn = 6.283185307179586;
    use(colour);
    cairo_new_path(context_);
    cairo_arc(context_, x, y, units(kRadius), 0, kFullTurn);
    cairo_fill(context_);
}

void Canvas::moveTo(double x, double y) {
    cairo_move_to(context_, rounded(x), rounded(y));
}

void Canvas::lineTo(double x, double y) {
    cairo_line_to(context_, rounded(x), rounded(y));
}

void Canvas::stroke(const LineStyle& style) {
    constexpr double kWidth = 1.7;
    const auto* end = std::find(style.dashes.begin(), style.dashes.end(), 0.0);
    std::array<double, std::tuple_size_v<decltype(style.dashes)>> dashes{};
    std::transform(style.dashes.begin(), end, dashes.begin(),
                   [this](double length) { return units(length); });
    use(style.colour);
    cairo_set_line_width(context_, units(kWidth));
    cairo_set_line_join(context_, CAIRO_LINE_JOIN_ROUND);
    cairo_set_dash(context_, dashes.data(), static_cast<int>(end - style.dashes.begin()), 0);
    cairo_stroke(context_);
    cairo_set_dash(context_, nullptr, 0, 0);
}

void Canvas::clip(double left, double top, double right, double bottom) {
    cairo_save(context_);
    cairo_rectangle(context_, left, top, right - left, bottom - top);
    cairo_clip(context_);
}

void Canvas::unclip() {
    cairo_restore(context_);
}

void Canvas::font(double sizeUnits, Weight weight) {
    cairo_select_font_face(
        context_, "sans-serif", CAIRO_FONT_SLANT_NORMAL,
        weight == Weight::bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(context_, units(sizeUnits));
}

double Canvas::widthOf(const std::string& text) const {
    cairo_text_extents_t extents{};
    cairo_text_extents(context_, text.c_str(), &extents);
    return extents.x_advance;
}

void Canvas::text(const std::string& text, double x, double y, Colour colour, Anchor anchor) {
    use(colour);
    if (anchor == Anchor::middle) x -= widthOf(text) / 2;
    if (anchor == Anchor::right) x -= widthOf(text);
    cairo_move_to(context_, x, y);
    cairo_show_text(context_, text.c_str());
}

std::string Canvas::finish(std::string& picture) {
    cairo_status_t status = cairo_status(context_);
    if (status == CAIRO_STATUS_SUCCESS && format_ == PictureFormat::png) {
        status = cairo_surface_write_to_png_stream(surface_, append, &contents_);
    }
    cairo_surface_finish(surface_);  // of an SVG file this writes the contents
    if (status == CAIRO_STATUS_SUCCESS) status = cairo_surface_status(surface_);
    if (status != CAIRO_STATUS_SUCCESS) return cairo_status_to_string(status);
    picture = std::move(contents_);
    return {};
}

}  // namespace tools
