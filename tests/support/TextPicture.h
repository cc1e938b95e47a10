#pragma once

#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <string>

#include "ocr/Contrast.h"
#include "zqlogging/Pixels.h"

namespace zqlogging::test {

struct Rgb {
  double red = 0, green = 0, blue = 0;
};
constexpr Rgb kWhite = {1, 1, 1}, kBlack = {0, 0, 0};

struct TextStyle {
  const char* font = "DejaVu Sans";
  double size = 13;  ///< pixels per em
  Rgb colour = kBlack;
  cairo_antialias_t smoothing = CAIRO_ANTIALIAS_GRAY;
  int spacing = 0;  ///< pixels between letters, beyond what the font has
};

/// A picture that text is drawn into the way applications do. Origin top-left.
class TextPicture {
 public:
  TextPicture(int width, int height, Rgb surface = kWhite)
      : surface_(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height), cairo_surface_destroy),
        context_(cairo_create(surface_.get()), cairo_destroy) {
    fill(0, 0, width, height, surface);
  }

  void fill(double x, double y, double width, double height, Rgb colour) {
    cairo_set_source_rgb(context_.get(), colour.red, colour.green, colour.blue);
    cairo_rectangle(context_.get(), x, y, width, height);
    cairo_fill(context_.get());
  }
  void frame(double x, double y, double width, double height, Rgb colour) {
    cairo_set_source_rgb(context_.get(), colour.red, colour.green, colour.blue);
    cairo_set_line_width(context_.get(), 1);
    cairo_rectangle(context_.get(), x + 0.5, y + 0.5, width - 1, height - 1);
    cairo_stroke(context_.get());
  }
  void disc(double x, double y, double radius, Rgb colour) {
    cairo_set_source_rgb(context_.get(), colour.red, colour.green, colour.blue);
    cairo_arc(context_.get(), x, y, radius, 0, 2 * M_PI);
    cairo_fill(context_.get());
  }

  /// Draws a line of text whose layout begins at (x, y); answers the box of its ink.
  ocr::PixelBox write(const std::string& text, int x, int y, const TextStyle& style = {}) {
    const std::shared_ptr<PangoLayout> layout(pango_cairo_create_layout(context_.get()), g_object_unref);
    const std::shared_ptr<PangoFontDescription> font(pango_font_description_from_string(style.font),
                                                     pango_font_description_free);
    pango_font_description_set_absolute_size(font.get(), style.size * PANGO_SCALE);
    pango_layout_set_font_description(layout.get(), font.get());
    pango_layout_set_text(layout.get(), text.c_str(), -1);
    PangoAttrList* attributes = pango_attr_list_new();
    pango_attr_list_insert(attributes, pango_attr_letter_spacing_new(style.spacing * PANGO_SCALE));
    pango_layout_set_attributes(layout.get(), attributes);
    pango_attr_list_unref(attributes);
    const std::shared_ptr<cairo_font_options_t> options(cairo_font_options_create(), cairo_font_options_destroy);
    cairo_font_options_set_antialias(options.get(), style.smoothing);
    cairo_font_options_set_hint_style(options.get(), CAIRO_HINT_STYLE_SLIGHT);
    pango_cairo_context_set_font_options(pango_layout_get_context(layout.get()), options.get());
    pango_layout_context_changed(layout.get());
    cairo_set_source_rgb(context_.get(), style.colour.red, style.colour.green, style.colour.blue);
    cairo_move_to(context_.get(), x, y);
    pango_cairo_show_layout(context_.get(), layout.get());
    PangoRectangle ink;
    pango_layout_get_pixel_extents(layout.get(), &ink, nullptr);
    return {x + ink.x, y + ink.y, ink.width, ink.height};
  }

  /// The picture's own pixels, which live as long as somebody holds them.
  [[nodiscard]] PixelBuffer pixels() const {
    cairo_surface_flush(surface_.get());
    const std::uint8_t* first = cairo_image_surface_get_data(surface_.get());
    return {{surface_, first}, width(), height(), static_cast<std::size_t>(stride())};
  }
  void save(const std::string& path) const { cairo_surface_write_to_png(surface_.get(), path.c_str()); }

  [[nodiscard]] ocr::Plane<ocr::Colour> colours() const {
    const PixelBuffer buffer = pixels();
    ocr::Plane<ocr::Colour> plane(width(), height());
    for (int y = 0; y < height(); ++y) {
      for (int x = 0; x < width(); ++x) {
        const std::uint8_t* pixel = buffer.pixels.get() + static_cast<std::size_t>(y) * buffer.bytesPerRow + 4 * x;
        plane.at(x, y) = {pixel[0], pixel[1], pixel[2]};
      }
    }
    return plane;
  }

 private:
  [[nodiscard]] int width() const { return cairo_image_surface_get_width(surface_.get()); }
  [[nodiscard]] int height() const { return cairo_image_surface_get_height(surface_.get()); }
  [[nodiscard]] int stride() const { return cairo_image_surface_get_stride(surface_.get()); }

  std::shared_ptr<cairo_surface_t> surface_;
  std::shared_ptr<cairo_t> context_;
};

}  // namespace zqlogging::test
