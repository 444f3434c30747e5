// Fuzz target for the texts that widgets take from a data set or a translation: labels with
// their colour markup and line feeds, wrapped or on one line, measured and painted into a small
// picture; the lines of a ticker; the typing of a typing label. Nothing may be drawn outside the
// label's box, and nothing may read beyond the text.
#include "graphics/font.h"
#include "graphics/image.h"
#include "io/folder.h"
#include "wm/core/wm_screen_object.h"
#include "wm/widgets/wm_face.h"
#include "wm/widgets/wm_script.h"
#include "wm/widgets/wm_ticker.h"
#include "wm/widgets/wm_typing_script.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

IMAGE* canvas()
{
    static IMAGE* picture = nullptr;
    if (!picture) {
        disable_font_autoload();
        start_font_system();
        FOLDER fonts;
        if (fonts.set_raw(ORLU_SOURCE_DIR "/samples/fonts"))
            (void)load_font("BabelSans.ttf", nullptr, 10, &fonts);
        picture = new IMAGE(160, 80);
        wm_toolkit.draw_target = picture;
    }
    return picture;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2 || size > 4096)
        return 0;
    IMAGE* target = canvas();
    INT_U32 flags = data[0] & 1 ? FACE_WRAP_TEXT : 0;
    flags |= data[0] & 2 ? FACE_LEFT_JUSTIFY : 0;
    flags |= data[0] & 4 ? FACE_SHADOW_TEXT : 0;
    INT_S32 elapsed = data[1] * 7;
    std::string text(reinterpret_cast<const char*>(data) + 2, size - 2);

    target->clear(COLOUR_BLACK, true);
    target->set_clip(0, 0, 159, 79);
    // The box is the middle of the picture: the border around it must stay black.
    paint_face_text(target, 20, 20, 139, 59, text.c_str(), COLOUR_WHITE, COLOUR_INVISIBLE, 10, 12, 12, flags);
    for (INT_S32 y = 0; y < 80; ++y)
        for (INT_S32 x = 0; x < 160; ++x) {
            bool inside = x >= 20 && x <= 139 && y >= 20 && y <= 59;
            if (!inside && target->at(x, y) != COLOUR_BLACK)
                abort();
        }
    if (target->clip_left != 0 || target->clip_right != 159 || target->clip_top != 0 || target->clip_bottom != 79)
        abort();

    INT_S32 width = 0, height = 0;
    measure_face_text(target, text.c_str(), 10, 12, 12, &width, &height);

    INT_S32 shown = typing_visible_length(text.c_str(), elapsed, 5, data[1] & 1 ? 0 : 11);
    if (shown < 0 || shown > static_cast<INT_S32>(strlen(text.c_str())))
        abort();

    {
        WM_SCRIPT label(10, 10, -1, -1, text.c_str(), COLOUR_WHITE, COLOUR_BLACK, 10, 12, 12, flags);
        label.paint();
    }
    {
        WM_TICKER ticker(0, 0, 160, 20, COLOUR_WHITE, 10, 12, 12, 1000);
        INT_S32 index = ticker.add_line(text.c_str(), 0, COLOUR_WHITE, static_cast<INT_S16>(data[1] % 3) - 1);
        if (index >= 0 && index != ticker.line_count() - 1)
            abort();
        ticker.set_separator(" | ");
        ticker.paint();
    }
    return 0;
}
