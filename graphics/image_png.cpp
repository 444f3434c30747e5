// IMAGE and PNG files, through libpng.
//
// libpng reports errors by longjmp. Every libpng call that can fail runs inside one small function
// per direction (run_read, run_write) that holds the setjmp and keeps all its state in a plain
// record, so a jump never crosses a C++ object with a destructor; the caller frees what the record
// holds whichever way the run ended. Sides and pixel counts are checked before the image is sized.
//
// [SECTION] Device callbacks
// [SECTION] Reading
// [SECTION] Writing
#include "graphics/image.h"

#include <png.h>

#include <climits>
#include <csetjmp>
#include <cstdio>
#include <new>

#include "io/data_file.h"
#include "base/error_report.h"
#include "io/folder.h"
#include "graphics/image_files.h"

namespace {

// The web address in the tEXt entry of every PNG we write.
const char* const PNG_WEBSITE = "https://www.orlu.example/";
// The most bytes deflate can turn one compressed byte into; bounds what a short file can declare.
constexpr INT_S64 DEFLATE_MAX_RATIO = 1032;

struct PNG_STATE {
    DATA_DEVICE* device { nullptr };
    png_structp png { nullptr };
    png_infop info { nullptr };
    png_bytep* rows { nullptr };
    // Set when our own check refused the picture (the last-error slot already tells why).
    bool refused { false };
    char message[160] {};
};

// ---------------------------------------------------------------------------------------------
// [SECTION] Device callbacks
// ---------------------------------------------------------------------------------------------

void png_failure(png_structp png, png_const_charp message)
{
    PNG_STATE* state = static_cast<PNG_STATE*>(png_get_error_ptr(png));
    snprintf(state->message, sizeof state->message, "%s", message ? message : "libpng error");
    png_longjmp(png, 1);
}

// Warnings are about things libpng has already worked around; nobody is there to read them.
void png_warning_ignored(png_structp, png_const_charp) {}

void png_device_read(png_structp png, png_bytep data, size_t length)
{
    PNG_STATE* state = static_cast<PNG_STATE*>(png_get_io_ptr(png));
    while (length > 0) {
        INT_S32 piece = length > static_cast<size_t>(INT_MAX) ? INT_MAX : static_cast<INT_S32>(length);
        INT_S32 got = state->device->read(data, piece);
        state->device->failed = got != piece;
        if (got != piece)
            png_error(png, "file is truncated");
        data += piece;
        length -= static_cast<size_t>(piece);
    }
}

void png_device_write(png_structp png, png_bytep data, size_t length)
{
    PNG_STATE* state = static_cast<PNG_STATE*>(png_get_io_ptr(png));
    while (length > 0) {
        INT_S32 piece = length > static_cast<size_t>(INT_MAX) ? INT_MAX : static_cast<INT_S32>(length);
        INT_S32 put = state->device->write(data, piece);
        state->device->failed = put != piece;
        if (put != piece)
            png_error(png, "device refused the bytes");
        data += piece;
        length -= static_cast<size_t>(piece);
    }
}

void png_device_flush(png_structp) {}

// ---------------------------------------------------------------------------------------------
// [SECTION] Reading
// ---------------------------------------------------------------------------------------------

// libpng's side of a read, after the signature. False on any failure; the record says why.
bool run_read(PNG_STATE* state, IMAGE* image)
{
    if (setjmp(png_jmpbuf(state->png)))
        return false;

    png_structp png = state->png;
    png_infop info = state->info;
    png_set_read_fn(png, state, png_device_read);
    png_set_sig_bytes(png, 4);
    png_set_user_limits(png, IMAGE_MAX_SIDE, IMAGE_MAX_SIDE);
    png_read_info(png, info);

    png_uint_32 file_width = 0;
    png_uint_32 file_height = 0;
    int depth = 0;
    int colour_type = 0;
    int interlace = 0;
    png_get_IHDR(png, info, &file_width, &file_height, &depth, &colour_type, &interlace, nullptr, nullptr);
    if (!image_size_acceptable(file_width, file_height, "PNG image")) {
        state->refused = true;
        return false;
    }
    // The image data cannot hold more than deflate's best ratio allows of what is left, so a
    // truncated file that claims a large picture is refused before the pixels are allocated.
    INT_S64 left = device_bytes_left(state->device);
    INT_S64 row_bytes = (static_cast<INT_S64>(file_width) * png_get_channels(png, info) * depth + 7) / 8 + 1;
    if (left >= 0 && row_bytes * file_height > (left + 64) * DEFLATE_MAX_RATIO) {
        state->refused = true;
        return set_last_error(ERROR_READ, "PNG image (file is shorter than its picture)");
    }

    png_set_strip_16(png);
    png_set_packing(png);
    // Palette and grey pictures are expanded to RGB, so every result has the same layout.
    if (colour_type == PNG_COLOR_TYPE_PALETTE)
        png_set_palette_to_rgb(png);
    if (colour_type == PNG_COLOR_TYPE_GRAY && depth < 8)
        png_set_expand_gray_1_2_4_to_8(png);
    if (png_get_valid(png, info, PNG_INFO_tRNS))
        png_set_tRNS_to_alpha(png);
    if (colour_type == PNG_COLOR_TYPE_GRAY || colour_type == PNG_COLOR_TYPE_GRAY_ALPHA)
        png_set_gray_to_rgb(png);

    // Files without gamma information are taken to be sRGB, like the files that say so.
    double file_gamma = 0.45455;
    double stored_gamma = 0;
    if (!png_get_valid(png, info, PNG_INFO_sRGB) && png_get_gAMA(png, info, &stored_gamma))
        file_gamma = stored_gamma;
    png_set_gamma(png, 2.2, file_gamma);

    png_set_filler(png, 0xFFFF, PNG_FILLER_AFTER);
    png_set_interlace_handling(png);
    png_read_update_info(png, info);
    // libpng writes whole rows straight into the pixels: they must be exactly R, G, B, A bytes.
    if (png_get_rowbytes(png, info) != static_cast<size_t>(file_width) * 4)
        return set_last_error(ERROR_READ, "PNG image (unexpected pixel layout)");

    image->set_size(static_cast<INT_S16>(file_width), static_cast<INT_S16>(file_height));
    if (file_width == 0 || file_height == 0)
        return true;
    state->rows = new (std::nothrow) png_bytep[file_height];
    if (!state->rows)
        return set_last_error(ERROR_READ, "PNG image (no memory for row pointers)");
    for (png_uint_32 y = 0; y < file_height; ++y)
        state->rows[y] = reinterpret_cast<png_bytep>(image->row(static_cast<INT_S32>(y)));
    png_read_image(png, state->rows);
    png_read_end(png, nullptr);
    return true;
}

} // namespace

bool IMAGE::load_png(DATA_DEVICE* device)
{
    if (!device)
        return set_last_error(ERROR_READ, "PNG image (no device)");
    png_byte signature[4];
    if (!device_read_bytes(device, signature, sizeof signature) || png_sig_cmp(signature, 0, sizeof signature) != 0)
        return set_last_error(ERROR_READ, "PNG image (no PNG signature)");

    PNG_STATE state;
    state.device = device;
    state.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &state, png_failure, png_warning_ignored);
    if (state.png)
        state.info = png_create_info_struct(state.png);
    if (!state.png || !state.info) {
        png_destroy_read_struct(state.png ? &state.png : nullptr, nullptr, nullptr);
        return set_last_error(ERROR_READ, "PNG image (no memory for the decoder)");
    }

    bool ok = run_read(&state, this);
    png_destroy_read_struct(&state.png, &state.info, nullptr);
    delete[] state.rows;
    if (!ok && !state.refused && state.message[0]) {
        char detail[200];
        snprintf(detail, sizeof detail, "PNG image (%s)", state.message);
        set_last_error(ERROR_READ, detail);
    }
    return ok;
}

bool IMAGE::load_png(const FOLDER& folder, const char* name)
{
    DATA_FILE* file = folder.open_data_file(name, FILE_READ, 0, false);
    if (!file)
        return set_last_error(ERROR_FILE_NOT_FOUND, name);
    bool ok = load_png(file);
    FOLDER::close_data_file(&file);
    return ok;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Writing
// ---------------------------------------------------------------------------------------------

namespace {

bool run_write(PNG_STATE* state, const IMAGE* image)
{
    if (setjmp(png_jmpbuf(state->png)))
        return false;

    png_structp png = state->png;
    png_infop info = state->info;
    png_set_write_fn(png, state, png_device_write, png_device_flush);
    png_set_IHDR(png, info, static_cast<png_uint_32>(image->width), static_cast<png_uint_32>(image->height), 8,
        PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_color_8 significant {};
    significant.red = significant.green = significant.blue = significant.alpha = 8;
    png_set_sBIT(png, info, &significant);

    png_text text[2] {};
    text[0].compression = PNG_TEXT_COMPRESSION_NONE;
    text[0].key = const_cast<png_charp>("Author");
    text[0].text = const_cast<png_charp>("Created by O.R.L.U. Ltd Platform Library");
    text[1].compression = PNG_TEXT_COMPRESSION_NONE;
    text[1].key = const_cast<png_charp>("Website");
    text[1].text = const_cast<png_charp>(PNG_WEBSITE);
    png_set_text(png, info, text, 2);

    png_write_info(png, info);
    state->rows = new (std::nothrow) png_bytep[image->height > 0 ? image->height : 1];
    if (!state->rows)
        return set_last_error(ERROR_WRITE, "PNG image (no memory for row pointers)");
    for (INT_S32 y = 0; y < image->height; ++y)
        state->rows[y] = reinterpret_cast<png_bytep>(image->row(y));
    png_write_image(png, state->rows);
    png_write_end(png, nullptr);
    return true;
}

} // namespace

bool IMAGE::save_png(DATA_DEVICE* device) const
{
    if (!device)
        return set_last_error(ERROR_WRITE, "PNG image (no device)");
    if (!pixels || width < 1 || height < 1)
        return set_last_error(ERROR_WRITE, "PNG image (the image is empty)");

    PNG_STATE state;
    state.device = device;
    state.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &state, png_failure, png_warning_ignored);
    if (state.png)
        state.info = png_create_info_struct(state.png);
    if (!state.png || !state.info) {
        png_destroy_write_struct(state.png ? &state.png : nullptr, nullptr);
        return set_last_error(ERROR_WRITE, "PNG image (no memory for the encoder)");
    }

    bool ok = run_write(&state, this);
    png_destroy_write_struct(&state.png, &state.info);
    delete[] state.rows;
    if (!ok && state.message[0]) {
        char detail[200];
        snprintf(detail, sizeof detail, "PNG image (%s)", state.message);
        set_last_error(ERROR_WRITE, detail);
    }
    return ok;
}
