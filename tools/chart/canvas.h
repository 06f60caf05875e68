#pragma once

#include <cairo.h>

#include <array>
#include <string>

#include "tools/chart/drawing.h"

/// The drawing library, as far as a chart needs it.
namespace tools {

struct Colour {
    double red, green, blue;  ///< 0 to 1
};

constexpr Colour colour(unsigned rgb) {
    return {((rgb >> 16) & 0xFFU) / 255.0, ((rgb >> 8) & 0xFFU) / 255.0, (rgb & 0xFFU) / 255.0};
}

struct LineStyle {
    Colour colour;
    std::array<double, 6> dashes;  ///< on, off ..., in units; a zero ends them
};

enum class Anchor { left, middle, right };
enum class Weight { normal, bold };

/// A picture in memory. Coordinates are pixels from the upper left corner; sizes are given in units, which
/// grow with the picture: a unit is a pixel in one of 1200 x 600.
class Canvas {
  public:
    Canvas(PictureFormat format, PictureSize size);
    ~Canvas();
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    [[nodiscard]] double units(double count) const { return count * unit_; }

    void fill(Colour colour);
    void line(double x1, double y1, double x2, double y2, Colour colour);
    void dot(double x, double y, Colour colour);

    // A curve: its points one by one, then the stroke.
    void moveTo(double x, double y);
    void lineTo(double x, double y);
    void stroke(const LineStyle& style);

    /// Until `unclip` nothing is drawn outside of the rectangle.
    void clip(double left, double top, double right, double bottom);
    void unclip();

    void font(double sizeUnits, Weight weight = Weight::normal);
    [[nodiscard]] double widthOf(const std::string& text) const;
    /// @param y  of the base line
    void text(const std::string& text, double x, double y, Colour colour,
              Anchor anchor = Anchor::left);

    /// Ends the drawing; `picture` receives the file's contents.
    /// @return empty, or why it failed, in the drawing library's words
    [[nodiscard]] std::string finish(std::string& picture);

  private:
    void use(Colour colour);

    PictureFormat format_;
    double unit_;
    std::string contents_;
    cairo_surface_t* surface_;
    cairo_t* context_;
};

}  // namespace tools
