// Two-pass separable resampling of a COLOUR block: rows first into a temporary block, then
// columns into the destination. The filter is a class with width() and filter(x); the framework
// uses the bilinear one.
//
// Every channel, alpha included, is accumulated in 8 bits and truncated after each contribution
// (colours are not premultiplied). The slight darkening this gives is part of the look.
#pragma once

#include <cmath>
#include <cstring>
#include <new>

#include "graphics/colour.h"

// f(x) = 1 - |x| inside (-1, 1), 0 elsewhere.
class CBilinearFilter {
public:
    [[nodiscard]] double width() const { return 1.0; }
    [[nodiscard]] double filter(double x) const
    {
        double a = x < 0 ? -x : x;
        return a < 1.0 ? 1.0 - a : 0.0;
    }
};

template <class FILTER>
class C2PassScale {
public:
    // Called once per row of the first pass and per column of the second with 0..100; answering
    // false aborts the scale.
    typedef bool (*PROGRESS_CALLBACK)(INT_U8 percent);

    explicit C2PassScale(PROGRESS_CALLBACK callback = nullptr) : progress(callback) {}
    virtual ~C2PassScale() = default;

    // Resamples source into destination and answers destination; null when the callback aborted
    // (aborted is then set) or the work memory could not be had. Sizes below 1 answer null.
    COLOUR* scale(const COLOUR* source, INT_U32 source_width, INT_U32 source_stride, INT_U32 source_height,
        COLOUR* destination, INT_U32 destination_width, INT_U32 destination_stride, INT_U32 destination_height);

    PROGRESS_CALLBACK progress { nullptr };
    bool aborted { false };

private:
    struct CONTRIBUTION {
        INT_S32 left { 0 };
        INT_S32 right { 0 };
        double* weights { nullptr }; // indexed from left
    };
    struct TABLE {
        CONTRIBUTION* entries { nullptr };
        INT_U32 count { 0 };
        ~TABLE()
        {
            if (entries)
                for (INT_U32 i = 0; i < count; ++i)
                    delete[] entries[i].weights;
            delete[] entries;
        }
    };

    bool build_table(TABLE& table, INT_U32 source_size, INT_U32 destination_size);
    static COLOUR apply(const COLOUR* first, ptrdiff_t step, const CONTRIBUTION& contribution);

    FILTER m_filter;
};

template <class FILTER>
bool C2PassScale<FILTER>::build_table(TABLE& table, INT_U32 source_size, INT_U32 destination_size)
{
    table.entries = new (std::nothrow) CONTRIBUTION[destination_size];
    if (!table.entries)
        return false;
    table.count = destination_size;
    double s = static_cast<double>(destination_size) / source_size;
    double w = m_filter.width();
    double factor = 1.0;
    INT_S32 window = 4;
    if (s < 1.0) {
        w = m_filter.width() / s;
        factor = s;
        window = 2 * static_cast<INT_S32>(std::ceil(w)) + 2;
    }
    INT_S32 last = static_cast<INT_S32>(source_size) - 1;
    for (INT_U32 i = 0; i < destination_size; ++i) {
        CONTRIBUTION& entry = table.entries[i];
        double centre = i / s;
        INT_S32 left = static_cast<INT_S32>(std::floor(centre - w));
        INT_S32 right = static_cast<INT_S32>(std::ceil(centre + w));
        if (left < 0)
            left = 0;
        if (right > last)
            right = last;
        entry.left = left;
        entry.right = right;
        entry.weights = new (std::nothrow) double[static_cast<size_t>(right - left + 1)]();
        if (!entry.weights)
            return false;
        // A window one wider than the filter reaches loses its outer end, on the side away from
        // the nearer edge.
        INT_S32 from = left, to = right;
        if (right - left >= window) {
            if (left < last / 2)
                ++from;
            else
                --to;
        }
        double total = 0;
        for (INT_S32 j = from; j <= to; ++j) {
            double weight = factor * m_filter.filter(std::fabs(centre - j) * factor);
            entry.weights[j - left] = weight;
            total += weight;
        }
        if (total > 0)
            for (INT_S32 j = from; j <= to; ++j)
                entry.weights[j - left] /= total;
    }
    return true;
}

template <class FILTER>
COLOUR C2PassScale<FILTER>::apply(const COLOUR* first, ptrdiff_t step, const CONTRIBUTION& contribution)
{
    INT_U8 channels[4] = { 0, 0, 0, 0 };
    for (INT_S32 j = contribution.left; j <= contribution.right; ++j) {
        double weight = contribution.weights[j - contribution.left];
        INT_U32 v = first[j * step].value;
        for (int c = 0; c < 4; ++c) {
            double sum = channels[c] + ((v >> (c * 8)) & 0xFF) * weight;
            channels[c] = static_cast<INT_U8>(static_cast<INT_S32>(sum) & 0xFF);
        }
    }
    return COLOUR::from_channels(channels[0], channels[1], channels[2], channels[3]);
}

template <class FILTER>
COLOUR* C2PassScale<FILTER>::scale(const COLOUR* source, INT_U32 source_width, INT_U32 source_stride,
    INT_U32 source_height, COLOUR* destination, INT_U32 destination_width, INT_U32 destination_stride,
    INT_U32 destination_height)
{
    aborted = false;
    if (!source || !destination || source_width < 1 || source_height < 1 || destination_width < 1
        || destination_height < 1)
        return nullptr;
    INT_U64 temporary_size = static_cast<INT_U64>(destination_stride) * source_height;
    if (temporary_size > SIZE_MAX / sizeof(COLOUR))
        return nullptr;
    COLOUR* temporary = new (std::nothrow) COLOUR[static_cast<size_t>(temporary_size)]();
    if (!temporary)
        return nullptr;

    {
        TABLE table;
        if (!build_table(table, source_width, destination_width)) {
            delete[] temporary;
            return nullptr;
        }
        for (INT_U32 y = 0; y < source_height; ++y) {
            if (progress && !progress(static_cast<INT_U8>(50 * y / source_height))) {
                aborted = true;
                delete[] temporary;
                return nullptr;
            }
            const COLOUR* from = source + static_cast<size_t>(y) * source_stride;
            COLOUR* to = temporary + static_cast<size_t>(y) * destination_stride;
            for (INT_U32 x = 0; x < destination_width; ++x)
                to[x] = apply(from, 1, table.entries[x]);
        }
    }

    TABLE table;
    if (!build_table(table, source_height, destination_height)) {
        delete[] temporary;
        return nullptr;
    }
    for (INT_U32 x = 0; x < destination_width; ++x) {
        if (progress && !progress(static_cast<INT_U8>(50 + 50 * x / destination_width))) {
            aborted = true;
            delete[] temporary;
            return nullptr;
        }
        for (INT_U32 y = 0; y < destination_height; ++y)
            destination[static_cast<size_t>(y) * destination_stride + x]
                = apply(temporary + x, static_cast<ptrdiff_t>(destination_stride), table.entries[y]);
    }
    delete[] temporary;
    return destination;
}
