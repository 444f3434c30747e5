// Text forms of a colour and the HSL and CMYK conversions.
//
// [SECTION] Helpers
// [SECTION] Text forms
// [SECTION] HSL and CMYK
// [SECTION] Derived colours

#include "graphics/colour.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <strings.h>

#include "base/debug_stream.h"
#include "base/error_report.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Helpers
// ---------------------------------------------------------------------------------------------

namespace {

// Truncates towards zero and keeps the low 8 bits. Values beyond any channel's reach (or not a
// number) give 0 rather than undefined behaviour in the conversion.
INT_U8 channel_of(double value)
{
    if (!(value > -1e15 && value < 1e15))
        return 0;
    return static_cast<INT_U8>(static_cast<INT_S64>(value) & 0xFF);
}

// The keyword right after the notation character, compared without regard to case; on a match
// the text is moved past it and past the blanks behind it.
bool take_keyword(const char*& text, const char* keyword)
{
    size_t length = strlen(keyword);
    if (strncasecmp(text, keyword, length) != 0)
        return false;
    text += length;
    while (*text == ' ' || *text == '\t')
        ++text;
    return true;
}

// Reads count two-digit hexadecimal groups, each by itself, as fractions of 255.
void read_hex_groups(const char* text, double* values, int count)
{
    size_t length = strlen(text);
    for (int i = 0; i < count; ++i) {
        // A short text leaves the later groups at 0.
        char group[3] = { 0, 0, 0 };
        for (int j = 0; j < 2; ++j) {
            size_t position = static_cast<size_t>(i * 2 + j);
            if (position < length)
                group[j] = text[position];
        }
        unsigned short value = 0;
        sscanf(group, "%hx", &value);
        values[i] = value / 255.0;
    }
}

void hsl_of(const COLOUR& colour, double* alpha, double* h, double* s, double* l)
{
    colour_to_hsl(colour, *alpha, *h, *s, *l);
}

} // namespace

// ---------------------------------------------------------------------------------------------
// [SECTION] Text forms
// ---------------------------------------------------------------------------------------------

void colour_from_string(COLOUR& destination, const char* text)
{
    if (!text)
        return;
    char notation = text[0];
    if (notation != '#' && notation != '%' && notation != '&' && notation != '@')
        return;
    const char* rest = text + 1;
    bool hsl = take_keyword(rest, "AHSL");
    bool cmyk = !hsl && take_keyword(rest, "ACMYK");
    int count = cmyk ? 5 : 4;
    double values[5] = { 0, 0, 0, 0, 0 };

    if (notation == '#') {
        if (hsl || cmyk) {
            read_hex_groups(rest, values, count);
        } else {
            unsigned int argb = 0;
            sscanf(rest, "%x", &argb);
            // Six digits or fewer carry no alpha: such a colour is opaque.
            if (strlen(rest) <= 6)
                argb |= 0xFF000000u;
            destination = COLOUR::from_argb(argb);
            return;
        }
    } else if (notation == '%' || notation == '&') {
        short numbers[5] = { 0, 0, 0, 0, 0 };
        if (cmyk)
            sscanf(rest, "%hd,%hd,%hd,%hd,%hd", &numbers[0], &numbers[1], &numbers[2], &numbers[3], &numbers[4]);
        else
            sscanf(rest, "%hd,%hd,%hd,%hd", &numbers[0], &numbers[1], &numbers[2], &numbers[3]);
        if (!hsl && !cmyk) {
            INT_U8 channels[4];
            for (int i = 0; i < 4; ++i)
                channels[i] = notation == '%' ? static_cast<INT_U8>((numbers[i] * 255 / 100) & 0xFF)
                                              : static_cast<INT_U8>(numbers[i] & 0xFF);
            destination = COLOUR::from_channels(channels[1], channels[2], channels[3], channels[0]);
            return;
        }
        double scale = notation == '%' ? 100.0 : 255.0;
        for (int i = 0; i < count; ++i)
            values[i] = numbers[i] / scale;
    } else {
        if (cmyk)
            sscanf(rest, "%lf,%lf,%lf,%lf,%lf", &values[0], &values[1], &values[2], &values[3], &values[4]);
        else
            sscanf(rest, "%lf,%lf,%lf,%lf", &values[0], &values[1], &values[2], &values[3]);
        if (!hsl && !cmyk) {
            destination = COLOUR::from_channels(channel_of(values[1] * 255), channel_of(values[2] * 255),
                channel_of(values[3] * 255), channel_of(values[0] * 255));
            return;
        }
    }

    if (hsl)
        colour_from_hsl(destination, values[0], values[1], values[2], values[3]);
    else
        colour_from_cmyk(destination, values[0], values[1], values[2], values[3], values[4]);
}

void colour_to_string(const COLOUR& colour, char* buffer)
{
    snprintf(buffer, 10, "#%08X", static_cast<unsigned int>(colour.argb()));
}

// ---------------------------------------------------------------------------------------------
// [SECTION] HSL and CMYK
// ---------------------------------------------------------------------------------------------

void colour_to_hsl(const COLOUR& colour, double& alpha, double& hue, double& saturation, double& lightness)
{
    double r = colour.red() / 255.0;
    double g = colour.green() / 255.0;
    double b = colour.blue() / 255.0;
    double max = std::fmax(r, std::fmax(g, b));
    double min = std::fmin(r, std::fmin(g, b));
    double d = max - min;
    double l = (max + min) / 2;

    double s = 0;
    if (l > 0 && l < 1)
        s = l >= 0.5 ? d / (2 - 2 * l) : d / (2 * l);

    double h = 0;
    if (d > 0) {
        double v = 0;
        if (max == r && max != g)
            v = (g - b) / d;
        if (max == g && max != b)
            v = (b - r) / d + 2 + v;
        if (max == b && max != r)
            v = (r - g) / d + 4 + v;
        h = v / 6;
    }

    // A value over 1 is mirrored, not wrapped; only then are negatives lifted.
    double* values[3] = { &h, &s, &l };
    for (double* value : values) {
        while (*value > 1)
            *value = 1 - *value;
        while (*value < 0)
            *value += 1;
    }
    alpha = colour.alpha() / 255.0;
    hue = h;
    saturation = s;
    lightness = l;
}

void colour_from_hsl(COLOUR& destination, double alpha, double hue, double saturation, double lightness)
{
    if (alpha > 1)
        alpha = 1;
    if (hue > 1)
        hue = 1;
    if (saturation > 1)
        saturation = 1;
    if (lightness > 1)
        lightness = 1;
    if (hue < 0)
        hue = 0;
    if (saturation < 0)
        saturation = 0;
    if (lightness < 0)
        lightness = 0;

    double angle = hue * 360;
    double w[3];
    if (angle < 120) {
        w[0] = (120 - angle) / 60;
        w[1] = angle / 60;
        w[2] = 0;
    } else if (angle < 240) {
        w[0] = 0;
        w[1] = (240 - angle) / 60;
        w[2] = (angle - 120) / 60;
    } else {
        w[0] = (angle - 240) / 60;
        w[1] = 0;
        w[2] = (360 - angle) / 60;
    }
    INT_U8 channels[3];
    for (int i = 0; i < 3; ++i) {
        double v = w[i] > 1 ? 1 : w[i];
        v = v * 2 * saturation + (1 - saturation);
        if (lightness < 0.5)
            v = v * lightness;
        else
            v = v * (1 - lightness) + 2 * lightness - 1;
        channels[i] = channel_of(v * 255);
    }
    destination = COLOUR::from_channels(channels[0], channels[1], channels[2], channel_of(alpha * 255));
}

void colour_from_cmyk(COLOUR& destination, double alpha, double cyan, double magenta, double yellow, double black)
{
    // Deliberately this formula and not the textbook one: with black above 0 the channels run past
    // 255 and wrap, which existing skins rely on.
    double p = black + 1;
    double q = 1 - black;
    destination = COLOUR::from_channels(channel_of((p - cyan * q) * 255), channel_of((p - magenta * q) * 255),
        channel_of((p - yellow * q) * 255), channel_of(alpha * 255));
}

void colour_to_cmyk(const COLOUR& colour, double& alpha, double& cyan, double& magenta, double& yellow, double& black)
{
    double c = 1 - colour.red() / 255.0;
    double m = 1 - colour.green() / 255.0;
    double y = 1 - colour.blue() / 255.0;
    double k = std::fmin(c, std::fmin(m, y));
    // Pure black divides 0 by 0 here; the results are then whatever the FPU makes of it.
    cyan = (c - k) / (1 - k);
    magenta = (m - k) / (1 - k);
    yellow = (y - k) / (1 - k);
    black = k;
    alpha = colour.alpha() / 255.0;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Derived colours
// ---------------------------------------------------------------------------------------------

void contrast_colour(COLOUR& destination, const COLOUR& colour)
{
    INT_U32 sum = INT_U32(colour.red()) + colour.green() + colour.blue();
    destination = sum < 384 ? COLOUR(0xFFFFFFFFu) : COLOUR(0xFF000000u);
}

void shift_lightness(COLOUR& destination, const COLOUR& colour, double amount)
{
    double alpha, h, s, l;
    colour_to_hsl(colour, alpha, h, s, l);
    double shifted;
    if (amount >= 0)
        shifted = 1 - amount >= l ? l + amount : l - amount;
    else
        shifted = l >= -amount ? l + amount : l - amount;
    colour_from_hsl(destination, destination.alpha() / 255.0, h, s, shifted);
}

bool separate_colour(COLOUR& colour, const COLOUR& other, bool test_only)
{
    double a1, h1, s1, l1, a2, h2, s2, l2;
    hsl_of(colour, &a1, &h1, &s1, &l1);
    hsl_of(other, &a2, &h2, &s2, &l2);
    if (std::fabs(h1 - h2) >= 0.2 || std::fabs(s1 - s2) >= 0.2 || std::fabs(l1 - l2) >= 0.2)
        return false;
    if (!test_only)
        colour_from_hsl(colour, a1, h1, s1, l2 > 0.5 ? l2 - 0.2 : l2 + 0.2);
    return true;
}

void report_darken_percentage()
{
    // Reported where the inline check lives, so the report points at the header's line.
    debug_write(&image_debug, "include/colour", 184, error_text(ERROR_COLOUR_PERCENTAGE, nullptr), true);
}
