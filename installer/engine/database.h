// DATABASE: everything one data set says about an installation. The look of the wizard (window
// and dialog geometry, style sets, icons, background), the install types with their files and
// shortcuts, every text in every language, and the clients per platform. The wizard's page state
// lives here too, so that the wizard's dialog can be thrown away between pages.
//
// The object reads and writes itself on a DATA_DEVICE: "database.bin" in a data set's package
// and "installer.idx" beside a packer's work are this stream. Version 18 is written; versions 1
// to 18 are read, each field behind the version that brought it.
//
// The stream is untrusted. Counts are bounded by the limits below and by the bytes the device
// still holds, texts are cut to their fields, and a damaged stream makes the read answer false
// with everything read before the damage kept: the run-time goes on with that.
//
// Records are held in plain arrays, so the whole database can be walked by index. They are
// fixed-size except for the file records, whose texts lie in one arena (see FILE_RECORD): the
// stream keeps its form, only the memory behind it is compact.
//
// [SECTION] Sizes and limits
// [SECTION] Records
// [SECTION] DATABASE
#pragma once

#include "base/data_device.h"
#include "base/text_arena.h"
#include "io/folder.h"
#include "graphics/image.h"
#include "base/orlu_string.h"
#include "base/orlu_types.h"
#include "host/system_info.h"
#include "wm/core/wm_style_set.h"

class DATA_SET_READER;
class MEMBER_STORE;
class PACKAGE;
class UNPACKED_DATA_SET;

// ---------------------------------------------------------------------------------------------
// [SECTION] Sizes and limits
// ---------------------------------------------------------------------------------------------

constexpr INT_U8 DATABASE_VERSION = 18;
// Text fields, terminator included: a field of DATABASE_TEXT holds 1023 characters.
constexpr INT_S32 DATABASE_TEXT = 1024;
constexpr INT_S32 DATABASE_LONG_TEXT = 2048;
constexpr INT_S32 DATABASE_SHORT_TEXT = 256;

// The most records a stream may declare; more is damage.
constexpr INT_S16 DATABASE_MAX_INSTALLATIONS = 256;
constexpr INT_S16 DATABASE_MAX_LANGUAGES = 256;
constexpr INT_S16 DATABASE_MAX_SHORTCUTS = 1024;
constexpr INT_S16 DATABASE_MAX_CLIENTS = 64;
// Longest platform, file name or destination name an ORLU_STRING field of the stream may carry.
constexpr INT_S32 DATABASE_MAX_STRING = 4095;

// The fourteen style sets, in stream order.
enum DATABASE_STYLE : INT_S32 {
    STYLE_CHECK_BOX = 0,
    STYLE_PROGRESS_BAR,
    STYLE_PROGRESS_BAR_SCRIPT,
    STYLE_MENU_DROPDOWN,
    STYLE_MENU_BUTTON,
    STYLE_MENU_ITEM,
    STYLE_MENU_ALT_ITEM,
    STYLE_DIALOG_TEXT,
    STYLE_SCROLL_BAR,
    STYLE_TEXT_TITLE,
    STYLE_TEXT_WINDOW,
    STYLE_TITLE,
    STYLE_OPTIONS,
    STYLE_SPARE,
    DATABASE_STYLE_COUNT
};

// The twenty-four icons, in stream order; icon_name gives their file names.
enum DATABASE_ICON : INT_S32 {
    ICON_FORW = 0,
    ICON_PREV,
    ICON_YES,
    ICON_NO,
    ICON_QUIT,
    ICON_ABOUT,
    ICON_FINISH,
    ICON_AGREE,
    ICON_DISAGREE,
    ICON_INSTALL,
    ICON_NEW_FOLDER,
    ICON_DISK,
    ICON_DISK_CDROM,
    ICON_DISK_FLOPPY,
    ICON_DISK_NETWORK,
    ICON_DISK_LINUX,
    ICON_DISK_UNIX,
    ICON_DISK_MAC,
    ICON_DISK_OS2,
    ICON_DISK_DOS,
    ICON_DISK_WINDOWS,
    ICON_PARENT_FOLDER,
    ICON_FILE,
    ICON_FOLDER,
    DATABASE_ICON_COUNT
};

// "forw_icon" ... "folder"; null outside the range.
const char* icon_name(INT_S32 icon);

// The texts of a language, in stream order. Each is also the tag that carries it in a
// configuration.
enum class LANGUAGE_KEY : INT_S32 {
    LANGUAGE_TITLE = 0,
    INSTALLER_TITLE,
    QUIT_TITLE,
    QUIT_MSG,
    QUIT_YES,
    QUIT_NO,
    PATH_ERROR_TITLE,
    PATH_ERROR_MSG,
    PATH_ERROR_BUTTON,
    COPY_ERROR_TITLE,
    COPY_ERROR_MSG,
    COPY_ERROR_YES,
    COPY_ERROR_NO,
    FORWARD,
    FORWARD_HINT,
    PREVIOUS,
    PREVIOUS_HINT,
    AGREE,
    AGREE_HINT,
    DISAGREE,
    DISAGREE_HINT,
    QUIT,
    QUIT_HINT,
    ABOUT,
    ABOUT_HINT,
    INSTALL,
    INSTALL_HINT,
    FINISH,
    FINISH_HINT,
    SELECT_LANGUAGE,
    LICENCE_TITLE,
    README_TITLE,
    RELEASE_NOTES_TITLE,
    INSTALL_TYPE_TITLE,
    SELECT_OPTIONS_TITLE,
    SELECT_OPTIONS_LOCATION_QUESTION,
    SELECT_OPTIONS_USE_SYSTEM_PATHS,
    SELECT_OPTIONS_SHORTCUT_QUESTION,
    SELECT_OPTIONS_DESKTOP_SHORTCUT,
    SELECT_OPTIONS_MENU_SHORTCUT,
    SELECT_OPTIONS_SYSPATHS_SELECTED,
    INSTALLING_TITLE,
    INSTALLING_STRING,
    INITIALIZING_STRING,
    INSTALLING_DESKTOP_SHORTCUT,
    INSTALLING_MENU_SHORTCUT,
    PACK_DATA_TITLE,
    PACK_LOG_TITLE,
    COMPLETE,
    OK_BUTTON,
    CANCEL_BUTTON,
    NEW_FOLDER_BUTTON,
    SELECT_FOLDER_TITLE,
    SELECT_FOLDER_MSG,
    SELECT_FOLDER_MENU_TITLE,
    MY_COMPUTER,
    NEW_FOLDER_TITLE,
    NEW_FOLDER_MSG,
    CHECK_DESKTOP_FAILED_TITLE,
    CHECK_DESKTOP_FAILED,
    PATCH_MSG,
};
constexpr INT_S32 LANGUAGE_KEY_COUNT = static_cast<INT_S32>(LANGUAGE_KEY::PATCH_MSG) + 1;

// The tag of a key ("LANGUAGE_TITLE"); null outside the range.
const char* language_key_name(INT_S32 key);
// The first stream version that carries the key (1 for the oldest).
INT_U8 language_key_version(INT_S32 key);
// The key of a tag, or -1.
INT_S32 language_key_of(const char* tag);

// Wizard pages (current_page).
enum WIZARD_PAGE : INT_S32 {
    PAGE_PACK_DATA = 0,
    PAGE_PACK_LOG = 1,
    PAGE_START = 2,
    PAGE_LANGUAGE = 3,
    PAGE_LICENCE = 4,
    PAGE_RELEASE_NOTES = 5,
    PAGE_INSTALL_TYPE = 6,
    PAGE_OPTIONS = 7,
    PAGE_INSTALLING = 8,
    PAGE_README = 9,
    PAGE_FINISHED = 10,
};

// Shortcut types and their configuration words.
enum SHORTCUT_TYPE : INT_U8 {
    SHORTCUT_UNKNOWN = 0,
    SHORTCUT_APPLICATION = 1,
    SHORTCUT_WEBLINK = 2,
    SHORTCUT_TEXTFILE = 3,
};
// "application", "weblink", "textfile"; anything else is SHORTCUT_UNKNOWN.
INT_U8 shortcut_type_of(const char* word);
// The word of a type; "unknown" for any other value.
const char* shortcut_type_word(INT_U8 type);

// File overwrite modes.
enum OVERWRITE_MODE : INT_U8 {
    OVERWRITE_ALWAYS = 0,
    OVERWRITE_WHEN_OLDER = 1,
    OVERWRITE_WHEN_ABSENT = 2,
};

// ---------------------------------------------------------------------------------------------
// [SECTION] Records
// ---------------------------------------------------------------------------------------------

struct WINDOW_SETTINGS {
    INT_S16 width { 300 };
    INT_S16 height { 200 };
    INT_U8 fullscreen { 0 };
    INT_U8 show_bg_title { 0 };
};

struct DIALOG_SETTINGS {
    INT_S16 x { 0 };
    INT_S16 y { 0 };
    INT_S16 width { 200 };
    INT_S16 height { 150 };
    INT_S16 button_gap { 10 };
    INT_U8 can_drag { 1 };
};

// The rectangles of the exit, error and about dialogs.
struct BOX_SETTINGS {
    INT_S16 x { -1 };
    INT_S16 y { -1 };
    INT_S16 width { -1 };
    INT_S16 height { -1 };
    INT_U8 can_drag { 1 };
};

struct FILE_SELECT_SETTINGS {
    INT_S16 x { -1 };
    INT_S16 y { -1 };
    INT_S16 width { -1 };
    INT_S16 height { -1 };
    INT_U8 new_folder_too { 0 };
    INT_U8 can_drag { 1 };
};

// A file's texts are kept once each in the database's `file_texts` arena, so that a data set of
// tens of thousands of files costs a few hundred bytes a file rather than six kilobytes. Each
// text field is never null (the empty text is ""), holds at most DATABASE_TEXT - 1 characters
// when read from a stream, and lives as long as the records. A text set from elsewhere (a
// string literal) must outlive the records too.
struct FILE_RECORD {
    const char* src_name { "" };
    const char* src_path_from_xml { "" };
    const char* dest_path_from_inst_loc { "" };
    ORLU_STRING platform;
    const char* dest_name { "" };
    const char* system_dest_path_from_inst_loc { "" };
    INT_U8 stamp { 0 };
    INT_U8 switch_user { 0 };
    INT_U8 overwrite { OVERWRITE_ALWAYS };
    const char* packed_name { "" };

    // The name at the destination: dest_name, or src_name when that is empty.
    [[nodiscard]] const char* destination_name() const { return dest_name[0] ? dest_name : src_name; }
};

struct SHORTCUT_RECORD {
    INT_U8 type { SHORTCUT_UNKNOWN };
    char exec[DATABASE_TEXT] {};
    char name[DATABASE_TEXT] {};
    char menu_path[DATABASE_TEXT] {}; // empty: a desktop shortcut
    ORLU_STRING platform;
    char arguments[DATABASE_TEXT] {};
    char exec_path[DATABASE_TEXT] {};
    char exec_syspath[DATABASE_TEXT] {};
    char icon[DATABASE_TEXT] {};
    char icon_path[DATABASE_TEXT] {};
    char icon_syspath[DATABASE_TEXT] {};
};

struct INSTALLATION_RECORD {
    INSTALLATION_RECORD() = default;
    ~INSTALLATION_RECORD();
    INSTALLATION_RECORD(const INSTALLATION_RECORD&) = delete;
    INSTALLATION_RECORD& operator=(const INSTALLATION_RECORD&) = delete;

    // Replace the arrays with `count` fresh records (0 frees them). False, with no records, when
    // the count is out of range or memory runs out.
    [[nodiscard]] bool allocate_files(INT_S16 count);
    [[nodiscard]] bool allocate_shortcuts(INT_S16 count);

    char name[DATABASE_TEXT] {};
    char default_path[DATABASE_TEXT] {};
    INT_U8 allow_system_paths { 0 };
    FILE_RECORD* files { nullptr };
    INT_S16 file_count { 0 };
    SHORTCUT_RECORD* shortcuts { nullptr };
    INT_S16 shortcut_count { 0 };
    char uninstaller_name[DATABASE_TEXT] {};
    char uninstaller_filename[DATABASE_TEXT] {};
    char uninstaller_path[DATABASE_TEXT] {};
    char uninstaller_syspath[DATABASE_TEXT] {};
    INT_U8 has_desktop_shortcut { 0 }; // computed at load
    INT_U8 has_menu_shortcut { 0 };
};

typedef char DATABASE_TEXT_FIELD[DATABASE_TEXT];

struct LANGUAGE_RECORD {
    LANGUAGE_RECORD() = default;
    ~LANGUAGE_RECORD();
    LANGUAGE_RECORD(const LANGUAGE_RECORD&) = delete;
    LANGUAGE_RECORD& operator=(const LANGUAGE_RECORD&) = delete;

    [[nodiscard]] char* text(LANGUAGE_KEY key) { return strings[static_cast<INT_S32>(key)]; }
    [[nodiscard]] const char* text(LANGUAGE_KEY key) const { return strings[static_cast<INT_S32>(key)]; }
    // The install type's name in this language; empty outside the array.
    [[nodiscard]] const char* installation_name(INT_S32 index) const;
    // A fresh array of `count` empty names (0 frees it). False, with none, when memory runs out.
    [[nodiscard]] bool allocate_installation_names(INT_S16 count);

    char name[DATABASE_TEXT] {};
    DATABASE_TEXT_FIELD strings[LANGUAGE_KEY_COUNT] {};
    DATABASE_TEXT_FIELD* installation_names { nullptr }; // installation_count entries
    INT_S16 installation_name_count { 0 };
    char licence_path[DATABASE_TEXT] {};
    char licence_filename[DATABASE_TEXT] {};
    char readme_path[DATABASE_TEXT] {};
    char readme_filename[DATABASE_TEXT] {};
    INT_S16 readme_lines { 0 };
    char release_notes_path[DATABASE_TEXT] {};
    char release_notes_filename[DATABASE_TEXT] {};
    INT_S16 release_notes_lines { 0 };
};

struct CLIENT_RECORD {
    ORLU_STRING platform;
    FOLDER path;
    ORLU_STRING filename;
    ORLU_STRING destname;
    INT_U8 compress_data { 0 };
};

// ---------------------------------------------------------------------------------------------
// [SECTION] DATABASE
// ---------------------------------------------------------------------------------------------

class DATABASE : public DATA_DEVICE_CLIENT {
public:
    // The defaults of reset, with data_folder "$APPDATA" and config_file_name "installer.xml".
    DATABASE();
    // Frees the records and the package.
    ~DATABASE() override;
    DATABASE(const DATABASE&) = delete;
    DATABASE& operator=(const DATABASE&) = delete;

    // Frees every record and sets every field to its default. The run's own setting-up stays:
    // `package`, `data_folder`, `config_file_name` and `platform_code` are not touched, because a
    // load resets the database after they were chosen.
    void reset();

    // The stream. Reading resets first; it answers false at the first failed read or damaged
    // count, keeping what was read, and sets the device's `failed` flag from its answer. After a
    // whole read `current_language` is the language named by `default_language_name` (0 when
    // none is) and `current_page` is next_page() of page 2. Writing always writes version 18 and
    // answers false when the device refuses bytes.
    [[nodiscard]] bool get_from_data_device(DATA_DEVICE* device) override;
    [[nodiscard]] bool put_to_data_device(DATA_DEVICE* device) const override;

    // Opens the package `name` in `data_folder` (read-only, blocks of 1024) and reads its member
    // "database.bin", then the default fonts it carries. False when the package does not open,
    // holds no "database.bin", or the stream is damaged (cut short, a negative length, a count
    // out of range); `damaged`, when given, tells damage (that stream, or a file that is there
    // but does not open as a package) from missing data. Afterwards `package`
    // is open on the data set.
    //
    // After use_data_set the members come from that data set, read in place, instead: `name` is
    // then not opened, and `package` stays null.
    [[nodiscard]] bool load_data_set(const char* name, bool* damaged = nullptr);
    // Hands over a data set opened for reading in place; the database owns and deletes it.
    void use_data_set(DATA_SET_READER* reader);
    // Before load_data_set: the data set was unpacked into `count` packages in `data_folder`, the
    // main one under the name load_data_set is given and the others beside it (unpack_data_set).
    // With more than one, the load also opens the others behind members() and refuses, as
    // damage, a database whose file records do not name exactly the packages there are. 1, the
    // default, is a data set of one package, loaded as a package always was.
    void use_unpacked_packages(INT_U32 count);
    // Where members are read from: the data set read in place, else the unpacked packages, else
    // the package; null when none is open.
    [[nodiscard]] MEMBER_STORE* members() const;
    // The package that holds the member `packed_name` and the member's name in it, for reading a
    // package directly: of a data set unpacked into several packages, the one the name names;
    // otherwise `package`. Null when there is none (the data set read in place has no packages).
    [[nodiscard]] PACKAGE* package_of(const char* packed_name, const char** member) const;
    // The stream on the plain file "installer.idx" in `data_folder`, with its byte-order byte.
    // False when the file does not open or, on reading, the stream is damaged.
    [[nodiscard]] bool load_index();
    [[nodiscard]] bool save_index() const;

    // The wizard's page after or before `current_page`. Both depend only on the database and on
    // what the open package holds (no package: no licence, release notes or readme).
    [[nodiscard]] INT_S32 next_page() const;
    [[nodiscard]] INT_S32 previous_page() const;
    // The same from a given page.
    [[nodiscard]] INT_S32 next_page_from(INT_S32 page) const;
    [[nodiscard]] INT_S32 previous_page_from(INT_S32 page) const;

    // The platform filter of files and shortcuts: "" matches; "linux" (or "linux_i86") matches
    // here; "lsb" and "msb" match by byte order; "linux:32bit,64bit" matches when the machine's
    // word size is in the list. Names are compared without regard to case.
    [[nodiscard]] bool matches_platform(const char* text) const;
    // The same for a target platform code instead of this machine: the base names the target;
    // "lsb" holds for every code the installer knows, "msb" only for macosx (17). A word-size
    // list is tested against this machine's word size.
    [[nodiscard]] bool matches_platform_for(const char* text, INT_U8 target) const;

    // Whether the package holds the member "licence-%d" (or the others) for the current language.
    [[nodiscard]] bool has_licence() const;
    [[nodiscard]] bool has_release_notes() const;
    [[nodiscard]] bool has_readme() const;

    // Replace an array with `count` fresh records (0 frees it); the languages get names for
    // `installation_count` install types. False, with no records, for a count out of range or no
    // memory.
    [[nodiscard]] bool allocate_installations(INT_S16 count);
    [[nodiscard]] bool allocate_languages(INT_S16 count);
    [[nodiscard]] bool allocate_clients(INT_S16 count);

    // Computes total_files and each installation's shortcut flags, as a load does.
    void count_files_and_shortcuts();

    // The language in use, or null without languages.
    [[nodiscard]] const LANGUAGE_RECORD* language() const;
    // Its text for a key; the empty text without languages.
    [[nodiscard]] const char* text(LANGUAGE_KEY key) const;

    // --- Streamed fields, in stream order where a table does not say otherwise -----------------
    INT_U32 installation_id { 0 };
    INT_U8 show_frame_rate { 0 };
    INT_U8 show_filenames { 1 };
    INT_U8 show_filepaths { 1 };
    INT_U32 file_cache_sz { 0x100000 };
    char default_language_name[DATABASE_TEXT] {};
    WINDOW_SETTINGS window;
    DIALOG_SETTINGS dialog;
    BOX_SETTINGS exit { -1, -1, 200, 150, 1 };
    BOX_SETTINGS error { -1, -1, 400, 300, 1 };
    FILE_SELECT_SETTINGS file_select;
    BOX_SETTINGS about;
    char background_path[DATABASE_TEXT] {};
    char background_filename[DATABASE_TEXT] {};
    INT_S32 background_speed { 600 };
    INT_S16 background_width { -1 };
    INT_S16 background_height { -1 };
    INT_S16 background_start_offset_ms { 0 };
    char log_dest_path[DATABASE_TEXT] {};
    char log_system_dest_path[DATABASE_TEXT] {};
    char patch_dest_path[DATABASE_TEXT] {};
    char patch_system_dest_path[DATABASE_TEXT] {};
    INT_U8 patch_do_check { 0 };
    WM_STYLE_SET style_sets[DATABASE_STYLE_COUNT];
    IMAGE icons[DATABASE_ICON_COUNT];
    IMAGE background_image;
    INT_S16 progress_bar_animation_x_rate { 0 };
    INT_S16 progress_bar_animation_y_rate { 0 };
    INT_S16 progress_bar_animation_update_rate { 0 };
    char version[DATABASE_TEXT] {};
    INT_S32 build_number { 0 };
    char app_string[DATABASE_TEXT] {};
    INT_S32 data_time { 0 };
    INT_S16 check_desktop_width { -1 };
    INT_S16 check_desktop_height { -1 };
    INSTALLATION_RECORD* installations { nullptr };
    INT_S16 installation_count { 0 };
    LANGUAGE_RECORD* languages { nullptr };
    INT_S16 language_count { 0 };
    char skin_path[DATABASE_LONG_TEXT] {};
    CLIENT_RECORD** clients { nullptr };
    INT_S16 client_count { 0 };
    // The texts of every FILE_RECORD; cleared with the records.
    TEXT_ARENA file_texts;

    // --- Run-time fields, never streamed -----------------------------------------------------
    INT_S16 current_installation { 0 };
    INT_S16 current_language { 0 };
    INT_S32 current_page { PAGE_START };
    SYSTEM_INFO system_info;
    INT_U8 is_patch { 0 };
    char install_path[DATABASE_LONG_TEXT] { "$ROOT0" };
    INT_S16 total_files { 0 };
    INT_U8 use_system_paths { 1 };
    INT_U8 want_desktop_shortcut { 1 };
    INT_U8 want_menu_shortcut { 1 };
    INT_U8 desktop_checked { 0 };
    char desktop_check_text[DATABASE_SHORT_TEXT] {};
    PACKAGE* package { nullptr };
    DATA_SET_READER* data_set { nullptr }; // the data set read in place, when it is
    ORLU_STRING config_file_name { "installer.xml" };
    FOLDER data_folder { "$APPDATA" };
    INT_U8 platform_code { 1 };

private:
    void free_records();
    bool read_stream(DATA_DEVICE* device);
    bool has_member(const char* pattern) const;
    void load_packaged_fonts();
    bool load_from_data_set(bool* damaged);
    void drop_unpacked();
    // While the stream of a data set read in place is read, its members are not asked for: the
    // reader learns where they lie from the stream itself.
    bool m_reading_data_set { false };
    // The packages of a data set unpacked into several, over `package` as the main one.
    INT_U32 m_unpacked_count { 1 };
    UNPACKED_DATA_SET* m_unpacked { nullptr };
};
