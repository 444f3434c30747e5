// IMAGE_CACHE: every picture that skins and style sets use, held once with a count of holders.
//
// A request names a folder, a file name and a size, and answers an IMAGE that other holders may
// share. Each size of a picture is its own entry, so that a skin used at several sizes pays for
// each size once; the entry at the file's natural size is never changed in place, so that later
// requests can be scaled from it without reading the file again. A holder that wants to change
// its picture asks for a private copy first (make_private and the filters below), and the other
// holders never see the change.
//
// [SECTION] Entries and flags
// [SECTION] IMAGE_CACHE
#pragma once

#include "graphics/colour.h"
#include "base/containers.h"
#include "base/data_device.h"
#include "graphics/image.h"
#include "base/orlu_types.h"

class FOLDER;

// ---------------------------------------------------------------------------------------------
// [SECTION] Entries and flags
// ---------------------------------------------------------------------------------------------

// Flags of IMAGE_CACHE::get.
enum IMAGE_CACHE_FLAGS : INT_U32 {
    CACHE_MUST_LOAD = 1, // a file that cannot be loaded deletes its entry and answers null
    CACHE_RELOAD = 2,    // a hit reads the picture from the file again
    CACHE_ANY_SIZE = 4,  // the entry at the natural size answers whatever size is asked
    CACHE_LOOK_ONLY = 8, // a miss answers null and creates nothing
};

// One picture at one size. Owned by the cache's list; holders keep a pointer to `image`, whose
// `cache_entry` points back here.
class IMAGE_CACHE_ENTRY {
public:
    IMAGE_CACHE_ENTRY() = default;
    ~IMAGE_CACHE_ENTRY() { delete[] name; }
    IMAGE_CACHE_ENTRY(const IMAGE_CACHE_ENTRY&) = delete;
    IMAGE_CACHE_ENTRY& operator=(const IMAGE_CACHE_ENTRY&) = delete;

    // True at the size the file has, or before any size was known.
    [[nodiscard]] bool at_natural_size() const
    {
        return width == -1 || (width == base_width && height == base_height);
    }

    char path[ORLU_MAX_PATH] {}; // folder as a full path
    char* name { nullptr };      // file name as requested, with or without extension
    INT_S16 width { -1 };        // size of this entry; -1 until loaded when none was asked
    INT_S16 height { -1 };
    INT_S16 base_width { -1 };   // size of the file as first loaded
    INT_S16 base_height { -1 };
    IMAGE image;
    INT_U16 ref_count { 0 };
    INT_U8 modified { 0 };       // changed by a filter: never matched by name, never saved
    INT_U8 stale { 0 };          // flushed while held: deleted at the last release
};

// ---------------------------------------------------------------------------------------------
// [SECTION] IMAGE_CACHE
// ---------------------------------------------------------------------------------------------

class IMAGE_CACHE : public DATA_DEVICE_CLIENT {
public:
    IMAGE_CACHE() = default;
    // Deletes every entry, held or not.
    ~IMAGE_CACHE() override;
    IMAGE_CACHE(const IMAGE_CACHE&) = delete;
    IMAGE_CACHE& operator=(const IMAGE_CACHE&) = delete;

    // The picture `name` in the folder (given as a FOLDER or as its path) at width by height,
    // -1 for a side meaning any, with one reference taken. Null when the picture has no pixels,
    // when a miss comes with CACHE_LOOK_ONLY, when the file cannot be loaded and the entry is
    // dropped (release_when_unused or CACHE_MUST_LOAD), and when memory runs out. A file that
    // cannot be loaded otherwise leaves an empty entry, so the file is not tried again.
    [[nodiscard]] IMAGE* get(const FOLDER& folder, const char* name, INT_S16 width, INT_S16 height, INT_U32 flags);
    [[nodiscard]] IMAGE* get(const char* path, const char* name, INT_S16 width, INT_S16 height, INT_U32 flags);

    // A second holder of the same picture; answers the image, or null for an image without an
    // entry.
    IMAGE* add_reference(IMAGE* image);
    // One holder less. Safe on null and on entries of other caches (ignored).
    void release(IMAGE_CACHE_ENTRY* entry);
    void release(IMAGE* image) { release(entry_of(image)); }

    [[nodiscard]] static IMAGE_CACHE_ENTRY* entry_of(const IMAGE* image) { return image ? image->cache_entry : nullptr; }
    // The natural size, or the image's own size for an image that is not in a cache (0 for null).
    [[nodiscard]] static INT_S16 base_width(const IMAGE* image);
    [[nodiscard]] static INT_S16 base_height(const IMAGE* image);

    // Gives the holder of *image the picture at width by height: a shared entry of that size if
    // there is one, else its own copy (when `make_private` is set, the picture is shared or it is
    // the natural-size entry) scaled to the size. Does nothing for negative sizes, a null or
    // uncached image, or a picture at that size already; on a failed allocation the holder keeps
    // what it had.
    void resize(IMAGE** image, INT_S16 width, INT_S16 height, bool make_private);
    // Gives the holder a picture that it alone may change and marks it modified. False (the
    // holder keeps the shared picture) when memory runs out or the image is not in the cache.
    bool make_private(IMAGE** image);
    // make_private, then the filter of IMAGE. False, unchanged, when make_private fails.
    bool replace_colour(IMAGE** image, const COLOUR& from, const COLOUR& to, bool ignore_alpha);
    bool recolour(IMAGE** image, const COLOUR& colour_r, const COLOUR& colour_g, const COLOUR& colour_b, bool keep_alpha);
    bool tint(IMAGE** image, const COLOUR& colour);
    bool greyscale(IMAGE** image);

    // Reads every entry that is not stale from its file again, at its size. A picture that no
    // longer loads becomes empty.
    void reload_all();
    // The same for one image; false when it is not in the cache or no longer loads.
    bool reload(IMAGE* image);
    // Deletes entries that nobody holds and marks the others stale.
    void flush();
    // Deletes every entry, held or not: pointers that holders keep are dangling afterwards.
    void clear();

    [[nodiscard]] bool release_when_unused() const { return m_release_when_unused != 0; }
    void set_release_when_unused(bool release) { m_release_when_unused = release; }
    [[nodiscard]] INT_S32 entry_count() const { return m_entries.count(); }
    // The entries in order of creation, for reports and tests; null past the end.
    [[nodiscard]] IMAGE_CACHE_ENTRY* entry_at(INT_S32 index) const;

    // Stream form: version 2, the count of entries that are neither modified nor stale, then each
    // such entry (path, name, sizes, picture in the raw form). Reading flushes first and adds the
    // entries unheld. False, with the last-error slot set, for an unknown version, a name longer
    // than the device holds, a picture the raw reader refuses, or a short read; the entries read
    // before the failure stay.
    [[nodiscard]] bool get_from_data_device(DATA_DEVICE* device) override;
    [[nodiscard]] bool put_to_data_device(DATA_DEVICE* device) const override;

private:
    IMAGE_CACHE_ENTRY* find(const char* path, const char* name, INT_S16 width, INT_S16 height, INT_U32 flags,
        IMAGE_CACHE_ENTRY** source) const;
    // A new entry with a copy of the picture and of name, path, base sizes and flags; null when
    // memory runs out. Not yet in the list.
    IMAGE_CACHE_ENTRY* copy_entry(const IMAGE_CACHE_ENTRY* entry);
    bool append(IMAGE_CACHE_ENTRY* entry);
    void remove(IMAGE_CACHE_ENTRY* entry);
    bool load_entry(IMAGE_CACHE_ENTRY* entry, INT_S16 width, INT_S16 height);

    PTRLLIST m_entries;
    INT_U8 m_release_when_unused { 0 };
};

// The program's one cache, made at static start-up and emptied at exit.
extern IMAGE_CACHE image_cache;
