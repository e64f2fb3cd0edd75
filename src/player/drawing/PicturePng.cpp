#include "player/drawing/Pictures.h"

#include "player/scene/Diagnostics.h"

#include <algorithm>
#include <cairo.h>
#include <librsvg/rsvg.h>
#include <memory>
#include <ostream>
#include <sstream>

namespace Zelvan::play {

namespace {

struct Release {
    void operator()(RsvgHandle* handle) const { g_object_unref(handle); }
    void operator()(GError* error) const { g_error_free(error); }
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_t* context) const { cairo_destroy(context); }
};

[[noreturn]] void fail(GError* error)
{
    std::unique_ptr<GError, Release> const held(error);
    throw Failure(exitMachine, "error: the picture cannot be turned into pixels: "
                                   + std::string(error ? error->message : "no reason given"));
}

void require(cairo_status_t status)
{
    if (status != CAIRO_STATUS_SUCCESS)
        throw Failure(exitMachine, std::string("error: the picture cannot be turned into pixels: ") + cairo_status_to_string(status));
}

} // namespace

void writePng(std::ostream& out, std::vector<Curve> const& curves, PictureOptions const& options)
{
    std::ostringstream text;
    writeSvg(text, curves, options);
    std::string const svg = text.str();
    GError* error = nullptr;
    std::unique_ptr<RsvgHandle, Release> const handle(
        rsvg_handle_new_from_data(reinterpret_cast<guint8 const*>(svg.data()), svg.size(), &error));
    if (handle == nullptr)
        fail(error);
    double width = 0, height = 0;
    rsvg_handle_get_intrinsic_size_in_pixels(handle.get(), &width, &height);
    // Two pixels for a unit, as sharp screens have; a surface has no more than 32767 of them.
    double const scale = std::min(2., 32000 / std::max({width, height, 1.}));
    RsvgRectangle const whole{0, 0, width * scale, height * scale};
    std::unique_ptr<cairo_surface_t, Release> const surface(
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, int(whole.width), int(whole.height)));
    require(cairo_surface_status(surface.get()));
    {
        std::unique_ptr<cairo_t, Release> const context(cairo_create(surface.get()));
        if (!rsvg_handle_render_document(handle.get(), context.get(), &whole, &error))
            fail(error);
        require(cairo_status(context.get()));
    }
    auto const append = [](void* to, unsigned char const* bytes, unsigned count) {
        static_cast<std::string*>(to)->append(reinterpret_cast<char const*>(bytes), count);
        return CAIRO_STATUS_SUCCESS;
    };
    std::string png; // exceptions of the stream must not pass through cairo
    require(cairo_surface_write_to_png_stream(surface.get(), append, &png));
    out << png;
}

} // namespace Zelvan::play
