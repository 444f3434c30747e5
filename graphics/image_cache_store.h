// The program's image cache seen through IMAGE_STORE, the narrow surface that TILED_IMAGE asks
// for. Skin images of style sets take their pieces from here.
#pragma once

#include "graphics/image_store.h"

class IMAGE_CACHE;

class IMAGE_CACHE_STORE : public IMAGE_STORE {
public:
    explicit IMAGE_CACHE_STORE(IMAGE_CACHE* cache) : m_cache(cache) {}

    IMAGE* get(const char* folder, const char* name, INT_S16 width, INT_S16 height, INT_U32 flags) override;
    IMAGE* add_reference(IMAGE* image) override;
    void release_image(IMAGE* image) override;
    void resize(IMAGE** image, INT_S16 width, INT_S16 height, bool private_copy) override;
    void make_private(IMAGE** image) override;

private:
    IMAGE_CACHE* m_cache;
};

// The store over the global `image_cache`. It outlives every static holder of skin images: once
// the cache itself has been destroyed at exit, requests and releases are ignored rather than
// reaching into freed entries.
IMAGE_STORE* image_cache_store();

// Set by the global cache's destructor.
extern bool image_cache_destroyed;
