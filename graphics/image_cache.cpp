// IMAGE_CACHE: pictures held once, by reference count, one entry per size.
//
// Walks go over the list's nodes directly rather than through its built-in cursor, so that a walk
// inside a call made from another walk (release inside reload_all, say) cannot disturb it.
//
// [SECTION] Requests
// [SECTION] Holders
// [SECTION] Private copies and sizes
// [SECTION] Whole cache
// [SECTION] Stream form
#include "graphics/image_cache.h"
#include "graphics/image_cache_store.h"

#include <cstdio>
#include <cstring>
#include <new>

#include "base/error_report.h"
#include "io/folder.h"
#include "graphics/image_files.h"

IMAGE_CACHE image_cache;

namespace {

constexpr INT_U8 CACHE_STREAM_VERSION = 2;
// Longest name the stream form may carry; a file name is far shorter.
constexpr INT_S32 CACHE_MAX_NAME = ORLU_MAX_PATH;

// A PTRLLIST node holds a copy of the pointer it was given, not the pointer itself.
IMAGE_CACHE_ENTRY* entry_of_node(const LLIST_NODE* node)
{
    void* pointer = nullptr;
    if (node->data)
        memcpy(&pointer, node->data, sizeof pointer);
    return static_cast<IMAGE_CACHE_ENTRY*>(pointer);
}

char* copy_text(const char* text)
{
    size_t size = strlen(text) + 1;
    char* copy = new (std::nothrow) char[size];
    if (copy)
        memcpy(copy, text, size);
    return copy;
}

bool sizes_fit(INT_S16 wanted, INT_S16 held) { return wanted == -1 || wanted == held; }

// Whether a holder must get its own copy before changing the picture: when others hold it, or
// when it is the natural-size picture that later requests are scaled from. A modified picture is
// already private (never handed out by name), so its holder may go on changing it in place.
bool must_copy(const IMAGE_CACHE_ENTRY* entry)
{
    return entry->ref_count > 1 || (entry->at_natural_size() && !entry->modified);
}

} // namespace

IMAGE_CACHE::~IMAGE_CACHE()
{
    clear();
    // Holders of skin images that are destroyed later at exit must not release into it.
    if (this == &image_cache)
        image_cache_destroyed = true;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Requests
// ---------------------------------------------------------------------------------------------

IMAGE* IMAGE_CACHE::get(const FOLDER& folder, const char* name, INT_S16 width, INT_S16 height, INT_U32 flags)
{
    return get(folder.path(), name, width, height, flags);
}

IMAGE_CACHE_ENTRY* IMAGE_CACHE::find(const char* path, const char* name, INT_S16 width, INT_S16 height, INT_U32 flags,
    IMAGE_CACHE_ENTRY** source) const
{
    *source = nullptr;
    for (const LLIST_NODE* node = m_entries.head(); node; node = node->next) {
        IMAGE_CACHE_ENTRY* entry = entry_of_node(node);
        if (entry->modified || entry->stale)
            continue;
        if (!entry->name || strcmp(entry->name, name) != 0 || strcmp(entry->path, path) != 0)
            continue;
        if (sizes_fit(width, entry->width) && sizes_fit(height, entry->height))
            return entry;
        if (entry->at_natural_size()) {
            if (flags & CACHE_ANY_SIZE)
                return entry;
            *source = entry;
        }
    }
    return nullptr;
}

IMAGE* IMAGE_CACHE::get(const char* path, const char* name, INT_S16 width, INT_S16 height, INT_U32 flags)
{
    if (!path || !name)
        return nullptr;

    IMAGE_CACHE_ENTRY* source = nullptr;
    IMAGE_CACHE_ENTRY* hit = find(path, name, width, height, flags, &source);
    if (hit) {
        if (hit->ref_count == 0xFFFF)
            return nullptr;
        if ((flags & CACHE_RELOAD) && !load_entry(hit, hit->width, hit->height))
            hit->image.set_size(0, 0);
        ++hit->ref_count;
        return hit->image.height < 1 ? nullptr : &hit->image;
    }
    if (flags & CACHE_LOOK_ONLY)
        return nullptr;

    IMAGE_CACHE_ENTRY* entry = new (std::nothrow) IMAGE_CACHE_ENTRY;
    if (!entry)
        return nullptr;
    entry->name = copy_text(name);
    if (!entry->name || strlen(path) >= sizeof entry->path) {
        delete entry;
        return nullptr;
    }
    strcpy(entry->path, path);
    entry->ref_count = 1;
    entry->width = entry->base_width = width;
    entry->height = entry->base_height = height;

    if (source) {
        // Another size of a picture already here: scale from memory, read no file.
        entry->image.set_size(source->image.width, source->image.height);
        IMAGE::blit(&entry->image, &source->image, 0, 0, 0, 0, source->image.width, source->image.height, BLIT_COPY);
        entry->base_width = source->base_width;
        entry->base_height = source->base_height;
        if ((width != -1 && width != entry->image.width) || (height != -1 && height != entry->image.height))
            entry->image.scale(width, height, !fast_image_scaling);
        entry->width = entry->image.width;
        entry->height = entry->image.height;
    } else if (!load_entry(entry, width, height)) {
        if (m_release_when_unused || (flags & CACHE_MUST_LOAD)) {
            delete entry;
            return nullptr;
        }
        // Kept empty, so that the next request of this name does not try the file again.
        entry->image.set_size(0, 0);
    } else if (flags & CACHE_ANY_SIZE) {
        entry->width = entry->base_width;
        entry->height = entry->base_height;
    }

    if (!append(entry)) {
        delete entry;
        return nullptr;
    }
    return entry->image.height < 1 ? nullptr : &entry->image;
}

// Loads the entry's file at its natural size and records that as the base size; then, when a
// size was asked that differs, loads it again at that size so the picture is scaled once from the
// file rather than from an already scaled copy. CACHE_ANY_SIZE callers take the natural size.
bool IMAGE_CACHE::load_entry(IMAGE_CACHE_ENTRY* entry, INT_S16 width, INT_S16 height)
{
    FOLDER folder;
    if (!folder.set_raw(entry->path))
        return false;
    if (!entry->image.load(folder, entry->name, -1, -1))
        return false;
    entry->base_width = entry->image.width;
    entry->base_height = entry->image.height;
    bool differs = (width != -1 && width != entry->image.width) || (height != -1 && height != entry->image.height);
    if (differs && !entry->image.load(folder, entry->name, width, height))
        return false;
    entry->width = entry->image.width;
    entry->height = entry->image.height;
    return true;
}

bool IMAGE_CACHE::append(IMAGE_CACHE_ENTRY* entry)
{
    // The list inserts in front of its cursor; run the cursor off the end so the entry goes last.
    m_entries.cursor_to_tail();
    m_entries.next();
    if (!m_entries.insert(entry))
        return false;
    entry->image.cache_entry = entry;
    return true;
}

void IMAGE_CACHE::remove(IMAGE_CACHE_ENTRY* entry)
{
    if (m_entries.remove(entry))
        delete entry;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Holders
// ---------------------------------------------------------------------------------------------

IMAGE* IMAGE_CACHE::add_reference(IMAGE* image)
{
    IMAGE_CACHE_ENTRY* entry = entry_of(image);
    if (!entry || entry->ref_count == 0xFFFF)
        return nullptr;
    ++entry->ref_count;
    return image;
}

void IMAGE_CACHE::release(IMAGE_CACHE_ENTRY* entry)
{
    if (!entry)
        return;
    if (entry->ref_count > 0)
        --entry->ref_count;
    if (entry->ref_count == 0 && (m_release_when_unused || entry->stale))
        remove(entry);
}

INT_S16 IMAGE_CACHE::base_width(const IMAGE* image)
{
    const IMAGE_CACHE_ENTRY* entry = entry_of(image);
    if (entry)
        return entry->base_width;
    return image ? image->width : 0;
}

INT_S16 IMAGE_CACHE::base_height(const IMAGE* image)
{
    const IMAGE_CACHE_ENTRY* entry = entry_of(image);
    if (entry)
        return entry->base_height;
    return image ? image->height : 0;
}

IMAGE_CACHE_ENTRY* IMAGE_CACHE::entry_at(INT_S32 index) const
{
    const LLIST_NODE* node = m_entries.head();
    for (; node && index > 0; --index)
        node = node->next;
    return node && index == 0 ? entry_of_node(node) : nullptr;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Private copies and sizes
// ---------------------------------------------------------------------------------------------

IMAGE_CACHE_ENTRY* IMAGE_CACHE::copy_entry(const IMAGE_CACHE_ENTRY* entry)
{
    IMAGE_CACHE_ENTRY* copy = new (std::nothrow) IMAGE_CACHE_ENTRY;
    if (!copy)
        return nullptr;
    copy->name = copy_text(entry->name ? entry->name : "");
    if (!copy->name) {
        delete copy;
        return nullptr;
    }
    memcpy(copy->path, entry->path, sizeof copy->path);
    copy->width = entry->width;
    copy->height = entry->height;
    copy->base_width = entry->base_width;
    copy->base_height = entry->base_height;
    copy->modified = entry->modified;
    copy->stale = entry->stale;
    copy->ref_count = 1;
    copy->image.keep_aspect = entry->image.keep_aspect;
    copy->image.set_size(entry->image.width, entry->image.height);
    IMAGE::blit(&copy->image, &entry->image, 0, 0, 0, 0, entry->image.width, entry->image.height, BLIT_COPY);
    return copy;
}

void IMAGE_CACHE::resize(IMAGE** image, INT_S16 width, INT_S16 height, bool make_private)
{
    if (width < 0 || height < 0 || !image || !*image || m_entries.count() == 0)
        return;
    IMAGE_CACHE_ENTRY* entry = entry_of(*image);
    if (!entry || (entry->image.width == width && entry->image.height == height))
        return;

    // 1. Another holder's entry at that size is shared rather than scaled again.
    if (!entry->modified) {
        for (const LLIST_NODE* node = m_entries.tail(); node; node = node->previous) {
            IMAGE_CACHE_ENTRY* other = entry_of_node(node);
            if (other == entry || other->modified || other->stale || other->width != width || other->height != height)
                continue;
            if (!other->name || !entry->name || strcmp(other->name, entry->name) != 0 || strcmp(other->path, entry->path) != 0)
                continue;
            if (other->ref_count == 0xFFFF)
                break;
            ++other->ref_count;
            *image = &other->image;
            release(entry);
            return;
        }
    }

    // 2. A picture others hold, or the natural-size one, is copied before it is scaled.
    if (make_private || must_copy(entry)) {
        IMAGE_CACHE_ENTRY* copy = copy_entry(entry);
        if (!copy)
            return;
        if (!append(copy)) {
            delete copy;
            return;
        }
        release(entry);
        entry = copy;
        *image = &copy->image;
    }

    // 3.
    entry->image.scale(width, height, !fast_image_scaling);
    entry->width = width;
    entry->height = height;
}

bool IMAGE_CACHE::make_private(IMAGE** image)
{
    if (!image || !*image)
        return false;
    IMAGE_CACHE_ENTRY* entry = entry_of(*image);
    if (!entry)
        return false;
    if (must_copy(entry)) {
        IMAGE_CACHE_ENTRY* copy = copy_entry(entry);
        if (!copy)
            return false;
        if (!append(copy)) {
            delete copy;
            return false;
        }
        release(entry);
        entry = copy;
        *image = &copy->image;
    }
    entry->modified = 1;
    return true;
}

bool IMAGE_CACHE::replace_colour(IMAGE** image, const COLOUR& from, const COLOUR& to, bool ignore_alpha)
{
    if (!make_private(image))
        return false;
    (*image)->replace_colour(from, to, ignore_alpha);
    return true;
}

bool IMAGE_CACHE::recolour(IMAGE** image, const COLOUR& colour_r, const COLOUR& colour_g, const COLOUR& colour_b,
    bool keep_alpha)
{
    if (!make_private(image))
        return false;
    (*image)->recolour(colour_r, colour_g, colour_b, keep_alpha);
    return true;
}

bool IMAGE_CACHE::tint(IMAGE** image, const COLOUR& colour)
{
    if (!make_private(image))
        return false;
    (*image)->tint(colour);
    return true;
}

bool IMAGE_CACHE::greyscale(IMAGE** image)
{
    if (!make_private(image))
        return false;
    (*image)->greyscale();
    return true;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Whole cache
// ---------------------------------------------------------------------------------------------

bool IMAGE_CACHE::reload(IMAGE* image)
{
    IMAGE_CACHE_ENTRY* entry = entry_of(image);
    if (!entry)
        return false;
    if (load_entry(entry, entry->width, entry->height))
        return true;
    entry->image.set_size(0, 0);
    return false;
}

void IMAGE_CACHE::reload_all()
{
    for (const LLIST_NODE* node = m_entries.head(); node; node = node->next) {
        IMAGE_CACHE_ENTRY* entry = entry_of_node(node);
        if (!entry->stale)
            (void)reload(&entry->image);
    }
}

void IMAGE_CACHE::flush()
{
    const LLIST_NODE* node = m_entries.head();
    while (node) {
        IMAGE_CACHE_ENTRY* entry = entry_of_node(node);
        node = node->next;
        if (entry->ref_count == 0)
            remove(entry);
        else
            entry->stale = 1;
    }
}

void IMAGE_CACHE::clear()
{
    while (m_entries.head())
        remove(entry_of_node(m_entries.head()));
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Stream form
// ---------------------------------------------------------------------------------------------

bool IMAGE_CACHE::put_to_data_device(DATA_DEVICE* device) const
{
    INT_S32 count = 0;
    for (const LLIST_NODE* node = m_entries.head(); node; node = node->next) {
        const IMAGE_CACHE_ENTRY* entry = entry_of_node(node);
        if (!entry->modified && !entry->stale)
            ++count;
    }
    if (!device_write(device, CACHE_STREAM_VERSION) || !device_write(device, count))
        return set_last_error(ERROR_WRITE, "image cache");
    for (const LLIST_NODE* node = m_entries.head(); node; node = node->next) {
        const IMAGE_CACHE_ENTRY* entry = entry_of_node(node);
        if (entry->modified || entry->stale)
            continue;
        INT_S32 length = entry->name ? static_cast<INT_S32>(strlen(entry->name)) : 0;
        bool ok = device_write_bytes(device, entry->path, sizeof entry->path) && device_write(device, length)
            && (length == 0 || device_write_bytes(device, entry->name, length)) && device_write(device, entry->width)
            && device_write(device, entry->height) && device_write(device, entry->base_width)
            && device_write(device, entry->base_height);
        if (!ok)
            return set_last_error(ERROR_WRITE, "image cache");
        if (!entry->image.put_to_data_device(device))
            return false;
    }
    return true;
}

bool IMAGE_CACHE::get_from_data_device(DATA_DEVICE* device)
{
    flush();
    INT_U8 version = 0;
    INT_S32 count = 0;
    if (!device_read(device, &version) || !device_read(device, &count))
        return set_last_error(ERROR_READ, "image cache (short header)");
    if (version > CACHE_STREAM_VERSION)
        return set_last_error(ERROR_READ, "image cache (unknown version)");

    for (INT_S32 i = 0; i < count; ++i) {
        IMAGE_CACHE_ENTRY* entry = new (std::nothrow) IMAGE_CACHE_ENTRY;
        if (!entry)
            return set_last_error(ERROR_READ, "image cache (no memory)");
        bool ok = true;
        if (version >= 2) {
            ok = device_read_bytes(device, entry->path, sizeof entry->path);
        } else {
            // Older streams carry the folder itself in place of its path.
            FOLDER folder;
            ok = folder.get_from_data_device(device);
            if (ok)
                snprintf(entry->path, sizeof entry->path, "%s", folder.path());
        }
        entry->path[sizeof entry->path - 1] = 0;
        INT_S32 length = 0;
        ok = ok && device_read(device, &length);
        if (ok && (length < 0 || length > CACHE_MAX_NAME)) {
            delete entry;
            return set_last_error(ERROR_READ, "image cache (bad name length)");
        }
        if (ok) {
            entry->name = new (std::nothrow) char[length + 1];
            ok = entry->name && (length == 0 || device_read_bytes(device, entry->name, length));
            if (entry->name)
                entry->name[length] = 0;
        }
        ok = ok && device_read(device, &entry->width) && device_read(device, &entry->height)
            && device_read(device, &entry->base_width) && device_read(device, &entry->base_height);
        if (!ok) {
            delete entry;
            return set_last_error(ERROR_READ, "image cache (short entry)");
        }
        if (!entry->image.get_from_data_device(device) || !append(entry)) {
            delete entry;
            return false;
        }
    }
    return true;
}
