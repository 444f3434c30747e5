// What a TILED_IMAGE asks of whoever owns its pieces: shared pictures by name, a reference per
// holder, and private or resized copies that leave the other holders' pictures alone. The
// framework's image cache is the one real owner; keeping the tiled image on this narrow surface
// lets it be painted and tested without the cache's files and lists.
#pragma once

#include "base/orlu_types.h"

class IMAGE;

class IMAGE_STORE {
public:
    virtual ~IMAGE_STORE() = default;

    // The picture called name in the folder (a path), with a reference taken; -1 for a side means
    // any size. Null when there is none.
    virtual IMAGE* get(const char* folder, const char* name, INT_S16 width, INT_S16 height, INT_U32 flags) = 0;
    // A further holder of the same picture; answers the image, or null for one the store does not own.
    virtual IMAGE* add_reference(IMAGE* image) = 0;
    // One holder less. Null is ignored.
    virtual void release_image(IMAGE* image) = 0;
    // Replaces *image with the same picture at width by height, shared with other holders of that
    // size unless private_copy is set. Never changes the picture another holder sees.
    virtual void resize(IMAGE** image, INT_S16 width, INT_S16 height, bool private_copy) = 0;
    // Replaces *image with a copy that this holder alone may change.
    virtual void make_private(IMAGE** image) = 0;
};
