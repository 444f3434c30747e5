// IMAGE and files: the general loader that finds a picture by name, the raw file, compiled-in
// image arrays and their export as source text. The format readers live beside this file
// (image_png.cpp, image_jpeg.cpp, image_pcx.cpp); the raw stream form is in image.cpp.
//
// [SECTION] Limits
// [SECTION] The general loader
// [SECTION] Raw files
// [SECTION] Compiled-in arrays
#include "graphics/image.h"

#include <cstdio>
#include <cstring>

#include "io/data_file.h"
#include "base/error_report.h"
#include "io/folder.h"
#include "graphics/image_files.h"
#include "io/text_file.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Limits
// ---------------------------------------------------------------------------------------------

namespace {
INT_S64 pixel_limit = IMAGE_DEFAULT_PIXEL_LIMIT;
} // namespace

INT_S64 image_pixel_limit() { return pixel_limit; }

void set_image_pixel_limit(INT_S64 pixels) { pixel_limit = pixels < 1 ? IMAGE_DEFAULT_PIXEL_LIMIT : pixels; }

bool image_size_acceptable(INT_S64 width, INT_S64 height, const char* what)
{
    char detail[160];
    if (width < 0 || height < 0 || width > IMAGE_MAX_SIDE || height > IMAGE_MAX_SIDE) {
        snprintf(detail, sizeof detail, "%s (size %lld by %lld: a side outside 0 to %d)", what,
            static_cast<long long>(width), static_cast<long long>(height), static_cast<int>(IMAGE_MAX_SIDE));
        return set_last_error(ERROR_READ, detail);
    }
    if (width * height > pixel_limit) {
        snprintf(detail, sizeof detail, "%s (size %lld by %lld: more than %lld pixels)", what,
            static_cast<long long>(width), static_cast<long long>(height), static_cast<long long>(pixel_limit));
        return set_last_error(ERROR_READ, detail);
    }
    return true;
}

INT_S64 device_bytes_left(DATA_DEVICE* device)
{
    INT_U32 here = device->tell();
    if (!device->seek(0, true))
        return -1;
    INT_U32 end = device->tell();
    if (!device->seek(here, false))
        return -1;
    return end >= here ? static_cast<INT_S64>(end - here) : 0;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] The general loader
// ---------------------------------------------------------------------------------------------

namespace {

enum IMAGE_FORMAT { FORMAT_PNG, FORMAT_JPEG, FORMAT_PCX, FORMAT_RAW };

// Longest candidate name, terminator included.
constexpr size_t CANDIDATE_SIZE = 256;

} // namespace

bool IMAGE::load(const FOLDER& folder, const char* name, INT_S16 new_width, INT_S16 new_height)
{
    if (!name || !name[0])
        return set_last_error(ERROR_FILE_NOT_FOUND, "");

    // Each attempt reads a file only if it is there, and a reader that fails hands on to the next
    // candidate: a picture with a wrong extension is still found by content in the last step.
    bool tried = false;
    auto attempt = [&](const char* candidate, IMAGE_FORMAT format) {
        if (!folder.exists(candidate))
            return false;
        tried = true;
        bool ok = false;
        switch (format) {
        case FORMAT_PNG: ok = load_png(folder, candidate); break;
        case FORMAT_JPEG: ok = load_jpeg(folder, candidate, -1, -1); break;
        case FORMAT_PCX: ok = load_pcx(folder, candidate); break;
        case FORMAT_RAW: ok = load_raw(folder, candidate); break;
        }
        if (ok)
            scale(new_width, new_height, !fast_image_scaling);
        return ok;
    };

    // 1. The name's own extension.
    size_t length = strlen(name);
    if (length >= 5 && name[length - 4] == '.') {
        const char* extension = name + length - 3;
        if (strcasecmp(extension, "png") == 0 && attempt(name, FORMAT_PNG))
            return true;
        if (strcasecmp(extension, "pcx") == 0 && attempt(name, FORMAT_PCX))
            return true;
        if (strcasecmp(extension, "jpg") == 0 && attempt(name, FORMAT_JPEG))
            return true;
        if (strcasecmp(extension, "raw") == 0 && attempt(name, FORMAT_RAW))
            return true;
    }

    // 2. The name with each extension added, so that a skin may leave it out.
    static const struct {
        const char* extension;
        IMAGE_FORMAT format;
    } appended[] = { { ".png", FORMAT_PNG }, { ".jpg", FORMAT_JPEG }, { ".pcx", FORMAT_PCX }, { ".raw", FORMAT_RAW } };
    if (length + 4 < CANDIDATE_SIZE) {
        char candidate[CANDIDATE_SIZE];
        for (const auto& each : appended) {
            snprintf(candidate, sizeof candidate, "%s%s", name, each.extension);
            if (attempt(candidate, each.format))
                return true;
        }
    }

    // 3. The name as it stands, by content.
    static const IMAGE_FORMAT by_content[] = { FORMAT_PNG, FORMAT_JPEG, FORMAT_PCX, FORMAT_RAW };
    for (IMAGE_FORMAT format : by_content) {
        if (attempt(name, format))
            return true;
    }

    // A reader that failed has left its reason in the slot; otherwise say that nothing was found.
    if (!tried)
        return set_last_error(ERROR_FILE_NOT_FOUND, name);
    return false;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Raw files
// ---------------------------------------------------------------------------------------------

bool IMAGE::load_raw(const FOLDER& folder, const char* name)
{
    DATA_FILE* file = folder.open_data_file(name, FILE_READ, ORDER_MARKER_IN_FILE, false);
    if (!file)
        return set_last_error(ERROR_FILE_NOT_FOUND, name);
    bool ok = get_from_data_device(file);
    FOLDER::close_data_file(&file);
    return ok;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Compiled-in arrays
// ---------------------------------------------------------------------------------------------

bool IMAGE::load_array(const INT_U8* array, size_t size)
{
    if (!array || size < IMAGE_ARRAY_HEADER_SIZE)
        return set_last_error(ERROR_READ, "image array (no header)");
    // The version byte is not looked at: there has only ever been one.
    INT_S32 array_width = (array[1] << 8) | array[2];
    INT_S32 array_height = (array[3] << 8) | array[4];
    if (!image_size_acceptable(array_width, array_height, "image array"))
        return false;
    INT_U64 needed = IMAGE_ARRAY_HEADER_SIZE + 4ULL * static_cast<INT_U64>(array_width) * static_cast<INT_U64>(array_height);
    if (size < needed)
        return set_last_error(ERROR_READ, "image array (shorter than its pixels)");

    set_size(static_cast<INT_S16>(array_width), static_cast<INT_S16>(array_height));
    const INT_U8* source = array + IMAGE_ARRAY_HEADER_SIZE;
    for (INT_S32 y = 0; y < height; ++y) {
        COLOUR* target = row(y);
        for (INT_S32 x = 0; x < width; ++x, source += 4)
            target[x] = COLOUR::from_channels(source[2], source[1], source[0], source[3]);
    }
    return true;
}

bool IMAGE::save_source(TEXT_FILE* file, const char* array_name) const
{
    if (!file || !array_name)
        return set_last_error(ERROR_WRITE, "source text (no file or name)");
    long size = static_cast<long>(width) * height * 4 + IMAGE_ARRAY_HEADER_SIZE;
    bool ok = file->write_format("static INT_U8 %s[%ld] =\n{\n\t", array_name, size);
    ok = ok && file->write_format("0x%02X,0x%02X,0x%02X,0x%02X,0x%02X", 1, (width >> 8) & 0xFF, width & 0xFF,
        (height >> 8) & 0xFF, height & 0xFF);
    for (INT_S32 y = 0; ok && y < height; ++y) {
        ok = file->write_string(",\n\t");
        const COLOUR* source = row(y);
        for (INT_S32 x = 0; ok && x < width; ++x) {
            const COLOUR& pixel = source[x];
            ok = file->write_format("%s0x%02X,0x%02X,0x%02X,0x%02X", x ? "," : "", pixel.blue(), pixel.green(),
                pixel.red(), pixel.alpha());
        }
    }
    ok = ok && file->write_string("\n};\n");
    if (!ok)
        return set_last_error(ERROR_WRITE, file->name());
    return true;
}
