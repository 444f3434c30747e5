// The image cache behind the IMAGE_STORE interface of tiled images.

#include "graphics/image_cache_store.h"

#include "graphics/image_cache.h"
#include "base/static_order.h"

bool image_cache_destroyed = false;

namespace {

IMAGE_CACHE_STORE global_store ORLU_INIT_IMAGE_STORE(&image_cache);

} // namespace

IMAGE* IMAGE_CACHE_STORE::get(const char* folder, const char* name, INT_S16 width, INT_S16 height, INT_U32 flags)
{
    if (image_cache_destroyed || !folder || !name)
        return nullptr;
    return m_cache->get(folder, name, width, height, flags);
}

IMAGE* IMAGE_CACHE_STORE::add_reference(IMAGE* image)
{
    if (image_cache_destroyed)
        return nullptr;
    return m_cache->add_reference(image);
}

void IMAGE_CACHE_STORE::release_image(IMAGE* image)
{
    if (image_cache_destroyed || !image)
        return;
    m_cache->release(image);
}

void IMAGE_CACHE_STORE::resize(IMAGE** image, INT_S16 width, INT_S16 height, bool private_copy)
{
    if (image_cache_destroyed)
        return;
    m_cache->resize(image, width, height, private_copy);
}

void IMAGE_CACHE_STORE::make_private(IMAGE** image)
{
    if (image_cache_destroyed)
        return;
    m_cache->make_private(image);
}

IMAGE_STORE* image_cache_store()
{
    return &global_store;
}
