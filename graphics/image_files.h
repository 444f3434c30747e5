// Limits and helpers shared by the image file readers and writers (the members of IMAGE that
// load and save PNG, JPEG, PCX, the raw form and compiled-in arrays).
//
// Picture files are untrusted input: a skin can come from anywhere. Every reader checks the sides
// and the pixel count that a file declares against the limits here before anything is allocated,
// and compares what the file declares with how many bytes the device still holds where the
// format allows it, so that a short or forged header never costs a large allocation.
#pragma once

#include "base/data_device.h"
#include "base/orlu_types.h"

// A side of an IMAGE is a signed 16-bit coordinate.
constexpr INT_S32 IMAGE_MAX_SIDE = 32767;
// Bytes in front of the pixels of a compiled-in image array: version, width, height.
constexpr size_t IMAGE_ARRAY_HEADER_SIZE = 5;
// The default pixel budget of one decoded picture: 64 Mi pixels, 256 MiB of pixels. Far above any
// skin or splash, far below what would take the machine down.
constexpr INT_S64 IMAGE_DEFAULT_PIXEL_LIMIT = 64LL * 1024 * 1024;

// The pixel budget of one decoded picture. Fuzzers and tests lower it to keep runs fast.
[[nodiscard]] INT_S64 image_pixel_limit();
// Sets the budget; a value below 1 restores the default.
void set_image_pixel_limit(INT_S64 pixels);

// True when width by height is a picture a reader may allocate: both sides from 0 to
// IMAGE_MAX_SIDE and the product within the pixel budget. Otherwise false with the last-error
// slot set to ERROR_READ and a detail naming `what` and the size.
[[nodiscard]] bool image_size_acceptable(INT_S64 width, INT_S64 height, const char* what);

// The bytes between the device's position and its end, or -1 when the device cannot tell (it
// cannot seek to its end and back). The position is unchanged afterwards.
[[nodiscard]] INT_S64 device_bytes_left(DATA_DEVICE* device);
