#include "wm/widgets/wm_progress_bar.h"

#include <cstdio>
#include <cstdlib>

INT_S32 progress_fill_length(INT_S32 length, INT_S32 value, INT_S32 total, INT_S32 thickness)
{
    if (length < 1)
        return 0;
    INT_S64 filled = total == 0 ? length : static_cast<INT_S64>(length) * value / total + 1;
    INT_S64 cap = 2 * static_cast<INT_S64>(thickness);
    if (filled <= cap)
        filled = cap + 1;
    if (filled > length)
        filled = length;
    if (filled < 0)
        filled = 0;
    return static_cast<INT_S32>(filled);
}

const char* progress_percentage_text(INT_S32 value, INT_S32 total, char* buffer, size_t size)
{
    if (!buffer || size == 0)
        return "";
    if (total == 0)
        snprintf(buffer, size, "100%%");
    else
        snprintf(buffer, size, "%lld%%", static_cast<long long>(static_cast<INT_S64>(value) * 100 / total));
    return buffer;
}

const char* progress_alt_percentage_text(INT_S32 value, INT_S32 total, char* buffer, size_t size)
{
    if (!buffer || size == 0)
        return "";
    if (total == 0)
        snprintf(buffer, size, "100%%");
    else
        snprintf(buffer, size, "%lld%%", static_cast<long long>((10000 - 100 * static_cast<INT_S64>(value)) / total));
    return buffer;
}

INT_S16 progress_scroll_step(INT_S16 scroll, INT_S32 size, INT_S16 rate, INT_U32 elapsed)
{
    if (size < 1 || rate == 0)
        return scroll;
    INT_S32 distance = static_cast<INT_S32>((elapsed / static_cast<INT_U32>(abs(rate))) % static_cast<INT_U32>(size));
    if (rate < 0)
        distance = -distance;
    INT_S32 moved = scroll + distance;
    if (moved >= size)
        moved -= size;
    if (moved < 0)
        moved += size;
    return static_cast<INT_S16>(moved);
}
