// The stamp record: what a finished installer carries in its own read-only data about the data
// set appended behind it. The packer finds the record in the client executable by its marker and
// fills it in; the run-time finds it in its own file the same way and reads it back.
//
// The record as it lies in the file, directly behind the 33 marker bytes (363 bytes):
//
//   flags        1 byte     STAMP_FLAG_ALWAYS, STAMP_FLAG_DATA_SET, STAMP_FLAG_SKIN
//   reserved   250 bytes    zero
//   reserved     4 bytes    zero
//   check      100 bytes    "ORLUCRC1", data set length (INT_U32 little-endian), its CRC-32
//                           (INT_U32 little-endian), zero-filled; all zero means no check. A
//                           data set of 4 GiB or more has "ORLUCRC2", the length in 64 bits
//                           (low word first) and the CRC-32 behind it

//   data_offset  4 bytes    little-endian; the data set's physical offset minus 1, because the
//                           run-time opens the file with its byte-order byte and counts behind it
//   skin_offset  4 bytes    little-endian; the same for a stand-alone skin
//
// The marker bytes exist once in a program: in the stamp block itself. `stamp_marker` points
// into that block, so a scan for the marker never finds a second
// copy in the code's own constants.
//
// [SECTION] Record
// [SECTION] Finding and reading
// [SECTION] The data set check
#pragma once

#include "base/orlu_types.h"

class DATA_DEVICE;
class FOLDER;

// The marker's 33 bytes are not zero-terminated; `stamp_marker` points at them inside the
// program's own stamp block, so that they occur once in the program.
constexpr int STAMP_MARKER_SIZE = 33;
extern const char* const stamp_marker;

// ---------------------------------------------------------------------------------------------
// [SECTION] Record
// ---------------------------------------------------------------------------------------------

constexpr INT_S32 STAMP_RECORD_SIZE = 363;
constexpr INT_S32 STAMP_CHECK_SIZE = 100;

enum STAMP_FLAG : INT_U8 {
    STAMP_FLAG_ALWAYS = 0x08,   // set in every record, stamped or not
    STAMP_FLAG_DATA_SET = 0x10, // data_offset is valid
    STAMP_FLAG_SKIN = 0x20,     // skin_offset is valid
};

struct STAMP_RECORD {
    INT_U8 flags { STAMP_FLAG_ALWAYS };
    INT_U8 reserved_a[250] {};
    INT_U8 reserved_b[4] {};
    INT_U8 check[STAMP_CHECK_SIZE] {};
    INT_U32 data_offset { 0 };
    INT_U32 skin_offset { 0 };
};

// The record to and from its 363 bytes of file form.
void stamp_record_to_bytes(const STAMP_RECORD& record, INT_U8* bytes);
void stamp_record_from_bytes(const INT_U8* bytes, STAMP_RECORD* record);

// The record this program was built with: flags STAMP_FLAG_ALWAYS, everything else zero.
[[nodiscard]] STAMP_RECORD unstamped_record();

// ---------------------------------------------------------------------------------------------
// [SECTION] Finding and reading
// ---------------------------------------------------------------------------------------------

// Scans the device from its position 0 for the marker and answers the position of the record
// (the byte behind the marker) in `position`. False when the marker is not there, or when the
// record behind it would run past the end of the device.
[[nodiscard]] bool find_stamp(DATA_DEVICE* device, INT_U32* position);
// The same on bytes in memory; positions are offsets into them.
[[nodiscard]] bool find_stamp_in(const INT_U8* bytes, size_t size, size_t* position);
// find_stamp, then the record. False when there is no marker or the record cannot be read.
[[nodiscard]] bool read_stamp(DATA_DEVICE* device, STAMP_RECORD* record, INT_U32* position = nullptr);

// ---------------------------------------------------------------------------------------------
// [SECTION] The data set check
// ---------------------------------------------------------------------------------------------

// Fills the check field with the tag, the length and the CRC-32 of the data set; the long form
// only when the length needs it, so that every smaller installer keeps its bytes.
void set_stamp_check(STAMP_RECORD* record, INT_U64 length, INT_U32 crc);
// False when the field is all zero (no check recorded) or holds something other than our tags;
// otherwise the two values.
[[nodiscard]] bool stamp_check(const STAMP_RECORD& record, INT_U64* length, INT_U32* crc);

enum STAMP_VERIFY : INT_S32 {
    STAMP_VERIFY_GOOD = 0,        // the data set has the recorded length and CRC-32
    STAMP_VERIFY_NO_CHECK = 1,    // the record carries no check; nothing could be tested
    STAMP_VERIFY_NO_DATA_SET = 2, // no marker, or the record says there is no data set
    STAMP_VERIFY_DAMAGED = 3,     // wrong length or CRC-32, or the file could not be read whole
    STAMP_VERIFY_STOPPED = 4,     // a stop of the run was requested (host.h) before the end
};

// Called while the check reads the data set: the bytes read so far and the data set's length.
typedef void (*STAMP_VERIFY_PROGRESS)(INT_U64 done, INT_U64 total, void* context);

// Tests the data set behind the executable `name` in `folder` against its stamp, so that the
// run-time can refuse a damaged file before it installs anything. The file is read once, in
// pieces; nothing is kept. `progress`, when given, hears of each percent of the data set read.
[[nodiscard]] STAMP_VERIFY verify_stamped_file(const FOLDER& folder, const char* name,
    STAMP_VERIFY_PROGRESS progress = nullptr, void* context = nullptr);
