// Checks of single pixels of a picture, several to a line; a failure names the place.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>

#include "graphics/image.h"

struct PIXEL {
    INT_S32 x, y;
    COLOUR colour;
};

inline void expect_pixels(const IMAGE& image, std::initializer_list<PIXEL> pixels)
{
    for (const PIXEL& pixel : pixels)
        EXPECT_EQ(image.at(pixel.x, pixel.y), pixel.colour) << "at (" << pixel.x << ", " << pixel.y << ")";
}
