// IMAGE and JPEG files, through libjpeg.
//
// libjpeg ends a failing call through the error manager's error_exit, which here jumps back to
// the run_ function that started the work. Each record below carries its own jump buffer, so
// nested or repeated reads cannot land in a stale frame, and all state lives in the record so
// that the jump crosses no C++ object with a destructor. The data comes from and goes to the
// DATA_DEVICE through our own source and destination managers; running out of data is an
// error, not a picture padded with grey.
//
// [SECTION] Error manager
// [SECTION] Reading
// [SECTION] Writing
#include "graphics/image.h"

#include <cstdio>
#include <csetjmp>
#include <cstring>
#include <new>

// jpeglib.h needs FILE and size_t declared before it.
#include <jerror.h>
#include <jpeglib.h>

#include "io/data_file.h"
#include "base/error_report.h"
#include "io/folder.h"
#include "graphics/image_files.h"

namespace {

constexpr size_t JPEG_BUFFER_SIZE = 4096;
// A progressive file may declare any number of scans, each of which reprocesses the whole
// picture; real files have about ten. More than this is a file built to waste time.
constexpr int JPEG_MAX_SCANS = 256;

// ---------------------------------------------------------------------------------------------
// [SECTION] Error manager
// ---------------------------------------------------------------------------------------------

struct JPEG_ERROR {
    jpeg_error_mgr manager;
    jmp_buf jump;
    char message[JMSG_LENGTH_MAX];
};

void jpeg_failure(j_common_ptr info)
{
    JPEG_ERROR* error = reinterpret_cast<JPEG_ERROR*>(info->err);
    error->manager.format_message(info, error->message);
    longjmp(error->jump, 1);
}

// Warnings (corrupt data that libjpeg works around) are not printed: nobody reads the terminal.
void jpeg_message_ignored(j_common_ptr) {}

void prepare_error(JPEG_ERROR* error)
{
    jpeg_std_error(&error->manager);
    error->manager.error_exit = jpeg_failure;
    error->manager.output_message = jpeg_message_ignored;
    error->message[0] = 0;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Reading
// ---------------------------------------------------------------------------------------------

struct JPEG_READ {
    jpeg_decompress_struct info;
    JPEG_ERROR error;
    jpeg_source_mgr source;
    jpeg_progress_mgr progress;
    DATA_DEVICE* device { nullptr };
    bool created { false };
    bool refused { false };
    JOCTET buffer[JPEG_BUFFER_SIZE];
};

JPEG_READ* read_record(j_decompress_ptr info) { return reinterpret_cast<JPEG_READ*>(info->client_data); }

void source_start(j_decompress_ptr) {}

boolean source_fill(j_decompress_ptr info)
{
    JPEG_READ* record = read_record(info);
    INT_S32 got = record->device->read(record->buffer, static_cast<INT_S32>(JPEG_BUFFER_SIZE));
    if (got <= 0)
        ERREXIT(info, JERR_INPUT_EOF);
    record->source.next_input_byte = record->buffer;
    record->source.bytes_in_buffer = static_cast<size_t>(got);
    return TRUE;
}

void source_skip(j_decompress_ptr info, long count)
{
    JPEG_READ* record = read_record(info);
    while (count > 0) {
        if (record->source.bytes_in_buffer == 0)
            source_fill(info);
        size_t step = static_cast<size_t>(count) < record->source.bytes_in_buffer ? static_cast<size_t>(count)
                                                                                   : record->source.bytes_in_buffer;
        record->source.next_input_byte += step;
        record->source.bytes_in_buffer -= step;
        count -= static_cast<long>(step);
    }
}

void source_end(j_decompress_ptr) {}

void count_scans(j_common_ptr common)
{
    j_decompress_ptr info = reinterpret_cast<j_decompress_ptr>(common);
    if (info->input_scan_number <= JPEG_MAX_SCANS)
        return;
    JPEG_ERROR* error = reinterpret_cast<JPEG_ERROR*>(info->err);
    snprintf(error->message, sizeof error->message, "more than %d scans", JPEG_MAX_SCANS);
    longjmp(error->jump, 1);
}

// Writes one decoded scan line (one or three components) into a pixel row, alpha 255.
void expand_line(const JSAMPLE* line, int components, INT_S32 count, COLOUR* target)
{
    for (INT_S32 x = 0; x < count; ++x) {
        const JSAMPLE* sample = line + x * components;
        target[x] = components == 3 ? COLOUR::from_channels(sample[0], sample[1], sample[2], 255)
                                    : COLOUR::from_channels(sample[0], sample[0], sample[0], 255);
    }
}

// Nearest-neighbour resampling while reading: each source row goes to its target row, and rows
// and columns that no source maps to repeat the one before.
void resample_line(const JSAMPLE* line, int components, INT_S32 source_width, IMAGE* image, INT_S32 target_y)
{
    COLOUR* target = image->row(target_y);
    INT_S32 last = -1;
    for (INT_S32 i = 0; i < source_width; ++i) {
        INT_S32 x = source_width > 1 ? static_cast<INT_S32>(static_cast<INT_S64>(image->width - 1) * i / (source_width - 1))
                                     : 0;
        if (x <= last)
            continue;
        const JSAMPLE* sample = line + i * components;
        COLOUR pixel = components == 3 ? COLOUR::from_channels(sample[0], sample[1], sample[2], 255)
                                       : COLOUR::from_channels(sample[0], sample[0], sample[0], 255);
        for (INT_S32 fill = last + 1; fill <= x; ++fill)
            target[fill] = pixel;
        last = x;
    }
    // Only a one-column source leaves columns behind: they repeat its pixel.
    for (INT_S32 fill = last + 1; fill < image->width; ++fill)
        target[fill] = target[last];
}

bool run_read(JPEG_READ* record, IMAGE* image, INT_S16 wanted_width, INT_S16 wanted_height)
{
    if (setjmp(record->error.jump))
        return false;

    j_decompress_ptr info = &record->info;
    // Marked first: a creation that fails half way is still torn down (the record starts zeroed,
    // and destroying a record without a memory manager does nothing).
    record->created = true;
    jpeg_create_decompress(info);
    info->client_data = record;
    record->source.init_source = source_start;
    record->source.fill_input_buffer = source_fill;
    record->source.skip_input_data = source_skip;
    record->source.resync_to_restart = jpeg_resync_to_restart;
    record->source.term_source = source_end;
    record->source.bytes_in_buffer = 0;
    record->source.next_input_byte = nullptr;
    info->src = &record->source;
    record->progress.progress_monitor = count_scans;
    info->progress = &record->progress;

    jpeg_read_header(info, TRUE);
    // Only grey and colour pictures become pixels; CMYK files have no conversion here.
    if (info->num_components != 1 && info->num_components != 3) {
        record->refused = true;
        return set_last_error(ERROR_READ, "JPEG image (neither grey nor RGB)");
    }
    info->out_color_space = info->num_components == 3 ? JCS_RGB : JCS_GRAYSCALE;
    jpeg_calc_output_dimensions(info);
    INT_S32 source_width = static_cast<INT_S32>(info->output_width);
    INT_S32 source_height = static_cast<INT_S32>(info->output_height);
    if (source_width < 1 || source_height < 1) {
        record->refused = true;
        return set_last_error(ERROR_READ, "JPEG image (no pixels)");
    }
    if (!image_size_acceptable(source_width, source_height, "JPEG image")) {
        record->refused = true;
        return false;
    }
    INT_S32 target_width = wanted_width < 1 ? source_width : wanted_width;
    INT_S32 target_height = wanted_height < 1 ? source_height : wanted_height;
    if (!image_size_acceptable(target_width, target_height, "JPEG image")) {
        record->refused = true;
        return false;
    }

    jpeg_start_decompress(info);
    int components = info->output_components;
    if (components != 1 && components != 3) {
        record->refused = true;
        return set_last_error(ERROR_READ, "JPEG image (unexpected component count)");
    }
    JSAMPARRAY line = (*info->mem->alloc_sarray)(reinterpret_cast<j_common_ptr>(info), JPOOL_IMAGE,
        info->output_width * static_cast<JDIMENSION>(components), 1);
    image->set_size(static_cast<INT_S16>(target_width), static_cast<INT_S16>(target_height));

    bool same_size = target_width == source_width && target_height == source_height;
    INT_S32 written = -1; // last target row written
    for (INT_S32 n = 0; info->output_scanline < info->output_height; ++n) {
        // Our source never suspends, so every call gives a line; anything else is a broken file.
        if (jpeg_read_scanlines(info, line, 1) != 1) {
            record->refused = true;
            return set_last_error(ERROR_READ, "JPEG image (no scan line)");
        }
        if (same_size) {
            expand_line(line[0], components, source_width, image->row(n));
            continue;
        }
        INT_S32 y = source_height > 1 ? static_cast<INT_S32>(static_cast<INT_S64>(target_height - 1) * n / (source_height - 1))
                                      : 0;
        if (y <= written)
            continue;
        for (INT_S32 fill = written + 1; fill < y; ++fill) {
            if (fill > 0)
                memcpy(image->row(fill), image->row(fill - 1), static_cast<size_t>(target_width) * sizeof(COLOUR));
        }
        resample_line(line[0], components, source_width, image, y);
        written = y;
    }
    // Only a one-row source leaves rows behind: they repeat its row.
    for (INT_S32 fill = written + 1; written >= 0 && fill < target_height; ++fill)
        memcpy(image->row(fill), image->row(fill - 1), static_cast<size_t>(target_width) * sizeof(COLOUR));
    jpeg_finish_decompress(info);
    return true;
}

} // namespace

bool IMAGE::load_jpeg(DATA_DEVICE* device, INT_S16 wanted_width, INT_S16 wanted_height)
{
    if (!device)
        return set_last_error(ERROR_READ, "JPEG image (no device)");
    JPEG_READ* record = new (std::nothrow) JPEG_READ();
    if (!record)
        return set_last_error(ERROR_READ, "JPEG image (no memory for the decoder)");
    record->device = device;
    record->info.err = &record->error.manager;
    prepare_error(&record->error);

    bool ok = run_read(record, this, wanted_width, wanted_height);
    if (record->created)
        jpeg_destroy_decompress(&record->info);
    if (!ok && !record->refused) {
        char detail[JMSG_LENGTH_MAX + 20];
        snprintf(detail, sizeof detail, "JPEG image (%s)", record->error.message[0] ? record->error.message : "failed");
        set_last_error(ERROR_READ, detail);
    }
    delete record;
    return ok;
}

bool IMAGE::load_jpeg(const FOLDER& folder, const char* name, INT_S16 wanted_width, INT_S16 wanted_height)
{
    DATA_FILE* file = folder.open_data_file(name, FILE_READ, 0, false);
    if (!file)
        return set_last_error(ERROR_FILE_NOT_FOUND, name);
    bool ok = load_jpeg(file, wanted_width, wanted_height);
    FOLDER::close_data_file(&file);
    return ok;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Writing
// ---------------------------------------------------------------------------------------------

namespace {

struct JPEG_WRITE {
    jpeg_compress_struct info;
    JPEG_ERROR error;
    jpeg_destination_mgr destination;
    DATA_DEVICE* device { nullptr };
    bool created { false };
    JOCTET buffer[JPEG_BUFFER_SIZE];
};

JPEG_WRITE* write_record(j_compress_ptr info) { return reinterpret_cast<JPEG_WRITE*>(info->client_data); }

void destination_start(j_compress_ptr info)
{
    JPEG_WRITE* record = write_record(info);
    record->destination.next_output_byte = record->buffer;
    record->destination.free_in_buffer = JPEG_BUFFER_SIZE;
}

void flush_bytes(j_compress_ptr info, size_t count)
{
    JPEG_WRITE* record = write_record(info);
    if (count == 0)
        return;
    INT_S32 put = record->device->write(record->buffer, static_cast<INT_S32>(count));
    record->device->failed = put != static_cast<INT_S32>(count);
    if (record->device->failed)
        ERREXIT(info, JERR_FILE_WRITE);
}

boolean destination_empty(j_compress_ptr info)
{
    // libjpeg calls this with the whole buffer full, whatever free_in_buffer says.
    flush_bytes(info, JPEG_BUFFER_SIZE);
    destination_start(info);
    return TRUE;
}

void destination_end(j_compress_ptr info)
{
    JPEG_WRITE* record = write_record(info);
    flush_bytes(info, JPEG_BUFFER_SIZE - record->destination.free_in_buffer);
}

bool run_write(JPEG_WRITE* record, const IMAGE* image, INT_S32 quality, bool progressive)
{
    if (setjmp(record->error.jump))
        return false;

    j_compress_ptr info = &record->info;
    record->created = true;
    jpeg_create_compress(info);
    info->client_data = record;
    record->destination.init_destination = destination_start;
    record->destination.empty_output_buffer = destination_empty;
    record->destination.term_destination = destination_end;
    info->dest = &record->destination;

    info->image_width = static_cast<JDIMENSION>(image->width);
    info->image_height = static_cast<JDIMENSION>(image->height);
    info->input_components = 3;
    info->in_color_space = JCS_RGB;
    jpeg_set_defaults(info);
    jpeg_set_quality(info, quality, TRUE);
    if (progressive)
        jpeg_simple_progression(info);
    jpeg_start_compress(info, TRUE);

    JSAMPARRAY line = (*info->mem->alloc_sarray)(reinterpret_cast<j_common_ptr>(info), JPOOL_IMAGE,
        static_cast<JDIMENSION>(image->width) * 3, 1);
    while (info->next_scanline < info->image_height) {
        const COLOUR* source = image->row(static_cast<INT_S32>(info->next_scanline));
        JSAMPLE* target = line[0];
        for (INT_S32 x = 0; x < image->width; ++x, target += 3) {
            target[0] = source[x].red();
            target[1] = source[x].green();
            target[2] = source[x].blue();
        }
        jpeg_write_scanlines(info, line, 1);
    }
    jpeg_finish_compress(info);
    return true;
}

} // namespace

bool IMAGE::save_jpeg(DATA_DEVICE* device, INT_S32 quality, bool progressive) const
{
    if (!device)
        return set_last_error(ERROR_WRITE, "JPEG image (no device)");
    if (quality < 0 || quality > 100)
        return set_last_error(ERROR_WRITE, "JPEG image (quality outside 0 to 100)");
    // An empty picture has nothing to write; that is not a failure.
    if (!pixels || width < 1 || height < 1)
        return true;

    JPEG_WRITE* record = new (std::nothrow) JPEG_WRITE();
    if (!record)
        return set_last_error(ERROR_WRITE, "JPEG image (no memory for the encoder)");
    record->device = device;
    record->info.err = &record->error.manager;
    prepare_error(&record->error);

    bool ok = run_write(record, this, quality, progressive);
    if (record->created)
        jpeg_destroy_compress(&record->info);
    if (!ok) {
        char detail[JMSG_LENGTH_MAX + 20];
        snprintf(detail, sizeof detail, "JPEG image (%s)", record->error.message[0] ? record->error.message : "failed");
        set_last_error(ERROR_WRITE, detail);
    }
    delete record;
    return ok;
}
