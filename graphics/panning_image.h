// PANNING_IMAGE: a view on a larger picture that drifts slowly back and forth, for the
// backgrounds of full-window pages.
#pragma once

#include "graphics/image.h"
#include "graphics/image_cache.h"
#include "base/orlu_types.h"

class FOLDER;

// The picture's centre traces a zigzag: across and back once per period horizontally, with the
// vertical motion half a period out of step.
class PANNING_IMAGE {
public:
    PANNING_IMAGE() = default;
    ~PANNING_IMAGE() { close(); }
    PANNING_IMAGE(const PANNING_IMAGE&) = delete;
    PANNING_IMAGE& operator=(const PANNING_IMAGE&) = delete;

    // Loads the picture at image_width by image_height (0 or less: twice the view), through the
    // cache when one is given, else privately. A period of 0 keeps the view still. False when
    // the picture cannot be loaded; the view then draws nothing.
    bool open(INT_S16 x, INT_S16 y, INT_S16 view_width, INT_S16 view_height, const FOLDER& folder, const char* name,
        INT_S32 period, INT_S16 image_width = 0, INT_S16 image_height = 0, IMAGE_CACHE* cache = nullptr);
    // Moves the view for the time now (milliseconds); true when it moved.
    bool update(INT_U32 now);
    // The same with the process clock.
    bool update();
    // Paints the view onto the target (null: the back buffer), blending.
    void draw(IMAGE* target = nullptr) const;
    // Starts a journey at `now` from the starting offsets.
    void restart(INT_U32 now);
    // Gives the picture back.
    void close();

    [[nodiscard]] INT_S16 offset_x() const { return m_offset_x; }
    [[nodiscard]] INT_S16 offset_y() const { return m_offset_y; }
    [[nodiscard]] const IMAGE* image() const { return m_image; }

private:
    INT_S16 m_x { 0 };
    INT_S16 m_y { 0 };
    INT_S16 m_view_width { 0 };
    INT_S16 m_view_height { 0 };
    INT_S16 m_offset_x { 0 };
    INT_S16 m_offset_y { 0 };
    INT_S16 m_image_width { 0 };
    INT_S16 m_image_height { 0 };
    INT_S32 m_period { 0 };
    INT_U32 m_start_time { 0 };
    IMAGE* m_image { nullptr };
    IMAGE_CACHE* m_cache { nullptr };
};
