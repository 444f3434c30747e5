// PACKAGE: one file that holds named members like a small file system. Members are chains of
// fixed-size blocks; freed chains join a free list and are reused; entries form a singly linked
// list behind a root record. Members are stored as they are: a member that should be compressed
// is compressed before it is added.
//
// On disk (all positions logical, i.e. file offset minus the byte-order byte; all numbers in
// the writer's byte order, swapped by readers on the other order):
//
//   header       "ORLUPKG\0", version (INT_S16, 1), block_size, root_position, free_head,
//                free_tail (INT_U32 each)                                   26 bytes at 0
//   root record  name_length 4, "root", first_entry, last_entry, 3 reserved  28 bytes at 26
//   entry        name_length, name, first_block, last_block, next_entry, reserved
//   block        next_block, block_size payload bytes, used
//
// A package file is untrusted: every length, position and chain read from it is checked
// against the file before use, and a chain that comes back on itself ends the operation with
// code 4103, never a hang. Every walk takes time linear in the file: the entry list must run
// forward through the file (entries are only appended), and a block chain's loop is found
// within twice its length. Long walks give up when a stop of the run is requested (host.h).
//
// Failures go to the last-error slot (4101 to 4112) and, when "ORLU Platform" has flags, to
// that stream too.
#pragma once

#include "base/containers.h"
#include "io/data_file.h"
#include "io/folder.h"
#include "io/member_store.h"
#include "base/orlu_types.h"
#include "io/text_file.h"

class PACKAGE;

constexpr INT_U32 PACKAGE_DEFAULT_BLOCK_SIZE = 524288;
// The most a block may hold; a larger value in a header marks a damaged file.
constexpr INT_U32 PACKAGE_MAX_BLOCK_SIZE = 64u * 1024u * 1024u;
// The longest member name a package may carry.
constexpr INT_U32 PACKAGE_MAX_NAME = 4096;

// Called while a member is copied in or out: bytes done so far and the total.
typedef void (*PACKAGE_PROGRESS)(PACKAGE* package, INT_U32 done, INT_U32 total, void* context);

// One member's entry record, as read from disk or held in the cached index.
struct PACKAGE_ENTRY {
    INT_U32 position { 0 };
    char* name { nullptr }; // owned, zero-terminated
    INT_U32 first_block { 0 };
    INT_U32 last_block { 0 };
    INT_U32 next_entry { 0 };
    INT_U32 reserved { 0 };
    PACKAGE_ENTRY* next { nullptr }; // cached list order
    INT_U32 end { 0 };               // position just behind the record on disk
};

// Takes a member's bytes, one block's worth at a time; answers false to stop the reading.
typedef MEMBER_SINK PACKAGE_SINK;

// What ties a member opened as a file to its package: the member is extracted to a private
// temporary file, which is what the caller reads and writes; a member opened for writing goes back
// into the package when the file is closed.
struct PACKAGE_MEMBER_LINK {
    PACKAGE* package { nullptr };
    FOLDER temp_folder { "$TEMP" };
    char temp_name[256] {};
    char member_name[256] {};
    bool read_only { true };

    // Puts a written member back and removes the temporary file. `written_whole` says whether
    // the caller's file was closed without a failed write. When the member cannot be put back,
    // or its bytes were not written whole, the temporary file stays where it is and the
    // last-error slot names it, so that nothing is lost; the answer is then false. A second
    // call does nothing and answers true.
    bool finish(bool written_whole);
};

// A member opened as a data device.
class PACKAGE_DATA_FILE : public DATA_FILE {
public:
    ~PACKAGE_DATA_FILE() override;

private:
    friend class PACKAGE;
    PACKAGE_DATA_FILE() = default;
    PACKAGE_MEMBER_LINK m_link;
};

// The text twin of PACKAGE_DATA_FILE.
class PACKAGE_TEXT_FILE : public TEXT_FILE {
public:
    ~PACKAGE_TEXT_FILE();

private:
    friend class PACKAGE;
    PACKAGE_TEXT_FILE() = default;
    PACKAGE_MEMBER_LINK m_link;
};

// A member's bytes read in order straight from its blocks, with no temporary file: for reading
// members of a package that stays open for a whole run (comparing two data sets, installing).
// Several readers may be open on one package at a time, each holding its own block; the package
// must outlive them.
class PACKAGE_MEMBER_READER {
public:
    PACKAGE_MEMBER_READER() = default;
    ~PACKAGE_MEMBER_READER();
    PACKAGE_MEMBER_READER(const PACKAGE_MEMBER_READER&) = delete;
    PACKAGE_MEMBER_READER& operator=(const PACKAGE_MEMBER_READER&) = delete;

    // False, with the last-error slot set (4109, 4112, 4107), when the member cannot be read.
    [[nodiscard]] bool open(PACKAGE* package, const char* member_name);
    // Up to `size` bytes, as many as the member still has: 0 at its end, -1 when its chain is
    // damaged (the last-error slot says how).
    [[nodiscard]] INT_S32 read(void* buffer, INT_S32 size);

private:
    PACKAGE* m_package { nullptr };
    INT_U8* m_payload { nullptr };
    INT_U32 m_next { 0 };   // the block after the one held
    INT_U32 m_used { 0 };   // bytes of the held block
    INT_U32 m_offset { 0 }; // of those, handed out
    INT_U32 m_blocks { 0 }; // blocks walked, against loops
    INT_U32 m_mark { 0 };   // Brent's mark
    INT_U32 m_steps_since_mark { 0 };
    INT_U32 m_next_move { 1 };
    bool m_failed { false };
};

class PACKAGE : public MEMBER_STORE {
public:
    // Opens `file_name` in `folder`, or creates it when `create` is set (block_size 0 or less:
    // PACKAGE_DEFAULT_BLOCK_SIZE). On failure is_open() is false and the last-error slot says why.
    PACKAGE(const FOLDER& folder, const char* file_name, bool create, INT_S32 block_size,
        bool cached_index, bool read_only);
    // Closes the package as close() does; a failure there is lost, so a caller that wrote to
    // the package closes it itself.
    ~PACKAGE() override;
    PACKAGE(const PACKAGE&) = delete;
    PACKAGE& operator=(const PACKAGE&) = delete;

    // With a cached index, writes the header, the root record and every entry back; then closes
    // the file. False, with the last-error slot set, when any of it could not be written: the
    // package on disk is then not what was added to it. The package is closed either way.
    [[nodiscard]] bool close();

    [[nodiscard]] bool is_open() const override { return m_device != nullptr; }
    [[nodiscard]] bool is_read_only() const { return m_read_only; }
    [[nodiscard]] INT_U32 block_size() const { return m_block_size; }

    // Copies a file into the package under `member_name` (null: the file name), replacing a
    // member of that name. With `keep_going` a block that cannot be written is skipped rather
    // than ending the copy. A source that cannot be read to its end, or an entry list that is
    // damaged, ends the copy with false (4103) without adding a second entry of the name.
    bool add_file(const FOLDER& folder, const char* file_name, const char* member_name);
    bool add_file(const FOLDER& folder, const char* file_name, const char* member_name,
        bool keep_going, PACKAGE_PROGRESS progress, void* context);
    // Writes a member to a file (member_name null: the file name).
    bool extract_file(const FOLDER& folder, const char* file_name, const char* member_name) override;
    bool extract_file(const FOLDER& folder, const char* file_name, const char* member_name,
        PACKAGE_PROGRESS progress, void* context);

    // Hands the member's bytes to `sink` in order. False when the member is missing, its chain
    // is damaged or loops, the sink answered false (the slot is then the sink's), or a stop of
    // the run was requested (host.h); what the sink was given so far is then not the member.
    bool read_member(const char* member_name, PACKAGE_SINK sink, void* context) override;

    // A member as a device or a text file; null when it cannot be had (reading a member that
    // does not exist, a name longer than 255 bytes for writing, among others). Close them with
    // the two functions below, which answer false when a written member could not be put back
    // (see PACKAGE_MEMBER_LINK::finish); the member is then as it was before.
    [[nodiscard]] PACKAGE_DATA_FILE* open_member_data(const char* member_name, INT_S32 mode, INT_U8 order_marker);
    [[nodiscard]] PACKAGE_TEXT_FILE* open_member_text(const char* member_name, INT_S32 mode, bool wide);
    static bool close_member_data(PACKAGE_DATA_FILE** file);
    static bool close_member_text(PACKAGE_TEXT_FILE** file);

    // Looks a member up. With entry_out set the record is copied there (its name is not). False
    // when it is not there (last error untouched) or the entry list cannot be read (4103).
    bool find_entry(const char* name, PACKAGE_ENTRY* entry_out);
    [[nodiscard]] bool has_member(const char* name) override { return find_entry(name, nullptr); }
    // The member's length: the sum of `used` over its chain. False when it is not there.
    bool member_size(const char* name, INT_U64* size);
    // Calls back for each member in list order with its name and length; false when the list
    // could not be walked whole.
    typedef void (*MEMBER_CALLBACK)(const char* name, INT_U64 size, void* context);
    bool list_members(MEMBER_CALLBACK callback, void* context);

private:
    friend class PACKAGE_MEMBER_READER;
    bool fail(INT_U16 code, const char* detail);
    template <typename MEMBER_FILE, typename OPEN_FILE>
    MEMBER_FILE* open_member(const char* member_name, INT_S32 mode, OPEN_FILE open_file);
    bool open_existing(bool* existed);
    bool create_new(INT_U32 block_size);
    bool reopen_for_update();
    bool read_header();
    bool write_header();
    bool write_root();
    bool read_entry_at(INT_U32 position, PACKAGE_ENTRY* entry, bool with_name);
    bool write_entry(const PACKAGE_ENTRY& entry);
    bool load_cached_index();
    PACKAGE_ENTRY* find_cached(const char* name) const;
    bool look_up(const char* name, PACKAGE_ENTRY* entry_out, bool* found);
    void index_name(PACKAGE_ENTRY* entry);
    bool add_entry(const char* name, PACKAGE_ENTRY* entry);
    bool update_entry(const PACKAGE_ENTRY& entry);
    bool allocate_block(PACKAGE_ENTRY* entry, INT_U32* position);
    bool free_chain(PACKAGE_ENTRY* entry);
    bool read_block(INT_U32 position, INT_U32* next, INT_U32* used);
    bool write_block(INT_U32 position, INT_U32 next, INT_U32 used);
    bool chain_size(const PACKAGE_ENTRY& entry, INT_U64* size);
    bool walk_chain(const PACKAGE_ENTRY& entry, PACKAGE_SINK sink, void* context, INT_U64* size);
    bool next_entry_follows(const PACKAGE_ENTRY& entry) const;
    bool position_fits(INT_U32 position, INT_U32 length) const;
    INT_U32 most_blocks() const;
    void free_cached_entries();

    DATA_FILE* m_device { nullptr };
    INT_U32 m_header_position { 10 };
    INT_U32 m_block_size { 0 };
    INT_U32 m_root_position { 0 };
    INT_U32 m_free_head { 0 };
    INT_U32 m_free_tail { 0 };
    INT_U32 m_root_record_position { 0 };
    const char* m_root_name { "root" };
    INT_U32 m_first_entry { 0 };
    INT_U32 m_last_entry { 0 };
    INT_U32 m_reserved1 { 0 };
    INT_U32 m_reserved2 { 0 };
    INT_U32 m_reserved3 { 0 };
    PACKAGE_ENTRY* m_first_cached { nullptr };
    PACKAGE_ENTRY* m_last_cached { nullptr };
    bool m_cached_index { false };
    bool m_read_only { false };
    PTRARRAY m_cached_entries;
    // Open addressing over the cached entries, at most half full; null without a cached index.
    PACKAGE_ENTRY** m_name_index { nullptr };
    INT_U32 m_name_index_size { 0 };
    INT_U32 m_name_index_count { 0 };
    bool m_name_index_broken { false };

    FOLDER m_folder;
    char m_file_name[256] {};
    // One block's bytes: next_block, payload, used.
    INT_U8* m_block_buffer { nullptr };
};
