#include "player/drawing/Pictures.h"

#include "player/scene/Diagnostics.h"

#include <algorithm>
#include <cairo.h>
#include <dlfcn.h>
#include <librsvg/rsvg.h>
#include <memory>
#include <ostream>
#include <sstream>

namespace Zelvan::play {

namespace {

[[noreturn]] void fail(std::string const& why)
{
    throw Failure(exitMachine, "error: the picture cannot be turned into pixels: " + why);
}

/// librsvg and the cairo it draws with, loaded when the first picture asks: linked, they would triple the time in which
/// every command starts.
class Renderer {
public:
    Renderer() : _library(::dlopen("librsvg-2.so.2", RTLD_NOW | RTLD_LOCAL))
    {
        if (_library == nullptr)
            fail(std::string(::dlerror()) + " (Debian has it in the package librsvg2-2)");
    }
    /// By the name and the type that the headers give it.
    template <class Function>
    Function* function(char const* name) const
    {
        void* const found = ::dlsym(_library, name);
        if (found == nullptr)
            fail(::dlerror());
        return reinterpret_cast<Function*>(found);
    }

private:
    void* const _library; // never closed: GLib does not stand it
};

#define RENDERER_FUNCTION(name) auto* const name##_ = renderer.function<decltype(::name)>(#name)

} // namespace

void writePng(std::ostream& out, std::vector<Curve> const& curves, PictureOptions const& options)
{
    static Renderer const renderer;
    RENDERER_FUNCTION(rsvg_handle_new_from_data);
    RENDERER_FUNCTION(rsvg_handle_get_intrinsic_size_in_pixels);
    RENDERER_FUNCTION(rsvg_handle_render_document);
    RENDERER_FUNCTION(g_object_unref);
    RENDERER_FUNCTION(g_error_free);
    RENDERER_FUNCTION(cairo_image_surface_create);
    RENDERER_FUNCTION(cairo_surface_status);
    RENDERER_FUNCTION(cairo_surface_write_to_png_stream);
    RENDERER_FUNCTION(cairo_surface_destroy);
    RENDERER_FUNCTION(cairo_create);
    RENDERER_FUNCTION(cairo_status);
    RENDERER_FUNCTION(cairo_status_to_string);
    RENDERER_FUNCTION(cairo_destroy);

    GError* error = nullptr;
    auto const failWithError = [&] {
        std::string const why = error ? error->message : "no reason given";
        if (error != nullptr)
            g_error_free_(error);
        fail(why);
    };
    auto const require = [&](cairo_status_t status) {
        if (status != CAIRO_STATUS_SUCCESS)
            fail(cairo_status_to_string_(status));
    };

    std::ostringstream text;
    text.exceptions(std::ios::badbit); // lack of memory is not half a picture
    writeSvg(text, curves, options);
    std::string const svg = text.str();
    std::unique_ptr<RsvgHandle, decltype(g_object_unref_)> const handle(
        rsvg_handle_new_from_data_(reinterpret_cast<guint8 const*>(svg.data()), svg.size(), &error), g_object_unref_);
    if (handle == nullptr)
        failWithError();
    RsvgRectangle whole{};
    rsvg_handle_get_intrinsic_size_in_pixels_(handle.get(), &whole.width, &whole.height);
    // Two pixels for a unit, as sharp screens have; a surface has no more than 32767 of them.
    double const scale = std::min(2., 32000 / std::max(whole.width, whole.height));
    whole.width *= scale;
    whole.height *= scale;
    std::unique_ptr<cairo_surface_t, decltype(cairo_surface_destroy_)> const surface(
        cairo_image_surface_create_(CAIRO_FORMAT_RGB24, int(whole.width), int(whole.height)), cairo_surface_destroy_);
    require(cairo_surface_status_(surface.get()));
    {
        std::unique_ptr<cairo_t, decltype(cairo_destroy_)> const context(cairo_create_(surface.get()), cairo_destroy_);
        if (!rsvg_handle_render_document_(handle.get(), context.get(), &whole, &error))
            failWithError();
        require(cairo_status_(context.get()));
    }
    auto const append = [](void* to, unsigned char const* bytes, unsigned count) {
        static_cast<std::string*>(to)->append(reinterpret_cast<char const*>(bytes), count);
        return CAIRO_STATUS_SUCCESS;
    };
    std::string png; // exceptions of the stream must not pass through cairo
    require(cairo_surface_write_to_png_stream_(surface.get(), append, &png));
    out << png;
}

} // namespace Zelvan::play
