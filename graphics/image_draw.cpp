// IMAGE shape primitives: gradients, lines, outlines, the exclusive-or frame, rounded boxes and
// circles.
//
// [SECTION] Helpers
// [SECTION] Gradients
// [SECTION] Lines and outlines
// [SECTION] Rounded boxes
// [SECTION] Circles

#include <cmath>
#include <cstring>
#include <new>

#include "base/error_report.h"
#include "graphics/image.h"
#include "graphics/image_kernels.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Helpers
// ---------------------------------------------------------------------------------------------

namespace {

void order(INT_S32& a, INT_S32& b)
{
    if (a > b) {
        INT_S32 held = a;
        a = b;
        b = held;
    }
}

INT_S32 absolute(INT_S32 v) { return v < 0 ? -v : v; }
INT_S32 sign(INT_S32 v) { return v > 0 ? 1 : (v < 0 ? -1 : 0); }

// a + (b - a) * i / n in every channel, alpha included, each truncated and wrapped to 8 bits.
// A one-row gradient (n = 0) simply shows colour_a.
COLOUR interpolate(const COLOUR& a, const COLOUR& b, INT_S32 i, INT_S32 n)
{
    if (n == 0)
        return a;
    INT_U32 out = 0;
    for (int shift = 0; shift < 32; shift += 8) {
        INT_S32 ca = static_cast<INT_S32>((a.value >> shift) & 0xFF);
        INT_S32 cb = static_cast<INT_S32>((b.value >> shift) & 0xFF);
        INT_S32 c = ca + (cb - ca) * i / n;
        out |= (static_cast<INT_U32>(c) & 0xFF) << shift;
    }
    return COLOUR(out);
}

} // namespace

bool IMAGE::begin_primitive(const COLOUR& colour, bool colour_required)
{
    if (clip_is_empty())
        return false;
    if (colour_required && colour.alpha() == 0)
        fatal_error(0x0003, nullptr);
    if (!pixels)
        fatal_error(0x0002, nullptr);
    return true;
}

void IMAGE::plot(INT_S32 x, INT_S32 y, const COLOUR& colour, bool blend)
{
    if (x < clip_left || x > clip_right || y < clip_top || y > clip_bottom)
        return;
    if (blend)
        blend_colour(at(x, y), colour);
    else
        at(x, y) = colour;
}

INT_S16 IMAGE::default_corner_radius(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2)
{
    INT_S32 across = (x2 - x1 + 1) / 3;
    INT_S32 down = (y2 - y1 + 1) / 3;
    return static_cast<INT_S16>(across < down ? across : down);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Gradients
// ---------------------------------------------------------------------------------------------

void IMAGE::gradient_box_vertical(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const COLOUR& colour_a,
    const COLOUR& colour_b, bool blend)
{
    // The fraction runs over the rectangle as passed, so a clipped part keeps its colours.
    INT_S32 first = (y1 < y2 ? y1 : y2) - y_origin;
    INT_S32 span = absolute(y2 - y1);
    INT_S32 left = x1, top = y1, right = x2, bottom = y2;
    if (!clip_box(left, top, right, bottom))
        return;
    mark_dirty_pixels(left, top, right, bottom);
    for (INT_S32 y = top; y <= bottom; ++y) {
        COLOUR colour = interpolate(colour_a, colour_b, y - first, span);
        if (blend)
            kernel_blend_fill_rows(row(y) + left, stride, right - left + 1, 1, colour);
        else
            kernel_fill_rows(row(y) + left, stride, right - left + 1, 1, colour);
    }
}

void IMAGE::gradient_box_horizontal(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const COLOUR& colour_a,
    const COLOUR& colour_b, bool blend)
{
    INT_S32 first = (x1 < x2 ? x1 : x2) - x_origin;
    INT_S32 span = absolute(x2 - x1);
    INT_S32 left = x1, top = y1, right = x2, bottom = y2;
    if (!clip_box(left, top, right, bottom))
        return;
    mark_dirty_pixels(left, top, right, bottom);
    INT_S32 run = right - left + 1;
    // The colours of one row, worked out once and reused for every row.
    COLOUR* colours = new (std::nothrow) COLOUR[static_cast<size_t>(run)];
    for (INT_S32 y = top; y <= bottom; ++y) {
        COLOUR* p = row(y) + left;
        for (INT_S32 i = 0; i < run; ++i) {
            COLOUR colour;
            if (colours && y != top)
                colour = colours[i];
            else
                colour = interpolate(colour_a, colour_b, left + i - first, span);
            if (colours && y == top)
                colours[i] = colour;
            if (blend)
                blend_colour(p[i], colour);
            else
                p[i] = colour;
        }
    }
    delete[] colours;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Lines and outlines
// ---------------------------------------------------------------------------------------------

void IMAGE::draw_line(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const COLOUR& colour, INT_S16 thickness,
    bool blend)
{
    if (!begin_primitive(colour, true))
        return;
    if (thickness < 2) {
        draw_line_1(x1 - x_origin, y1 - y_origin, x2 - x_origin, y2 - y_origin, colour, blend);
        return;
    }
    // Thick lines are one-pixel lines side by side across the minor axis, centred on the line.
    bool y_major = absolute(x2 - x1) < absolute(y2 - y1);
    for (INT_S32 k = 0; k < thickness; ++k) {
        INT_S32 offset = k - thickness / 2;
        if (y_major)
            draw_line(static_cast<INT_S16>(x1 + offset), y1, static_cast<INT_S16>(x2 + offset), y2, colour, 1, blend);
        else
            draw_line(x1, static_cast<INT_S16>(y1 + offset), x2, static_cast<INT_S16>(y2 + offset), colour, 1, blend);
    }
}

void IMAGE::draw_line_1(INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2, const COLOUR& colour, bool blend)
{
    INT_S32 dx = absolute(x2 - x1);
    INT_S32 dy = absolute(y2 - y1);
    bool y_major = dx < dy;
    if ((y_major && y1 > y2) || (!y_major && x1 > x2)) {
        INT_S32 hx = x1, hy = y1;
        x1 = x2;
        y1 = y2;
        x2 = hx;
        y2 = hy;
    }
    mark_dirty_pixels(x1, y1, x2, y2);
    INT_S32 error = 0;
    if (y_major) {
        INT_S32 step = sign(x2 - x1);
        INT_S32 x = x1;
        for (INT_S32 y = y1; y <= y2; ++y) {
            if (error >= dy) {
                error -= dy;
                x += step;
            }
            plot(x, y, colour, blend);
            error += dx;
        }
        return;
    }
    INT_S32 step = sign(y2 - y1);
    INT_S32 y = y1;
    for (INT_S32 x = x1; x <= x2; ++x) {
        if (error >= dx) {
            error -= dx;
            y += step;
        }
        plot(x, y, colour, blend);
        error += dy;
    }
}

void IMAGE::draw_box_outline(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const COLOUR& colour, INT_S16 thickness,
    INT_U8 edges, bool blend)
{
    if (!begin_primitive(colour, true))
        return;
    INT_S32 left = x1 - x_origin, right = x2 - x_origin, top = y1 - y_origin, bottom = y2 - y_origin;
    order(left, right);
    order(top, bottom);
    if (thickness < 2) {
        draw_outline_1(left, top, right, bottom, colour, edges, blend);
        return;
    }
    // Frames from the outside in, so the line is centred on the rectangle.
    INT_S32 half = thickness / 2;
    for (INT_S32 i = 0; i < thickness; ++i)
        draw_outline_1(left - half + i, top - half + i, right + half - i, bottom + half - i, colour, edges, blend);
}

void IMAGE::draw_outline_1(INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2, const COLOUR& colour, INT_U8 edges,
    bool blend)
{
    mark_dirty_pixels(x1, y1, x2, y2);
    auto run = [&](INT_S32 x, INT_S32 y, INT_S32 w, INT_S32 h) {
        if (w < 1 || h < 1)
            return;
        if (blend)
            kernel_blend_fill_rows(row(y) + x, stride, w, h, colour);
        else
            kernel_fill_rows(row(y) + x, stride, w, h, colour);
    };
    // Top and bottom stop short of the corners, which the sides own: no pixel is blended twice.
    INT_S32 run_left = x1 + 1 > clip_left ? x1 + 1 : clip_left;
    INT_S32 run_right = x2 - 1 < clip_right ? x2 - 1 : clip_right;
    INT_S32 side_top = y1 > clip_top ? y1 : clip_top;
    INT_S32 side_bottom = y2 < clip_bottom ? y2 : clip_bottom;
    // A side that the clip cut away is not drawn along the clip's border.
    if ((edges & EDGE_TOP) && y1 >= clip_top && y1 <= clip_bottom)
        run(run_left, y1, run_right - run_left + 1, 1);
    if ((edges & EDGE_BOTTOM) && y2 >= clip_top && y2 <= clip_bottom)
        run(run_left, y2, run_right - run_left + 1, 1);
    if ((edges & EDGE_LEFT) && x1 >= clip_left && x1 <= clip_right)
        run(x1, side_top, 1, side_bottom - side_top + 1);
    if ((edges & EDGE_RIGHT) && x2 >= clip_left && x2 <= clip_right)
        run(x2, side_top, 1, side_bottom - side_top + 1);
}

void IMAGE::draw_xor_box(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const COLOUR& colour)
{
    if (!begin_primitive(colour, true))
        return;
    INT_S32 outer_left = x1 - x_origin, outer_right = x2 - x_origin, outer_top = y1 - y_origin,
            outer_bottom = y2 - y_origin;
    order(outer_left, outer_right);
    order(outer_top, outer_bottom);
    INT_S32 left = x1, top = y1, right = x2, bottom = y2;
    if (!clip_box(left, top, right, bottom))
        return;
    mark_dirty_pixels(left, top, right, bottom);
    INT_U32 bits = colour.value & 0x00FFFFFFu;
    auto flip = [bits](COLOUR& p) { p.value = (p.value ^ bits) | 0xFF000000u; };
    // The corners are visited twice and so keep their colour: that is the look of a rubber band.
    if (outer_top == top)
        for (INT_S32 x = left; x <= right; ++x)
            flip(at(x, top));
    if (outer_bottom == bottom)
        for (INT_S32 x = left; x <= right; ++x)
            flip(at(x, bottom));
    if (outer_left == left)
        for (INT_S32 y = top; y <= bottom; ++y)
            flip(at(left, y));
    if (outer_right == right)
        for (INT_S32 y = top; y <= bottom; ++y)
            flip(at(right, y));
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Rounded boxes
// ---------------------------------------------------------------------------------------------

void IMAGE::draw_rounded_box(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, INT_S16 radius, INT_U8 corners,
    const COLOUR& colour_a, const COLOUR& colour_b, INT_U8 shade, INT_S8 percent)
{
    if (!begin_primitive(colour_a, false))
        return;
    INT_S32 left = x1 - x_origin, right = x2 - x_origin, top = y1 - y_origin, bottom = y2 - y_origin;
    order(left, right);
    order(top, bottom);
    INT_S32 r = radius;
    if (radius == -1)
        r = default_corner_radius(static_cast<INT_S16>(left), static_cast<INT_S16>(top),
            static_cast<INT_S16>(right), static_cast<INT_S16>(bottom));
    if (r < 1)
        return;
    if (shade == SHADE_DARKEN && (percent < -100 || percent > 100)) {
        report_darken_percentage();
        return;
    }
    mark_dirty_pixels(left, top, right, bottom);
    INT_S32 from_x = left > clip_left ? left : clip_left;
    INT_S32 to_x = right < clip_right ? right : clip_right;
    INT_S32 from_y = top > clip_top ? top : clip_top;
    INT_S32 to_y = bottom < clip_bottom ? bottom : clip_bottom;
    if (from_x > to_x || from_y > to_y)
        return;

    // The pixel is inside the round when trunc(sqrt(ex^2 + ey^2)) < r, that is ex^2 + ey^2 < r^2.
    INT_S32 r2 = r * r;
    for (INT_S32 y = from_y; y <= to_y; ++y) {
        bool in_top = y < top + r;
        bool in_bottom = y > bottom - r;
        COLOUR row_colour = colour_a;
        if (shade == SHADE_VERTICAL) {
            row_colour = interpolate(colour_a, colour_b, y - top, bottom - top);
            row_colour.set_alpha(255);
        }
        COLOUR* p = row(y);
        for (INT_S32 x = from_x; x <= to_x; ++x) {
            bool in_left = x < left + r;
            bool in_right = x > right - r;
            INT_S32 cx = 0, cy = 0;
            INT_U8 corner = 0;
            if (in_top && in_left) {
                corner = CORNER_TOP_LEFT;
                cx = left + r;
                cy = top + r;
            } else if (in_top && in_right) {
                corner = CORNER_TOP_RIGHT;
                cx = right - r;
                cy = top + r;
            } else if (in_bottom && in_left) {
                corner = CORNER_BOTTOM_LEFT;
                cx = left + r;
                cy = bottom - r;
            } else if (in_bottom && in_right) {
                corner = CORNER_BOTTOM_RIGHT;
                cx = right - r;
                cy = bottom - r;
            }
            if (corner & corners) {
                INT_S32 ex = x - cx, ey = y - cy;
                if (ex * ex + ey * ey >= r2)
                    continue;
            }
            switch (shade) {
            case SHADE_SOLID:
                blend_colour(p[x], colour_a);
                break;
            case SHADE_HORIZONTAL: {
                COLOUR c = interpolate(colour_a, colour_b, x - left, right - left);
                c.set_alpha(255);
                p[x] = c;
                break;
            }
            case SHADE_VERTICAL:
                p[x] = row_colour;
                break;
            default:
                darken_colour(p[x], percent);
                break;
            }
        }
    }
}

void IMAGE::draw_rounded_outline(INT_S16 x1, INT_S16 y1, INT_S16 x2, INT_S16 y2, const COLOUR& colour,
    INT_S16 radius, INT_U8 corners)
{
    if (!begin_primitive(colour, true))
        return;
    INT_S32 left = x1 - x_origin, right = x2 - x_origin, top = y1 - y_origin, bottom = y2 - y_origin;
    order(left, right);
    order(top, bottom);
    INT_S32 r = radius;
    if (radius == -1)
        r = default_corner_radius(static_cast<INT_S16>(left), static_cast<INT_S16>(top),
            static_cast<INT_S16>(right), static_cast<INT_S16>(bottom));
    if (r < 0)
        r = 0;
    draw_line_1(left + r, top, right - r, top, colour, true);
    draw_line_1(left + r, bottom, right - r, bottom, colour, true);
    draw_line_1(left, top + r, left, bottom - r, colour, true);
    draw_line_1(right, top + r, right, bottom - r, colour, true);
    const INT_U8 order_of_corners[4] = { CORNER_TOP_LEFT, CORNER_TOP_RIGHT, CORNER_BOTTOM_LEFT, CORNER_BOTTOM_RIGHT };
    for (INT_U8 corner : order_of_corners) {
        if (corners & corner) {
            draw_arc(corner, left, top, right, bottom, r, colour);
            continue;
        }
        // A square corner: the pixels between the inset sides and the corner point.
        if (r < 1)
            continue;
        INT_S32 x = (corner == CORNER_TOP_LEFT || corner == CORNER_BOTTOM_LEFT) ? left : right;
        INT_S32 y = (corner == CORNER_TOP_LEFT || corner == CORNER_TOP_RIGHT) ? top : bottom;
        INT_S32 toward_x = x == left ? 1 : -1;
        INT_S32 toward_y = y == top ? 1 : -1;
        draw_line_1(x, y, x + toward_x * (r - 1), y, colour, true);
        if (r >= 2)
            draw_line_1(x, y + toward_y, x, y + toward_y * (r - 1), colour, true);
    }
}

void IMAGE::draw_arc(INT_S32 corner, INT_S32 x1, INT_S32 y1, INT_S32 x2, INT_S32 y2, INT_S32 radius,
    const COLOUR& colour)
{
    // Points (i, trunc(sqrt(r^2 - i^2) - 1)) from the corner's centre, joined by one-pixel lines.
    // The arc starts on the inset end of the top or bottom side and ends on the left or right one.
    bool left_side = corner == CORNER_TOP_LEFT || corner == CORNER_BOTTOM_LEFT;
    bool top_side = corner == CORNER_TOP_LEFT || corner == CORNER_TOP_RIGHT;
    INT_S32 previous_x = 0, previous_y = 0;
    for (INT_S32 i = 0; i <= radius; ++i) {
        INT_S32 offset = static_cast<INT_S32>(std::sqrt(static_cast<double>(radius * radius - i * i)) - 1);
        INT_S32 x = left_side ? x1 + radius - i : x2 - radius + i;
        INT_S32 y = top_side ? y1 + radius - 1 - offset : y2 - radius + 1 + offset;
        if (i > 0)
            draw_line_1(previous_x, previous_y, x, y, colour, true);
        previous_x = x;
        previous_y = y;
    }
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Circles
// ---------------------------------------------------------------------------------------------

namespace {

// Three cells per pixel each way, one byte per cell. Shared by every circle: not reentrant.
constexpr size_t CIRCLE_GRID_BYTES = 0x300000;
INT_U8 circle_grid[CIRCLE_GRID_BYTES];
// Half-widths of a circle per row, from the midpoint walk; the grid limits radii to under 900.
constexpr INT_S32 MAX_GRID_RADIUS = 1024;
INT_S32 outer_half[MAX_GRID_RADIUS + 1];
INT_S32 inner_half[MAX_GRID_RADIUS + 1];

// For each row offset 0..radius, the largest column offset on the circle (midpoint method, one
// octant mirrored into the other).
void circle_half_widths(INT_S32 radius, INT_S32* half)
{
    for (INT_S32 i = 0; i <= radius; ++i)
        half[i] = -1;
    INT_S32 x = radius, y = 0, decision = 1 - radius;
    while (x >= y) {
        if (half[y] < x)
            half[y] = x;
        if (half[x] < y)
            half[x] = y;
        ++y;
        if (decision < 0) {
            decision += 2 * y + 1;
        } else {
            --x;
            decision += 2 * (y - x) + 1;
        }
    }
}

} // namespace

void IMAGE::draw_circle(INT_S16 cx_in, INT_S16 cy_in, INT_S16 radius, const COLOUR& colour, INT_S8 percent,
    INT_U8 type, INT_S16 width_in, bool antialias)
{
    if (!begin_primitive(colour, false))
        return;
    if (radius < 1)
        return;
    if (type != CIRCLE_DARKEN && colour.alpha() == 0)
        return;
    if (type == CIRCLE_DARKEN && (percent < -100 || percent > 100)) {
        report_darken_percentage();
        return;
    }
    INT_S32 ring = width_in < 1 ? 1 : width_in;
    INT_S32 outer = radius + (type == CIRCLE_OUTLINE ? ring / 2 : 0);
    INT_S32 cx = cx_in - x_origin, cy = cy_in - y_origin;
    if (cx + outer < clip_left || cx - outer > clip_right || cy + outer < clip_top || cy - outer > clip_bottom)
        return;
    INT_S64 side = (2 * static_cast<INT_S64>(outer) + 1) * 3;
    if (side * side > static_cast<INT_S64>(CIRCLE_GRID_BYTES))
        return;
    INT_S32 cells = static_cast<INT_S32>(side);
    INT_S32 centre = 3 * outer + 1;
    memset(circle_grid, 0, static_cast<size_t>(cells) * static_cast<size_t>(cells));

    // Outline: a ring of 3 * width cells centred on the radius; the others: the whole disc.
    INT_S32 outer_cells = 3 * radius, inner_cells = 0;
    if (type == CIRCLE_OUTLINE) {
        inner_cells = 3 * radius - (3 * ring) / 2;
        outer_cells = inner_cells + 3 * ring - 1;
        if (inner_cells < 0)
            inner_cells = 0;
    }
    if (outer_cells >= centre)
        outer_cells = centre - 1;
    circle_half_widths(outer_cells, outer_half);
    bool hollow = type == CIRCLE_OUTLINE && inner_cells >= 1;
    if (hollow)
        circle_half_widths(inner_cells - 1, inner_half);
    for (INT_S32 dy = -outer_cells; dy <= outer_cells; ++dy) {
        INT_S32 ady = absolute(dy);
        INT_S32 ho = outer_half[ady];
        INT_S32 hi = hollow && ady <= inner_cells - 1 ? inner_half[ady] : -1;
        INT_U8* cell_row = circle_grid + static_cast<size_t>(centre + dy) * static_cast<size_t>(cells);
        for (INT_S32 dx = -ho; dx <= ho; ++dx)
            if (absolute(dx) > hi)
                cell_row[centre + dx] = 1;
    }

    mark_dirty_pixels(cx - outer, cy - outer, cx + outer, cy + outer);
    for (INT_S32 py = 0; py <= 2 * outer; ++py) {
        INT_S32 y = cy - outer + py;
        if (y < clip_top || y > clip_bottom)
            continue;
        const INT_U8* cells_0 = circle_grid + static_cast<size_t>(py * 3) * static_cast<size_t>(cells);
        const INT_U8* cells_1 = cells_0 + cells;
        const INT_U8* cells_2 = cells_1 + cells;
        COLOUR* p = row(y);
        for (INT_S32 px = 0; px <= 2 * outer; ++px) {
            INT_S32 x = cx - outer + px;
            if (x < clip_left || x > clip_right)
                continue;
            INT_S32 c = px * 3;
            INT_U32 sum = cells_0[c] + cells_0[c + 1] + cells_0[c + 2] + cells_1[c] + cells_1[c + 1] + cells_1[c + 2]
                + cells_2[c] + cells_2[c + 1] + cells_2[c + 2];
            if (sum == 0)
                continue;
            if (!antialias && sum < 4)
                continue;
            if (type == CIRCLE_DARKEN) {
                COLOUR dark = p[x];
                darken_colour(dark, percent);
                if (antialias) {
                    INT_U32 mixed = 0;
                    for (int shift = 0; shift < 24; shift += 8) {
                        INT_U32 d = (dark.value >> shift) & 0xFF, o = (p[x].value >> shift) & 0xFF;
                        mixed |= ((d * sum + o * (9 - sum)) / 9) << shift;
                    }
                    dark.value = (p[x].value & 0xFF000000u) | mixed;
                }
                p[x] = dark;
                continue;
            }
            if (!antialias) {
                blend_colour(p[x], colour);
                continue;
            }
            COLOUR covered = colour;
            covered.set_alpha(static_cast<INT_U8>(colour.alpha() * sum / 9));
            blend_colour(p[x], covered);
        }
    }
}
