// The packer's reader of installer configurations ("installer.xml").
//
// The reader is strict where the run-time is lenient: an unknown element or attribute, a value
// longer than its field, a number out of range, a word that is not one of the allowed ones and a
// file that is not there are all errors, each with the file name and line. Every error is
// collected, so that a publisher sees all missing files at once; an XML syntax error ends the
// reading at once, as nothing after it can be trusted.
//
// Paths in the configuration are relative to the configuration's folder unless they begin
// with "/".
#pragma once

#include <string>
#include <vector>

#include "base/orlu_types.h"

class DATABASE;

// One file that goes into the package.
struct PACK_MEMBER {
    std::string member; // its name in the package
    std::string path;   // the file, absolute
    INT_S32 line { 0 }; // where the configuration asks for it
};

struct PACK_SPLASH {
    bool present { false };
    std::string image_folder;
    std::string image_name;
    std::string title;
    INT_S16 bar_x { 0 };
    INT_S16 bar_y { 0 };
    INT_S16 bar_width { 0 };
    INT_S16 bar_height { 0 };
    std::string style_folder;
    std::string style_name;
};

struct PACK_PLAN {
    std::string config_path;   // as given, for messages
    std::string config_folder; // absolute
    // Payload files by installation and file, then the language texts, then the fonts.
    std::vector<PACK_MEMBER> members;
    bool installation_id_given { false };
    std::string skin_folder;   // absolute; empty without SKIN
    std::string background_folder;
    std::string background_name; // empty without a background picture
    PACK_SPLASH splash;
    // The INSTALLER_CLIENT chosen for the target platform, -1 when none matches.
    INT_S32 client_index { -1 };
    std::string client_path;   // its executable, absolute
    INT_S32 client_line { 0 };
    // The files the build reads besides the members (the configuration first, the client, the
    // pictures, the skin), for the build time and the derived installation id.
    std::vector<std::string> inputs;
    // The line of each LANGUAGE element, in the database's order.
    std::vector<INT_S32> language_lines;
};

// Messages "<file>:<line>: <text>" in the order found.
struct CONFIG_ERRORS {
    std::vector<std::string> lines;
    std::vector<std::string> missing; // files that are not there, reported together
    void add(const std::string& file, INT_S32 line, const char* format, ...) __attribute__((format(printf, 4, 5)));
    [[nodiscard]] bool empty() const { return lines.empty() && missing.empty(); }
};

// One element the reader accepts: its tag, the element it stands in ("" for the root) and the
// attributes it takes.
struct CONFIG_ELEMENT {
    const char* tag;
    const char* parent;
    std::vector<const char*> attributes;
};
// Every element and attribute the reader accepts, the language texts (one element for each
// text key inside LANGUAGE, with the attribute "string") included.
const std::vector<CONFIG_ELEMENT>& accepted_config_elements();
// The element of that tag in that parent, or null.
const CONFIG_ELEMENT* find_config_element(const char* tag, const char* parent);

// Reads `path` into `database` (which is reset first) and `plan`. `target` is the platform code
// of the client to take (1 for linux). False when there is any error; the errors say what.
[[nodiscard]] bool read_installer_config(const char* path, INT_U8 target, DATABASE* database, PACK_PLAN* plan,
    CONFIG_ERRORS* errors);

// "a/./b/../c" to "a/c"; keeps a leading "/". Used for every path the configuration names.
std::string normalise_path(const std::string& path);

// The tags of the wizard's texts that a language leaves empty. The two texts of the packer's
// own pages (PACK_DATA_TITLE, PACK_LOG_TITLE) are not the wizard's and are never asked for.
std::vector<std::string> missing_wizard_texts(const DATABASE& database, INT_S16 language);
