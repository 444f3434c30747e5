// IMAGE and PCX files: one 8-bit plane, a 128-byte header, run-length data and a 256-colour
// palette behind a marker byte 12 at the end of the file.
//
// The reader takes the palette from the end first, so a file shorter than header plus palette
// is refused before anything else is read. The declared size is bounded by what the data between
// the two can hold (a run of at most 63 values costs two bytes) before the image is sized.
//
// [SECTION] Reading
// [SECTION] Writing
#include "graphics/image.h"

#include <cstdio>
#include <cstring>
#include <new>

#include "io/data_file.h"
#include "base/error_report.h"
#include "io/folder.h"
#include "graphics/image_files.h"

namespace {

constexpr INT_U32 PCX_HEADER_SIZE = 128;
constexpr INT_U32 PCX_PALETTE_SIZE = 768;
constexpr INT_U8 PCX_MANUFACTURER = 10;
constexpr INT_U8 PCX_PALETTE_MARKER = 12;
// Pixels of this colour are the transparent ones; the key is fixed for every PCX picture.
constexpr INT_U8 PCX_KEY_RED = 139;
constexpr INT_U8 PCX_KEY_GREEN = 154;
constexpr INT_U8 PCX_KEY_BLUE = 37;
// Most values a run can give, and most entries of a written palette.
constexpr INT_S64 PCX_LONGEST_RUN = 63;
constexpr INT_S32 PCX_WRITTEN_COLOURS = 255;

INT_U16 header_u16(const INT_U8* header, size_t offset, bool swap)
{
    INT_U16 value;
    memcpy(&value, header + offset, sizeof value);
    return swap ? swap16(value) : value;
}

void put_header_u16(INT_U8* header, size_t offset, INT_U16 value, bool swap)
{
    if (swap)
        value = swap16(value);
    memcpy(header + offset, &value, sizeof value);
}

// Bytes of the run-length data, read through a small buffer and never past the palette.
struct PCX_DATA {
    PCX_DATA(DATA_DEVICE* source, INT_U32 size) : device(source), left(size) {}

    DATA_DEVICE* device;
    INT_U32 left;
    INT_U8 buffer[4096];
    INT_U32 fill { 0 };
    INT_U32 next { 0 };

    // False when the data ends or the device stops giving bytes.
    bool take(INT_U8* byte)
    {
        if (next == fill) {
            if (left == 0)
                return false;
            INT_U32 want = left < sizeof buffer ? left : static_cast<INT_U32>(sizeof buffer);
            if (!device_read_bytes(device, buffer, static_cast<INT_S32>(want)))
                return false;
            left -= want;
            fill = want;
            next = 0;
        }
        *byte = buffer[next++];
        return true;
    }
};

} // namespace

// ---------------------------------------------------------------------------------------------
// [SECTION] Reading
// ---------------------------------------------------------------------------------------------

bool IMAGE::load_pcx(DATA_DEVICE* device)
{
    if (!device)
        return set_last_error(ERROR_READ, "PCX image (no device)");
    bool swap = device->swap_bytes != 0;

    if (!device->seek(0, true))
        return set_last_error(ERROR_READ, "PCX image (cannot find the end)");
    INT_U32 size = device->tell();
    if (size < PCX_HEADER_SIZE + 1 + PCX_PALETTE_SIZE)
        return set_last_error(ERROR_READ, "PCX image (shorter than its header and palette)");

    INT_U8 marker = 0;
    INT_U8 palette[PCX_PALETTE_SIZE];
    if (!device->seek(size - PCX_PALETTE_SIZE - 1, false) || !device_read(device, &marker)
        || !device_read_bytes(device, palette, sizeof palette))
        return set_last_error(ERROR_READ, "PCX image (cannot read the palette)");
    if (marker != PCX_PALETTE_MARKER)
        return set_last_error(ERROR_READ, "PCX image (no 256-colour palette)");

    INT_U8 header[PCX_HEADER_SIZE];
    if (!device->seek(0, false) || !device_read_bytes(device, header, sizeof header))
        return set_last_error(ERROR_READ, "PCX image (cannot read the header)");
    if (header[0] != PCX_MANUFACTURER)
        return set_last_error(ERROR_READ, "PCX image (not a PCX file)");
    INT_S64 x_min = header_u16(header, 4, swap);
    INT_S64 y_min = header_u16(header, 6, swap);
    INT_S64 x_max = header_u16(header, 8, swap);
    INT_S64 y_max = header_u16(header, 10, swap);
    INT_S64 bytes_per_line = header_u16(header, 66, swap);
    INT_S64 file_width = x_max + 1 - x_min;
    INT_S64 file_height = y_max + 1 - y_min;
    if (file_width < 1 || file_height < 1)
        return set_last_error(ERROR_READ, "PCX image (no pixels)");
    if (!image_size_acceptable(file_width, file_height, "PCX image"))
        return false;
    INT_U32 data_size = size - PCX_HEADER_SIZE - 1 - PCX_PALETTE_SIZE;
    if (file_height * bytes_per_line * 2 > static_cast<INT_S64>(data_size) * PCX_LONGEST_RUN)
        return set_last_error(ERROR_READ, "PCX image (file is shorter than its picture)");

    COLOUR colours[256];
    for (int i = 0; i < 256; ++i) {
        const INT_U8* rgb = palette + i * 3;
        bool key = rgb[0] == PCX_KEY_RED && rgb[1] == PCX_KEY_GREEN && rgb[2] == PCX_KEY_BLUE;
        colours[i] = COLOUR::from_channels(rgb[0], rgb[1], rgb[2], key ? 0 : 255);
    }

    set_size(static_cast<INT_S16>(file_width), static_cast<INT_S16>(file_height));
    PCX_DATA data(device, data_size);
    // A run may go on across the end of a row, so its state outlives the row loop.
    INT_S64 run = 0;
    INT_U8 value = 0;
    for (INT_S32 y = 0; y < height; ++y) {
        COLOUR* target = row(y);
        for (INT_S64 x = 0; x < bytes_per_line; ++x) {
            if (run == 0) {
                INT_U8 byte = 0;
                if (!data.take(&byte))
                    return set_last_error(ERROR_READ, "PCX image (file is truncated)");
                run = 1;
                value = byte;
                if ((byte & 0xC0) == 0xC0) {
                    run = byte & 0x3F;
                    if (!data.take(&value))
                        return set_last_error(ERROR_READ, "PCX image (file is truncated)");
                    if (run == 0) {
                        // A run of nothing gives no value; read on for this one.
                        --x;
                        continue;
                    }
                }
            }
            --run;
            if (x < width)
                target[x] = colours[value];
        }
    }
    return true;
}

bool IMAGE::load_pcx(const FOLDER& folder, const char* name)
{
    DATA_FILE* file = folder.open_data_file(name, FILE_READ, 0, false);
    if (!file)
        return set_last_error(ERROR_FILE_NOT_FOUND, name);
    bool ok = load_pcx(file);
    FOLDER::close_data_file(&file);
    return ok;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Writing
// ---------------------------------------------------------------------------------------------

bool IMAGE::save_pcx(DATA_DEVICE* device) const
{
    if (!device)
        return set_last_error(ERROR_WRITE, "PCX image (no device)");
    if (!pixels || width < 1 || height < 1)
        return set_last_error(ERROR_WRITE, "PCX image (the image is empty)");
    bool swap = device->swap_bytes != 0;

    INT_U8 header[PCX_HEADER_SIZE] {};
    header[0] = PCX_MANUFACTURER;
    header[1] = 5; // version
    header[2] = 1; // run-length encoding
    header[3] = 8; // bits per pixel
    put_header_u16(header, 8, static_cast<INT_U16>(width - 1), swap);
    put_header_u16(header, 10, static_cast<INT_U16>(height - 1), swap);
    put_header_u16(header, 12, static_cast<INT_U16>(width), swap);
    put_header_u16(header, 14, static_cast<INT_U16>(height), swap);
    header[65] = 1; // planes
    put_header_u16(header, 66, static_cast<INT_U16>(width), swap);
    put_header_u16(header, 68, 1, swap);
    if (!device_write_bytes(device, header, sizeof header))
        return set_last_error(ERROR_WRITE, "PCX image (header)");

    // Each index takes at most two bytes: 0xC1 in front of one that looks like a run.
    INT_U8* line = new (std::nothrow) INT_U8[static_cast<size_t>(width) * 2];
    if (!line)
        return set_last_error(ERROR_WRITE, "PCX image (no memory for a row)");
    INT_U8 palette[PCX_PALETTE_SIZE] {};
    INT_S32 used = 0;
    bool ok = true;
    for (INT_S32 y = 0; ok && y < height; ++y) {
        const COLOUR* source = row(y);
        size_t size = 0;
        for (INT_S32 x = 0; x < width; ++x) {
            INT_U8 r = source[x].red();
            INT_U8 g = source[x].green();
            INT_U8 b = source[x].blue();
            INT_S32 index = 0;
            while (index < used && !(palette[index * 3] == r && palette[index * 3 + 1] == g && palette[index * 3 + 2] == b))
                ++index;
            if (index == used) {
                // A colour that no longer fits falls back to the first entry.
                if (used < PCX_WRITTEN_COLOURS) {
                    palette[used * 3] = r;
                    palette[used * 3 + 1] = g;
                    palette[used * 3 + 2] = b;
                    ++used;
                } else {
                    index = 0;
                }
            }
            if ((index & 0xC0) != 0)
                line[size++] = 0xC1;
            line[size++] = static_cast<INT_U8>(index);
        }
        ok = device_write_bytes(device, line, static_cast<INT_S32>(size));
    }
    delete[] line;
    INT_U8 marker = PCX_PALETTE_MARKER;
    ok = ok && device_write_bytes(device, &marker, 1) && device_write_bytes(device, palette, sizeof palette);
    if (!ok)
        return set_last_error(ERROR_WRITE, "PCX image (device refused the bytes)");
    return true;
}
