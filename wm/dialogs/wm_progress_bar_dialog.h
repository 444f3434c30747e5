// WM_PROGRESS_BAR_DIALOG: a dialog for long work: an optional status line at a third of the free
// height and a progress bar (or two) below it, and optionally a small animation that moves
// across while the work goes on.
//
// Its caller usually blocks: every set_value, set_status and set_title paints the dialog at once
// and shows it on the display before returning, and the event pump runs once a second, so the
// window stays alive. Such a dialog opens without its effect: it is painted where it rests.
//
//   state    | set_value, set_status, set_title | close()
//   ---------+----------------------------------+-------------------------
//   showing  | showing, painted at once         | closing as any dialog
#pragma once

#include "wm/dialogs/wm_dialog.h"

class IMAGE;
class PARAMETER;
class WM_ANIMATION;
class WM_PROGRESS_BAR;

constexpr INT_S16 PROGRESS_DIALOG_WIDTH = 400;

class WM_PROGRESS_BAR_DIALOG : public WM_DIALOG {
public:
    // The bar shows the parameter's value out of its maximum (0 to 100 without a parameter);
    // `colour` fills it. With show_now the dialog is painted at once. bar_style styles the bar
    // (null: plain colours), text_in_bar puts the percentage inside it. A width or height of -1
    // is what fits; x, y of -1 centre it.
    WM_PROGRESS_BAR_DIALOG(const char* title, const char* status, PARAMETER* bar_parameter, const COLOUR& colour,
        bool show_now, const WM_STYLE_SET* bar_style, bool text_in_bar, INT_S16 x = -1, INT_S16 y = -1,
        INT_S16 width = -1, INT_S16 height = -1, bool show_two_bars = false, const WM_STYLE_SET* style = nullptr,
        const WM_STYLE_SET* title_style = nullptr, const WM_STYLE_SET* text_style = nullptr);
    ~WM_PROGRESS_BAR_DIALOG() override = default;

    // Each paints the dialog at once and shows it.
    void set_value(INT_S32 value);
    void set_second_value(INT_S32 value);
    void set_status(const char* text);
    void set_title(const char* text) override;
    // A strip of `frames` frames (each the strip's height / frames high) played every
    // update_rate milliseconds and moved by x_rate, y_rate pixels a step, wrapping inside the
    // dialog. Fewer than one frame is fatal 0x28, no strip fatal 0x29.
    void set_animation(const IMAGE* strip, INT_S32 frames, INT_U16 update_rate, INT_S16 x_rate, INT_S16 y_rate);

    [[nodiscard]] WM_PROGRESS_BAR* bar() const { return first_bar; }
    [[nodiscard]] WM_PROGRESS_BAR* second_bar() const { return other_bar; }
    [[nodiscard]] WM_SCRIPT* status_line() const { return status_object; }

    INT_S32 animate(bool overlays) override;

    INT_U8 show_two_bars { 0 };

private:
    // Visible, painted now, shown; the event pump once a second.
    void paint_now();

    PARAMETER* parameter { nullptr };
    WM_PROGRESS_BAR* first_bar { nullptr };
    WM_PROGRESS_BAR* other_bar { nullptr };
    WM_SCRIPT* status_object { nullptr };
    WM_ANIMATION* animation { nullptr };
    INT_S16 animation_x_rate { 0 };
    INT_S16 animation_y_rate { 0 };
    INT_U16 animation_rate { 0 };
    INT_U32 animation_step_time { 0 };
    INT_U32 last_pump_second { 0 };
};
