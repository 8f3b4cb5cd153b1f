#include "host/plot/Render.h"

#include <cairo-pdf.h>
#include <cairo.h>
#include <fmt/core.h>
#include <librsvg/rsvg.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "host/base/Failure.h"

namespace {

constexpr double pdfDpi = 72;
constexpr double metresPerInch = 0.0254;

template <auto release>
struct Release {
  template <class Object>
  void operator()(Object* object) const
  {
    release(object);
  }
};
using Handle = std::unique_ptr<RsvgHandle, Release<g_object_unref>>;
using Surface = std::unique_ptr<cairo_surface_t, Release<cairo_surface_destroy>>;
using Context = std::unique_ptr<cairo_t, Release<cairo_destroy>>;

[[noreturn]] void fail(std::string_view reason)
{
  throw Failure(ExitCode::output, fmt::format("the picture can't be rendered: {}.", reason),
                "Write it as SVG, and convert it with another program.");
}

void check(cairo_status_t status)
{
  if (status == CAIRO_STATUS_NO_MEMORY) throw outOfMemory();
  if (status != CAIRO_STATUS_SUCCESS) fail(cairo_status_to_string(status));
}

cairo_status_t append(void* target, const unsigned char* bytes, unsigned size)
{
  static_cast<std::string*>(target)->append(reinterpret_cast<const char*>(bytes), size);
  return CAIRO_STATUS_SUCCESS;
}

// An SVG as it is drawn.
class Drawing {
 public:
  explicit Drawing(const std::string& svg)
  {
    GError* error = nullptr;
    // Large: the limit on the size of an element's text would be too low for the image of a heat map.
    GInputStream* stream =
        g_memory_input_stream_new_from_data(svg.data(), static_cast<gssize>(svg.size()), nullptr);
    handle_.reset(
        rsvg_handle_new_from_stream_sync(stream, nullptr, RSVG_HANDLE_FLAG_UNLIMITED, nullptr, &error));
    g_object_unref(stream);
    check(error);
    rsvg_handle_set_dpi(handle_.get(), svgDpi);
    if (!rsvg_handle_get_intrinsic_size_in_pixels(handle_.get(), &width_, &height_)) fail("it has no size");
  }

  double width() const { return width_; }
  double height() const { return height_; }

  void draw(cairo_surface_t* surface, double scale) const
  {
    const Context context(cairo_create(surface));
    // Also behind pixels that the picture covers only in part.
    cairo_set_source_rgb(context.get(), 1, 1, 1);
    cairo_paint(context.get());
    cairo_scale(context.get(), scale, scale);
    const RsvgRectangle place{0, 0, width_, height_};
    GError* error = nullptr;
    rsvg_handle_render_document(handle_.get(), context.get(), &place, &error);
    check(error);
    ::check(cairo_status(context.get()));
  }

 private:
  static void check(GError* error)
  {
    if (error == nullptr) return;
    const std::string reason = error->message;
    g_error_free(error);
    fail(reason);
  }

  Handle handle_;
  double width_ = 0;
  double height_ = 0;
};

std::string bigEndian(std::uint32_t number)
{
  return {static_cast<char>(number >> 24), static_cast<char>(number >> 16), static_cast<char>(number >> 8),
          static_cast<char>(number)};
}

// Of a PNG chunk.
std::uint32_t checksum(std::string_view bytes)
{
  std::uint32_t remainder = 0xFFFF'FFFF;
  for (const char byte : bytes) {
    remainder ^= static_cast<std::uint8_t>(byte);
    for (int bit = 0; bit < 8; ++bit) {
      remainder = remainder >> 1 ^ (remainder & 1 ? 0xEDB8'8320 : 0);
    }
  }
  return ~remainder;
}

// Cairo does not write the resolution, without which a program may print the picture in any size.
void addResolution(std::string& png, double dpi)
{
  constexpr std::size_t endOfHeader = 33;  // of the file and of the picture
  const std::string perMetre = bigEndian(static_cast<std::uint32_t>(std::lround(dpi / metresPerInch)));
  const std::string content = "pHYs" + perMetre + perMetre + '\1';
  const std::uint32_t size = 9;
  png.insert(endOfHeader, bigEndian(size) + content + bigEndian(checksum(content)));
}

}  // namespace

std::string renderPng(const std::string& svg, double dpi)
{
  constexpr double maxLength = 32'000;  // of a side; cairo allows a little more
  constexpr double maxPixels = 250e6;   // 1 GB
  const Drawing drawing(svg);
  const double scale = dpi / svgDpi;
  const double width = std::ceil(drawing.width() * scale);
  const double height = std::ceil(drawing.height() * scale);
  if (std::max(width, height) > maxLength || width * height > maxPixels) {
    throw Failure(ExitCode::usage,
                  fmt::format("the picture is too large for PNG: {:.0f} x {:.0f} pixels.", width, height),
                  "Use a lower --dpi or --width, or write PDF.");
  }
  const Surface surface(
      cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(width), static_cast<int>(height)));
  drawing.draw(surface.get(), scale);
  std::string png;
  check(cairo_surface_write_to_png_stream(surface.get(), append, &png));
  addResolution(png, dpi);
  return png;
}

std::string renderPdf(const std::string& svg)
{
  const Drawing drawing(svg);
  const double scale = pdfDpi / svgDpi;
  std::string pdf;
  const Surface surface(
      cairo_pdf_surface_create_for_stream(append, &pdf, drawing.width() * scale, drawing.height() * scale));
  drawing.draw(surface.get(), scale);
  cairo_surface_finish(surface.get());
  check(cairo_surface_status(surface.get()));
  return pdf;
}
