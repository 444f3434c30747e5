// The stamp block of the program and the code that finds, reads and checks stamp records in
// executables.
//
// [SECTION] The block
// [SECTION] Record form
// [SECTION] Finding and reading
// [SECTION] The data set check

#include "io/stamp.h"

#include <sys/types.h>
#include <zlib.h>

#include <cstdio>

#include <cstring>
#include <new>

#include "io/data_file.h"
#include "io/folder.h"
#include "host/host.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] The block
// ---------------------------------------------------------------------------------------------

// The marker and the unstamped record, one object in read-only data. A packer rewrites the bytes
// of the record in a copy of the file; the program never changes them in memory.
struct STAMP_BLOCK {
    char marker[STAMP_MARKER_SIZE];
    INT_U8 record[STAMP_RECORD_SIZE];
};

namespace {

constexpr char CHECK_TAG[8] = { 'O', 'R', 'L', 'U', 'C', 'R', 'C', '1' };
// A data set of 4 GiB or more: the length takes 64 bits.
constexpr char CHECK_TAG_LARGE[8] = { 'O', 'R', 'L', 'U', 'C', 'R', 'C', '2' };

// Pieces in which files are scanned and summed.
constexpr INT_S32 SCAN_PIECE = 65536;

void put_le32(INT_U8* bytes, INT_U32 value)
{
    bytes[0] = static_cast<INT_U8>(value);
    bytes[1] = static_cast<INT_U8>(value >> 8);
    bytes[2] = static_cast<INT_U8>(value >> 16);
    bytes[3] = static_cast<INT_U8>(value >> 24);
}

INT_U32 get_le32(const INT_U8* bytes)
{
    return static_cast<INT_U32>(bytes[0]) | static_cast<INT_U32>(bytes[1]) << 8
        | static_cast<INT_U32>(bytes[2]) << 16 | static_cast<INT_U32>(bytes[3]) << 24;
}

} // namespace

// The block has external linkage and is read only through a pointer the compiler cannot see
// through: a constant it could fold would be copied into the debug information as a value,
// and the marker would then stand in the file twice.
extern const STAMP_BLOCK orlu_stamp_block;
__attribute__((used)) const STAMP_BLOCK orlu_stamp_block = {
    { '@', '@', 'O', 'R', 'L', 'U', '-', 'I', 'N', 'S', 'T', 'A', 'L', 'L', 'E', 'R', '-',
        'D', 'A', 'T', 'A', '-', 'S', 'E', 'T', '-', 'S', 'T', 'A', 'M', 'P', '@', '@' },
    { STAMP_FLAG_ALWAYS },
};

const char* const stamp_marker = orlu_stamp_block.marker;

// ---------------------------------------------------------------------------------------------
// [SECTION] Record form
// ---------------------------------------------------------------------------------------------

void stamp_record_to_bytes(const STAMP_RECORD& record, INT_U8* bytes)
{
    INT_U8* out = bytes;
    *out++ = record.flags;
    memcpy(out, record.reserved_a, sizeof record.reserved_a);
    out += sizeof record.reserved_a;
    memcpy(out, record.reserved_b, sizeof record.reserved_b);
    out += sizeof record.reserved_b;
    memcpy(out, record.check, sizeof record.check);
    out += sizeof record.check;
    put_le32(out, record.data_offset);
    put_le32(out + 4, record.skin_offset);
}

void stamp_record_from_bytes(const INT_U8* bytes, STAMP_RECORD* record)
{
    const INT_U8* in = bytes;
    record->flags = *in++;
    memcpy(record->reserved_a, in, sizeof record->reserved_a);
    in += sizeof record->reserved_a;
    memcpy(record->reserved_b, in, sizeof record->reserved_b);
    in += sizeof record->reserved_b;
    memcpy(record->check, in, sizeof record->check);
    in += sizeof record->check;
    record->data_offset = get_le32(in);
    record->skin_offset = get_le32(in + 4);
}

STAMP_RECORD unstamped_record()
{
    INT_U8 bytes[STAMP_RECORD_SIZE];
    for (INT_S32 i = 0; i < STAMP_RECORD_SIZE; ++i)
        bytes[i] = orlu_stamp_block.record[i];
    STAMP_RECORD record;
    stamp_record_from_bytes(bytes, &record);
    return record;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Finding and reading
// ---------------------------------------------------------------------------------------------

bool find_stamp_in(const INT_U8* bytes, size_t size, size_t* position)
{
    if (!bytes || size < static_cast<size_t>(STAMP_MARKER_SIZE + STAMP_RECORD_SIZE))
        return false;
    const void* found = memmem(bytes, size, stamp_marker, STAMP_MARKER_SIZE);
    if (!found)
        return false;
    size_t at = static_cast<size_t>(static_cast<const INT_U8*>(found) - bytes) + STAMP_MARKER_SIZE;
    if (at + STAMP_RECORD_SIZE > size)
        return false;
    *position = at;
    return true;
}

bool find_stamp(DATA_DEVICE* device, INT_U32* position)
{
    if (!device || !device->seek(0, false))
        return false;
    // Each piece keeps the last marker length less one byte of the one before, so a marker that
    // straddles two reads is still seen whole.
    constexpr INT_S32 overlap = STAMP_MARKER_SIZE - 1;
    INT_U8* buffer = new (std::nothrow) INT_U8[SCAN_PIECE + overlap];
    if (!buffer)
        return false;
    INT_U32 buffer_start = 0; // device position of buffer[0]
    INT_S32 held = 0;
    bool found = false;
    for (;;) {
        INT_S32 got = device->read(buffer + held, SCAN_PIECE);
        if (got <= 0)
            break;
        held += got;
        const void* hit = memmem(buffer, static_cast<size_t>(held), stamp_marker, STAMP_MARKER_SIZE);
        if (hit) {
            *position = buffer_start + static_cast<INT_U32>(static_cast<const INT_U8*>(hit) - buffer) + STAMP_MARKER_SIZE;
            found = true;
            break;
        }
        INT_S32 keep = held < overlap ? held : overlap;
        memmove(buffer, buffer + held - keep, static_cast<size_t>(keep));
        buffer_start += static_cast<INT_U32>(held - keep);
        held = keep;
    }
    delete[] buffer;
    if (!found)
        return false;
    // The record must lie whole inside the file.
    INT_U8 last = 0;
    return device->seek(*position + STAMP_RECORD_SIZE - 1, false) && device->read(&last, 1) == 1;
}

bool read_stamp(DATA_DEVICE* device, STAMP_RECORD* record, INT_U32* position)
{
    INT_U32 at = 0;
    if (!find_stamp(device, &at) || !device->seek(at, false))
        return false;
    INT_U8 bytes[STAMP_RECORD_SIZE];
    if (device->read(bytes, STAMP_RECORD_SIZE) != STAMP_RECORD_SIZE)
        return false;
    stamp_record_from_bytes(bytes, record);
    if (position)
        *position = at;
    return true;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] The data set check
// ---------------------------------------------------------------------------------------------

void set_stamp_check(STAMP_RECORD* record, INT_U64 length, INT_U32 crc)
{
    memset(record->check, 0, sizeof record->check);
    if (length <= 0xFFFFFFFFu) {
        memcpy(record->check, CHECK_TAG, sizeof CHECK_TAG);
        put_le32(record->check + 8, static_cast<INT_U32>(length));
        put_le32(record->check + 12, crc);
        return;
    }
    memcpy(record->check, CHECK_TAG_LARGE, sizeof CHECK_TAG_LARGE);
    put_le32(record->check + 8, static_cast<INT_U32>(length));
    put_le32(record->check + 12, static_cast<INT_U32>(length >> 32));
    put_le32(record->check + 16, crc);
}

bool stamp_check(const STAMP_RECORD& record, INT_U64* length, INT_U32* crc)
{
    if (memcmp(record.check, CHECK_TAG, sizeof CHECK_TAG) == 0) {
        *length = get_le32(record.check + 8);
        *crc = get_le32(record.check + 12);
        return true;
    }
    if (memcmp(record.check, CHECK_TAG_LARGE, sizeof CHECK_TAG_LARGE) == 0) {
        *length = get_le32(record.check + 8) | static_cast<INT_U64>(get_le32(record.check + 12)) << 32;
        *crc = get_le32(record.check + 16);
        return true;
    }
    return false;
}

STAMP_VERIFY verify_stamped_file(const FOLDER& folder, const char* name, STAMP_VERIFY_PROGRESS progress, void* context)
{
    DATA_FILE* file = folder.open_data_file(name, FILE_READ, 0, false);
    if (!file)
        return STAMP_VERIFY_DAMAGED;
    STAMP_RECORD record;
    bool stamped = read_stamp(file, &record) && (record.flags & STAMP_FLAG_DATA_SET);
    FOLDER::close_data_file(&file);
    if (!stamped)
        return STAMP_VERIFY_NO_DATA_SET;
    INT_U64 length = 0;
    INT_U32 crc = 0;
    if (!stamp_check(record, &length, &crc))
        return STAMP_VERIFY_NO_CHECK;
    // The data set may pass 4 GiB: it is read as a plain stream with 64-bit offsets.
    // data_offset counts behind the byte-order byte; the stream has none.
    FILE* stream = folder.open_stream(name, "rb");
    if (!stream)
        return STAMP_VERIFY_DAMAGED;
    INT_U64 start = static_cast<INT_U64>(record.data_offset) + 1;
    bool placed = fseeko(stream, 0, SEEK_END) == 0;
    off_t end = placed ? ftello(stream) : -1;
    if (end < 0 || start > static_cast<INT_U64>(end) || static_cast<INT_U64>(end) - start != length
        || fseeko(stream, static_cast<off_t>(start), SEEK_SET) != 0) {
        fclose(stream);
        return STAMP_VERIFY_DAMAGED;
    }
    INT_U8* buffer = new (std::nothrow) INT_U8[SCAN_PIECE];
    if (!buffer) {
        fclose(stream);
        return STAMP_VERIFY_DAMAGED;
    }
    uLong sum = crc32(0L, Z_NULL, 0);
    INT_U64 done = 0;
    INT_U64 told_percent = 0;
    while (done < length) {
        if (host_stop_requested())
            break;
        size_t want = length - done < static_cast<INT_U64>(SCAN_PIECE) ? static_cast<size_t>(length - done) : SCAN_PIECE;
        size_t got = fread(buffer, 1, want, stream);
        if (got != want)
            break;
        sum = crc32(sum, buffer, static_cast<uInt>(got));
        done += got;
        // Once a percent, so that a splash drawn from here costs nothing next to the reading.
        INT_U64 percent = done * 100 / length;
        if (progress && percent > told_percent) {
            told_percent = percent;
            progress(done, length, context);
        }
    }
    delete[] buffer;
    fclose(stream);
    if (done < length && host_stop_requested())
        return STAMP_VERIFY_STOPPED;
    return done == length && static_cast<INT_U32>(sum) == crc ? STAMP_VERIFY_GOOD : STAMP_VERIFY_DAMAGED;
}
