// Skins: the look of the wizard (the fourteen style sets, the 24 icons, the toolkit's four
// dialog styles, its dialog effect and the progress bar animation rates), authored as a folder
// tree of `.ss` files and pictures and carried in binary form in the database or in a skin file.
//
//   button/      button.ss, button_hints.ss, menu_button.ss
//   menu/        menu_dropdown.ss, menu_item.ss, menu_alt_item.ss
//   check_box/   check_box.ss
//   progress_bar/ progress_bar.ss, progress_bar_script.ss
//   dialog/      background.ss, text.ss, title.ss
//   options/     options.ss
//   text_win/    scrollbar.ss, text_title.ss, text.ss
//   title/       title.ss
//   icons/       forw_icon ... folder, at their own size
//   dialog_effects.cfg   flags, open_delay, display_delay, dragging_alpha and the three
//                        progress_bar_animation rates; decimal or "0x" hexadecimal
#pragma once

#include "base/orlu_types.h"

class DATA_DEVICE;
class DATABASE;

// Reads the tree at `folder_text` ("$VARIABLE/...", "../...", an absolute path, or a path
// relative to the database's data folder) into the database and the toolkit. A sub-folder or a
// file that is missing, or a style file that does not read, leaves its items as they were; an
// icon that does not load is left empty. False only when the root folder cannot be reached.
[[nodiscard]] bool load_skin(DATABASE* database, const char* folder_text);
// The same, telling `unread` the full path of every style file, icon or folder of the tree that
// is not there or does not read.
typedef void (*SKIN_UNREAD)(const char* path, void* context);
[[nodiscard]] bool load_skin(DATABASE* database, const char* folder_text, SKIN_UNREAD unread, void* context);

// The binary skin: the image cache, the fourteen style sets, the icons, the toolkit's four
// styles, the dialog effect and the three rates. read_skin answers false at the first damaged
// or short item, keeping what was read before it; style set images are then looked up in the
// cache that came with the skin only.
[[nodiscard]] bool write_skin(const DATABASE* database, DATA_DEVICE* device);
[[nodiscard]] bool read_skin(DATABASE* database, DATA_DEVICE* device);

// Reads the skin that the program's stamp points at: in the program's own file when the byte at
// `skin_offset` is 0, else in the file `config_file_name` of the data folder behind that byte.
// False when the stamp names no skin or the skin does not read.
[[nodiscard]] bool load_stamped_skin(DATABASE* database);

// The -s tool: reads the tree "$APPDATA/vok" and writes it as a binary skin, with a byte-order
// byte, to `path` ("$VARIABLE/.../name"). It says on the console what it could not read and where
// the skin went. False, writing nothing, when the tree's folder cannot be read or the file
// cannot be written.
bool generate_skin_file(const char* path);
// The same for the option loop, which ends the run afterwards.
void generate_skin(const char* path);
