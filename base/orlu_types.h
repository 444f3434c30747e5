// Scalar types of the framework. Every stored format is defined in these widths, so they are
// fixed-size on every build; only PTR_INT_CAST and PTR follow the machine's word.
#pragma once

#include <cstddef>
#include <cstdint>

typedef int8_t INT_S8;
typedef uint8_t INT_U8;
typedef int16_t INT_S16;
typedef uint16_t INT_U16;
typedef int32_t INT_S32;
typedef uint32_t INT_U32;
typedef int64_t INT_S64;
typedef uint64_t INT_U64;
typedef float FLOAT_32;
typedef double FLOAT_64;
typedef intptr_t PTR_INT_CAST;
typedef void* PTR;

// Word size of this build in bits, as the version and system reports print it.
constexpr int ORLU_APP_BITS = static_cast<int>(sizeof(void*) * 8);

// Longest path a FOLDER holds, terminator included.
constexpr int ORLU_MAX_PATH = 2048;
