// Reading "installer.xml" for the packer: first the XML into a small tree, then the tree into the
// database and the plan of the package, checking every element, attribute and file on the way.
//
// [SECTION] Errors and paths
// [SECTION] What the reader accepts
// [SECTION] The XML tree
// [SECTION] Attribute readers
// [SECTION] Elements of INSTALLER
// [SECTION] Installations
// [SECTION] Languages
// [SECTION] Files and the whole reading

#include "installer_config.h"

#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <string>
#include <string_view>
#include <strings.h>

#include "base/format.h"
#include "io/data_file.h"
#include "installer/engine/database.h"
#include "installer/engine/install_engine.h"
#include "io/folder.h"
#include "graphics/font.h"
#include "host/host.h"
#include "host/host_files.h"
#include "installer/engine/installer_options.h"
#include "base/orlu_string.h"
#include "base/text_arena.h"
#include "io/xml_parser.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Errors and paths
// ---------------------------------------------------------------------------------------------

void CONFIG_ERRORS::add(const std::string& file, INT_S32 line, const char* format, ...)
{
    char text[1200];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof text, format, args);
    va_end(args);
    char head[64];
    snprintf(head, sizeof head, ":%d: ", static_cast<int>(line));
    lines.push_back(file + head + text);
}

std::string normalise_path(const std::string& path)
{
    bool absolute = !path.empty() && path[0] == '/';
    std::vector<std::string> parts;
    size_t at = 0;
    while (at <= path.size()) {
        size_t end = path.find('/', at);
        if (end == std::string::npos)
            end = path.size();
        std::string part = path.substr(at, end - at);
        if (part == "..") {
            if (!parts.empty() && parts.back() != "..")
                parts.pop_back();
            else if (!absolute)
                parts.push_back(part);
        } else if (!part.empty() && part != ".") {
            parts.push_back(part);
        }
        at = end + 1;
    }
    std::string result = absolute ? "/" : "";
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i)
            result += "/";
        result += parts[i];
    }
    return result.empty() ? "." : result;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] What the reader accepts
// ---------------------------------------------------------------------------------------------

// The one list of elements and attributes: the reader checks against it, and the test of the
// documentation reads it, so that nothing accepted goes undocumented.
const std::vector<CONFIG_ELEMENT>& accepted_config_elements()
{
    static std::vector<CONFIG_ELEMENT> elements;
    if (!elements.empty())
        return elements;
    const std::vector<const char*> box = { "x", "y", "width", "height", "can_drag" };
    const std::vector<const char*> destinations = { "dest_path_from_inst_loc", "system_dest_path_from_inst_loc" };
    elements = {
        { "INSTALLER", "", { "show_frame_rate", "show_filenames", "show_filepaths", "file_cache_sz",
                               "default_language_name", "installation_id" } },
        { "APPLICATION", "INSTALLER", { "version", "build_number", "app_string" } },
        { "WINDOW", "INSTALLER", { "width", "height", "fullscreen", "show_bg_title" } },
        { "DIALOG", "INSTALLER", { "x", "y", "width", "height", "button_gap", "can_drag" } },
        { "EXIT", "INSTALLER", box },
        { "ERROR", "INSTALLER", box },
        { "FILE_SELECT", "INSTALLER", { "x", "y", "width", "height", "new_folder_too", "can_drag" } },
        { "ABOUT", "INSTALLER", box },
        { "BACKGROUND", "INSTALLER", { "path", "filename", "speed", "width", "height", "start_offset_ms" } },
        { "SKIN", "INSTALLER", { "path" } },
        { "LOG", "INSTALLER", destinations },
        { "PATCH", "INSTALLER", { "dest_path_from_inst_loc", "system_dest_path_from_inst_loc", "do_check" } },
        { "CHECK_DESKTOP_SIZE", "INSTALLER", { "width", "height" } },
        { "SPLASH", "INSTALLER", { "path", "filename", "title", "bar_x", "bar_y", "bar_width", "bar_height", "bar_style" } },
        { "FONTS", "INSTALLER", { "path" } },
        { "INSTALLER_CLIENT", "INSTALLER", { "path", "filename", "destname", "platform", "compress_data" } },
        { "INSTALLATION", "INSTALLER", { "name", "allow_system_paths", "default_path", "uninstaller_name",
                                           "uninstaller_filename", "uninstaller_path", "uninstaller_syspath" } },
        { "FILE", "INSTALLATION", { "platform", "src_name", "dest_name", "src_path_from_xml", "dest_path_from_inst_loc",
                                      "system_dest_path_from_inst_loc", "stamp", "switch_user", "overwrite" } },
        { "SHORTCUT", "INSTALLATION", { "type", "exec", "name", "menu_path", "platform", "arguments", "exec_path",
                                          "exec_syspath", "icon", "icon_path", "icon_syspath" } },
        { "LANGUAGE", "INSTALLER", { "name" } },
        { "INSTALLATION", "LANGUAGE", { "name", "string" } },
        { "LICENCE", "LANGUAGE", { "path", "filename" } },
        { "README", "LANGUAGE", { "path", "filename", "lines" } },
        { "RELEASE_NOTES", "LANGUAGE", { "path", "filename", "lines" } },
    };
    for (INT_S32 key = 0; key < LANGUAGE_KEY_COUNT; ++key)
        elements.push_back({ language_key_name(key), "LANGUAGE", { "string" } });
    return elements;
}

const CONFIG_ELEMENT* find_config_element(const char* tag, const char* parent)
{
    for (const CONFIG_ELEMENT& element : accepted_config_elements()) {
        if (strcmp(element.tag, tag) == 0 && strcmp(element.parent, parent) == 0)
            return &element;
    }
    return nullptr;
}

namespace {

// ---------------------------------------------------------------------------------------------
// [SECTION] The XML tree
// ---------------------------------------------------------------------------------------------

// An attribute of the tree. Names and values live in the tree's text arena, zero-terminated
// (value.data() may be handed to C functions); a folder path written on thousands of FILE
// elements is kept once.
struct XML_ATTRIBUTE {
    const char* name;
    std::string_view value; // Latin-1 text
    size_t written;         // characters of the value as written, before any conversion
};

struct XML_NODE {
    std::string tag;
    std::vector<XML_ATTRIBUTE> attributes;
    INT_S32 line { 0 };
    std::vector<INT_U32> children;
};

class TREE_READER : public XML_PARSER {
public:
    TREE_READER(const std::string& file, CONFIG_ERRORS* errors)
        : m_file(file)
        , m_errors(errors)
    {
        set_raw_attributes(true);
    }

    void start_element(const char* name, const char** attributes) override
    {
        if (nodes.size() >= 0xFFFFFFFFu) {
            fail("Too many elements", name);
            return;
        }
        XML_NODE node;
        node.tag = name;
        node.line = current_line();
        INT_S32 count = 0;
        while (attributes[count])
            count += 2;
        node.attributes.reserve(static_cast<size_t>(count / 2));
        for (INT_S32 i = 0; attributes[i]; i += 2) {
            ORLU_STRING value;
            ORLU_STRING key;
            const char* stored_key = nullptr;
            const char* stored_value = nullptr;
            if (utf8_to_string(attributes[i + 1], -1, &value) && utf8_to_string(attributes[i], -1, &key)) {
                stored_key = texts.store(key.c_str());
                stored_value = texts.store(value.c_str());
            }
            if (!stored_key || !stored_value) {
                fail("Out of memory", name);
                return;
            }
            node.attributes.push_back(XML_ATTRIBUTE { stored_key, std::string_view(stored_value),
                static_cast<size_t>(value.length()) });
        }
        INT_U32 index = static_cast<INT_U32>(nodes.size());
        nodes.push_back(std::move(node));
        if (!m_open.empty())
            nodes[m_open.back()].children.push_back(index);
        else if (index != 0)
            fail("More than one root element", name);
        m_open.push_back(index);
    }

    void end_element(const char*) override
    {
        if (!m_open.empty())
            m_open.pop_back();
    }

    void character_data(const char* text, INT_S32 length) override
    {
        for (INT_S32 i = 0; i < length; ++i) {
            char c = text[i];
            if (c == ' ' || c == '\t' || c == '\n' || c == '\r')
                continue;
            const char* tag = m_open.empty() ? "" : nodes[m_open.back()].tag.c_str();
            m_errors->add(m_file, current_line(), "text is not expected inside <%s>", tag);
            return;
        }
    }

    // The line where expat noticed the fault is often far from its cause (a tag left open above),
    // so the element that is open is named with the line it began on.
    void report_error(const char* message, const char* context, INT_S32 line) override
    {
        std::string open;
        if (!m_open.empty()) {
            const XML_NODE& node = nodes[m_open.back()];
            open = "; <" + node.tag + "> begun on line " + std::to_string(node.line) + " is open";
        }
        // The text around the fault, on one line.
        std::string near;
        for (const char* c = context ? context : ""; *c; ++c) {
            bool blank = *c == '\n' || *c == '\r' || *c == '\t' || *c == ' ';
            if (!blank)
                near += *c;
            else if (!near.empty() && near.back() != ' ')
                near += ' ';
        }
        while (!near.empty() && near.back() == ' ')
            near.pop_back();
        if (!near.empty())
            m_errors->add(m_file, line, "XML error: %s%s (near \"%s\")", message, open.c_str(), near.c_str());
        else
            m_errors->add(m_file, line, "XML error: %s%s", message, open.c_str());
    }

    // The element left open when the input ended (expat is never told the input is over), or
    // null when every element was closed.
    [[nodiscard]] const XML_NODE* unclosed() const { return m_open.empty() ? nullptr : &nodes[m_open.back()]; }

    // A deque: the tree of a configuration of tens of thousands of files is never moved whole.
    std::deque<XML_NODE> nodes;
    TEXT_ARENA texts;

private:
    std::string m_file;
    CONFIG_ERRORS* m_errors;
    std::vector<INT_U32> m_open;
};

// ---------------------------------------------------------------------------------------------
// [SECTION] Attribute readers
// ---------------------------------------------------------------------------------------------

const char* const PATH_VARIABLES = "$HERE (the install folder), $APP, $BASE, $APPDATA, $INSTDATA, $USERAPP, "
                                   "$USERDATA, $USERPREFS, $USERSAVES, $SYSAPP, $SYSDATA, $SYSPREFS, $DATA, $TEMP, "
                                   "$FONTDATA, $ICONDATA and $ROOT0, $ROOT1 and so on";

// The variables an install resolves, compared without regard to case as the run-time does;
// $ROOT takes a number.
bool is_install_variable(const std::string& variable)
{
    static const char* const names[] = { "$HERE", "$APP", "$BASE", "$APPDATA", "$INSTDATA", "$USERAPP", "$USERDATA",
        "$USERPREFS", "$USERSAVES", "$SYSAPP", "$SYSDATA", "$SYSPREFS", "$DATA", "$TEMP", "$FONTDATA", "$ICONDATA" };
    for (const char* name : names) {
        if (strcasecmp(variable.c_str(), name) == 0)
            return true;
    }
    if (variable.size() <= 5 || strncasecmp(variable.c_str(), "$ROOT", 5) != 0)
        return false;
    for (size_t i = 5; i < variable.size(); ++i) {
        if (!isdigit(static_cast<unsigned char>(variable[i])))
            return false;
    }
    return true;
}

class CONFIG_READER {
public:
    CONFIG_READER(const std::deque<XML_NODE>& nodes, const std::string& file, INT_U8 target, DATABASE* database,
        PACK_PLAN* plan, CONFIG_ERRORS* errors)
        : m_nodes(nodes)
        , m_file(file)
        , m_target(target)
        , m_db(database)
        , m_plan(plan)
        , m_errors(errors)
    {
    }

    void read_root();

private:
    // Reports every attribute of the node that the element, standing in `parent`, does not take.
    void check_attributes(const XML_NODE& node, const char* parent)
    {
        const CONFIG_ELEMENT* element = find_config_element(node.tag.c_str(), parent);
        for (const XML_ATTRIBUTE& attribute : node.attributes) {
            bool known = false;
            for (size_t i = 0; element && i < element->attributes.size(); ++i)
                known = known || strcmp(attribute.name, element->attributes[i]) == 0;
            if (!known)
                error(node, "unknown attribute '%s' on <%s>", attribute.name, node.tag.c_str());
        }
    }

    // The attribute's value (zero-terminated behind its end), or null when it is not there.
    const std::string_view* find(const XML_NODE& node, const char* name, size_t* length = nullptr) const
    {
        for (const XML_ATTRIBUTE& attribute : node.attributes) {
            if (strcmp(attribute.name, name) == 0) {
                if (length)
                    *length = attribute.written;
                return &attribute.value;
            }
        }
        return nullptr;
    }

    bool required(const XML_NODE& node, const char* name)
    {
        if (find(node, name))
            return true;
        error(node, "<%s> needs the attribute '%s'", node.tag.c_str(), name);
        return false;
    }

    // A text into a field of `size` bytes; a longer value is an error, never cut.
    void text(const XML_NODE& node, const char* name, char* field, size_t size)
    {
        size_t written = 0;
        const std::string_view* value = find(node, name, &written);
        if (!value)
            return;
        if (value->size() > size - 1 || written > size - 1) {
            error(node, "'%s' on <%s> is %zu characters long; the field holds at most %zu", name, node.tag.c_str(),
                written > value->size() ? written : value->size(), size - 1);
            return;
        }
        memcpy(field, value->data(), value->size() + 1);
    }

    // A folder text of the install, set at install time through the path variables: empty, a
    // known variable and what follows, or ".." and what follows. A variable the run-time does not
    // know would end the install, so it is refused here with the list of the known ones.
    void folder_text(const XML_NODE& node, const char* name, char* field, size_t size)
    {
        text(node, name, field, size);
        check_folder_text(node, name);
    }

    void check_folder_text(const XML_NODE& node, const char* name)
    {
        const std::string_view* value = find(node, name);
        if (!value || value->empty() || value->compare(0, 2, "..") == 0)
            return;
        if ((*value)[0] != '$') {
            error(node, "'%s' on <%s> is \"%s\", which does not begin with a path variable; the variables are %s",
                name, node.tag.c_str(), value->data(), PATH_VARIABLES);
            return;
        }
        std::string variable(value->substr(0, value->find('/')));
        if (!is_install_variable(variable))
            error(node, "'%s' on <%s> is \"%s\": %s is not a path variable; the variables are %s", name,
                node.tag.c_str(), value->data(), variable.c_str(), PATH_VARIABLES);
    }

    // Where a file lands stays below its variable's folder: the run-time refuses a ".." element
    // (the install folder's parent is not what the user chose) and the file system root ($ROOT1)
    // unless the install type allows system paths, so an installer that would meet either is
    // refused here, where the publisher can still change it.
    void check_destination(const XML_NODE& node, const INSTALLATION_RECORD& installation)
    {
        for (const char* name : { "dest_path_from_inst_loc", "system_dest_path_from_inst_loc" }) {
            const std::string_view* value = find(node, name);
            if (!value)
                continue;
            if (has_parent_element(*value))
                error(node, "'%s' on <%s> is \"%s\": a \"..\" element would lead out of its folder", name,
                    node.tag.c_str(), value->data());
            std::string variable(value->substr(0, value->find('/')));
            if (!installation.allow_system_paths && strcasecmp(variable.c_str(), "$ROOT1") == 0)
                error(node, "'%s' on <%s> is \"%s\": $ROOT1 (the file system root) needs allow_system_paths=\"yes\" "
                    "on <INSTALLATION>", name, node.tag.c_str(), value->data());
        }
        const std::string_view* dest_name = find(node, "dest_name");
        const std::string_view* src_name = find(node, "src_name");
        const std::string_view* name = dest_name && !dest_name->empty() ? dest_name : src_name;
        if (name && (*name == "." || *name == ".." || name->find('/') != std::string::npos))
            error(node, "'%s' on <%s> is \"%s\": the installed name must be a file name, without \"/\", \".\" or \"..\"",
                name == dest_name ? "dest_name" : "src_name", node.tag.c_str(), name->data());
    }

    static bool has_parent_element(std::string_view text)
    {
        size_t at = 0;
        while (at <= text.size()) {
            size_t end = text.find('/', at);
            if (end == std::string::npos)
                end = text.size();
            if (text.compare(at, end - at, "..") == 0 && end - at == 2)
                return true;
            at = end + 1;
        }
        return false;
    }

    // A file record's text, checked as a field of DATABASE_TEXT and kept in the database's
    // arena.
    void text(const XML_NODE& node, const char* name, const char** field)
    {
        char buffer[DATABASE_TEXT] = {};
        if (!find(node, name))
            return;
        text(node, name, buffer, sizeof buffer);
        const char* stored = m_db->file_texts.store(buffer);
        if (!stored)
            error(node, "out of memory");
        else
            *field = stored;
    }

    void string(const XML_NODE& node, const char* name, ORLU_STRING* field, size_t most)
    {
        const std::string_view* value = find(node, name);
        if (!value)
            return;
        if (value->size() > most) {
            error(node, "'%s' on <%s> is %zu characters long; at most %zu are allowed", name, node.tag.c_str(),
                value->size(), most);
            return;
        }
        field->assign(value->data());
    }

    void flag(const XML_NODE& node, const char* name, INT_U8* field)
    {
        const std::string_view* value = find(node, name);
        if (!value)
            return;
        if (*value == "yes")
            *field = 1;
        else if (*value == "no")
            *field = 0;
        else
            error(node, "'%s' on <%s> must be \"yes\" or \"no\", not \"%s\"", name, node.tag.c_str(), value->data());
    }

    bool integer(const XML_NODE& node, const char* name, long long low, long long high, long long* out)
    {
        const std::string_view* value = find(node, name);
        if (!value)
            return false;
        const char* text = value->data();
        char* end = nullptr;
        long long number = strtoll(text, &end, 10);
        bool digits = text[0] && (isdigit(static_cast<unsigned char>(text[0])) || text[0] == '-');
        if (!digits || !end || *end) {
            error(node, "'%s' on <%s> must be a decimal number, not \"%s\"", name, node.tag.c_str(), text);
            return false;
        }
        if (number < low || number > high) {
            error(node, "'%s' on <%s> is %lld; it must lie from %lld to %lld", name, node.tag.c_str(), number, low,
                high);
            return false;
        }
        *out = number;
        return true;
    }

    template <typename T>
    void number(const XML_NODE& node, const char* name, T* field, long long low, long long high)
    {
        long long value = 0;
        if (integer(node, name, low, high, &value))
            *field = static_cast<T>(value);
    }

    void s16(const XML_NODE& node, const char* name, INT_S16* field) { number(node, name, field, -32768, 32767); }

    // A platform filter: "", a platform name, "lsb", "msb", or "linux:" with a list of word sizes.
    void platform(const XML_NODE& node, const char* name, ORLU_STRING* field)
    {
        const std::string_view* value = find(node, name);
        if (!value)
            return;
        std::string base(value->substr(0, value->find(':')));
        bool known = base.empty() || platform_code_from_name(base.c_str()) != 0 || base == "lsb" || base == "msb";
        if (!known || (base.empty() && !value->empty())) {
            error(node, "'%s' on <%s>: \"%s\" is not a platform (linux, macosx, windows, gp2x, winmob_arm, psp, nds, "
                        "lsb, msb)",
                name, node.tag.c_str(), value->data());
            return;
        }
        if (value->find(':') != std::string::npos) {
            std::string list(value->substr(value->find(':') + 1));
            size_t at = 0;
            while (at <= list.size()) {
                size_t end = list.find(',', at);
                if (end == std::string::npos)
                    end = list.size();
                std::string word = list.substr(at, end - at);
                if (word != "32bit" && word != "64bit" && word != "unknown") {
                    error(node, "'%s' on <%s>: \"%s\" is not a word size (32bit, 64bit, unknown)", name,
                        node.tag.c_str(), word.c_str());
                    return;
                }
                at = end + 1;
            }
        }
        string(node, name, field, DATABASE_TEXT - 1);
    }

    void error(const XML_NODE& node, const char* format, ...) __attribute__((format(printf, 3, 4)))
    {
        char text[1100];
        va_list args;
        va_start(args, format);
        vsnprintf(text, sizeof text, format, args);
        va_end(args);
        m_errors->add(m_file, node.line, "%s", text);
    }

    // Something worth telling that does not stop the build.
    void note(const XML_NODE& node, const char* format, ...) __attribute__((format(printf, 3, 4)))
    {
        char text[1100];
        va_list args;
        va_start(args, format);
        vsnprintf(text, sizeof text, format, args);
        va_end(args);
        fprintf(stderr, "packer: %s:%d: warning: %s\n", m_file.c_str(), node.line, text);
    }

    // A folder and file name relative to the configuration, made absolute.
    std::string resolve(const std::string& folder, const std::string& name = "") const
    {
        std::string joined = folder.empty() ? m_plan->config_folder
                                            : (folder[0] == '/' ? folder : m_plan->config_folder + "/" + folder);
        if (!name.empty())
            joined += "/" + name;
        return normalise_path(joined);
    }

    // Notes a file that the build reads; a missing one joins the list of missing files. A payload
    // file is not added to the inputs: the member list names it already.
    void need_file(const XML_NODE& node, const std::string& path, bool payload = false)
    {
        HOST_FILE_INFO info;
        if (!host_file_info(path.c_str(), &info) || info.is_folder) {
            char head[64];
            snprintf(head, sizeof head, ":%d: ", static_cast<int>(node.line));
            m_errors->missing.push_back(m_file + head + path);
            return;
        }
        if (!payload)
            m_plan->inputs.push_back(path);
    }

    bool need_folder(const XML_NODE& node, const std::string& path)
    {
        HOST_FILE_INFO info;
        if (host_file_info(path.c_str(), &info) && info.is_folder)
            return true;
        char head[64];
        snprintf(head, sizeof head, ":%d: ", static_cast<int>(node.line));
        m_errors->missing.push_back(m_file + head + path + "/");
        return false;
    }

    bool once(const XML_NODE& node)
    {
        for (const std::string& seen : m_seen) {
            if (seen == node.tag) {
                error(node, "<%s> is given twice", node.tag.c_str());
                return false;
            }
        }
        m_seen.push_back(node.tag);
        return true;
    }

    void read_element(const XML_NODE& node);
    void read_installation(const XML_NODE& node, INSTALLATION_RECORD* installation, INT_S16 index);
    void read_file(const XML_NODE& node, INSTALLATION_RECORD* installation, FILE_RECORD* file, INT_S16 index);
    void read_shortcut(const XML_NODE& node, SHORTCUT_RECORD* shortcut);
    void read_language(const XML_NODE& node, LANGUAGE_RECORD* language, INT_S16 index);
    void read_client(const XML_NODE& node, CLIENT_RECORD* client);
    std::string client_file(const std::string& folder, const char* name) const;
    void read_splash(const XML_NODE& node);
    void read_fonts(const XML_NODE& node);
    void text_member(const XML_NODE& node, const char* pattern, INT_S16 index, const char* path, const char* name);

    const std::deque<XML_NODE>& m_nodes;
    std::string m_file;
    INT_U8 m_target;
    DATABASE* m_db;
    PACK_PLAN* m_plan;
    CONFIG_ERRORS* m_errors;
    std::vector<std::string> m_seen;
    INT_S16 m_client = 0;
    std::vector<PACK_MEMBER> m_texts;
    std::vector<PACK_MEMBER> m_fonts;
};

// ---------------------------------------------------------------------------------------------
// [SECTION] Elements of INSTALLER
// ---------------------------------------------------------------------------------------------

void CONFIG_READER::read_root()
{
    const XML_NODE& root = m_nodes[0];
    if (root.tag != "INSTALLER") {
        error(root, "the root element must be <INSTALLER>, not <%s>", root.tag.c_str());
        return;
    }
    check_attributes(root, "");
    flag(root, "show_frame_rate", &m_db->show_frame_rate);
    flag(root, "show_filenames", &m_db->show_filenames);
    flag(root, "show_filepaths", &m_db->show_filepaths);
    number(root, "file_cache_sz", &m_db->file_cache_sz, DATA_FILE_MIN_CACHE, DATA_FILE_MAX_CACHE);
    text(root, "default_language_name", m_db->default_language_name, sizeof m_db->default_language_name);
    if (find(root, "installation_id")) {
        number(root, "installation_id", &m_db->installation_id, 0, 0xFFFFFFFFLL);
        m_plan->installation_id_given = true;
    }

    // Count first, so that the records are allocated once and at their size.
    INT_S32 installations = 0, languages = 0, clients = 0;
    for (size_t child : root.children) {
        const std::string& tag = m_nodes[child].tag;
        installations += tag == "INSTALLATION";
        languages += tag == "LANGUAGE";
        clients += tag == "INSTALLER_CLIENT";
    }
    if (installations > DATABASE_MAX_INSTALLATIONS)
        error(root, "%d installations; at most %d are allowed", installations, DATABASE_MAX_INSTALLATIONS);
    if (languages > DATABASE_MAX_LANGUAGES)
        error(root, "%d languages; at most %d are allowed", languages, DATABASE_MAX_LANGUAGES);
    if (clients > DATABASE_MAX_CLIENTS)
        error(root, "%d clients; at most %d are allowed", clients, DATABASE_MAX_CLIENTS);
    if (!m_errors->lines.empty())
        return;
    if (!m_db->allocate_installations(static_cast<INT_S16>(installations))
        || !m_db->allocate_languages(static_cast<INT_S16>(languages))
        || !m_db->allocate_clients(static_cast<INT_S16>(clients))) {
        error(root, "out of memory");
        return;
    }

    INT_S16 installation = 0, language = 0;
    for (size_t child : root.children) {
        const XML_NODE& node = m_nodes[child];
        if (node.tag == "INSTALLATION")
            read_installation(node, &m_db->installations[installation], installation), ++installation;
        else if (node.tag == "LANGUAGE")
            read_language(node, &m_db->languages[language], language), ++language;
        else if (node.tag == "INSTALLER_CLIENT")
            read_client(node, m_db->clients[m_client]), ++m_client;
        else
            read_element(node);
    }
    // Language names of install types, by the installation's name; absent ones take it as it is.
    for (INT_S16 l = 0; l < m_db->language_count; ++l) {
        for (INT_S16 i = 0; i < m_db->installation_count; ++i) {
            if (!m_db->languages[l].installation_names[i][0])
                snprintf(m_db->languages[l].installation_names[i], DATABASE_TEXT, "%s", m_db->installations[i].name);
        }
    }
    if (installations == 0)
        error(root, "<INSTALLER> holds no <INSTALLATION>");
    if (m_plan->client_index < 0 && clients > 0)
        error(root, "no <INSTALLER_CLIENT> is for the platform \"%s\"", platform_name(m_target));
    m_plan->members.insert(m_plan->members.end(), m_texts.begin(), m_texts.end());
    m_plan->members.insert(m_plan->members.end(), m_fonts.begin(), m_fonts.end());
}

void CONFIG_READER::read_element(const XML_NODE& node)
{
    const std::string& tag = node.tag;
    if (!node.children.empty())
        error(node, "<%s> holds no elements", tag.c_str());
    if (tag == "APPLICATION") {
        check_attributes(node, "INSTALLER");
        once(node);
        text(node, "version", m_db->version, sizeof m_db->version);
        number(node, "build_number", &m_db->build_number, -2147483648LL, 2147483647LL);
        text(node, "app_string", m_db->app_string, sizeof m_db->app_string);
    } else if (tag == "WINDOW") {
        check_attributes(node, "INSTALLER");
        once(node);
        s16(node, "width", &m_db->window.width);
        s16(node, "height", &m_db->window.height);
        flag(node, "fullscreen", &m_db->window.fullscreen);
        flag(node, "show_bg_title", &m_db->window.show_bg_title);
    } else if (tag == "DIALOG") {
        check_attributes(node, "INSTALLER");
        once(node);
        s16(node, "x", &m_db->dialog.x);
        s16(node, "y", &m_db->dialog.y);
        s16(node, "width", &m_db->dialog.width);
        s16(node, "height", &m_db->dialog.height);
        s16(node, "button_gap", &m_db->dialog.button_gap);
        flag(node, "can_drag", &m_db->dialog.can_drag);
    } else if (tag == "EXIT" || tag == "ERROR" || tag == "ABOUT") {
        check_attributes(node, "INSTALLER");
        once(node);
        BOX_SETTINGS* box = tag == "EXIT" ? &m_db->exit : tag == "ERROR" ? &m_db->error : &m_db->about;
        s16(node, "x", &box->x);
        s16(node, "y", &box->y);
        s16(node, "width", &box->width);
        s16(node, "height", &box->height);
        flag(node, "can_drag", &box->can_drag);
    } else if (tag == "FILE_SELECT") {
        check_attributes(node, "INSTALLER");
        once(node);
        s16(node, "x", &m_db->file_select.x);
        s16(node, "y", &m_db->file_select.y);
        s16(node, "width", &m_db->file_select.width);
        s16(node, "height", &m_db->file_select.height);
        flag(node, "new_folder_too", &m_db->file_select.new_folder_too);
        flag(node, "can_drag", &m_db->file_select.can_drag);
    } else if (tag == "BACKGROUND") {
        check_attributes(node, "INSTALLER");
        once(node);
        text(node, "path", m_db->background_path, sizeof m_db->background_path);
        text(node, "filename", m_db->background_filename, sizeof m_db->background_filename);
        number(node, "speed", &m_db->background_speed, 0, 2147483647LL);
        s16(node, "width", &m_db->background_width);
        s16(node, "height", &m_db->background_height);
        s16(node, "start_offset_ms", &m_db->background_start_offset_ms);
        if (m_db->background_filename[0]) {
            m_plan->background_folder = resolve(m_db->background_path);
            m_plan->background_name = m_db->background_filename;
            need_file(node, resolve(m_db->background_path, m_db->background_filename));
        }
    } else if (tag == "SKIN") {
        check_attributes(node, "INSTALLER");
        once(node);
        if (required(node, "path")) {
            text(node, "path", m_db->skin_path, sizeof m_db->skin_path);
            m_plan->skin_folder = resolve(m_db->skin_path);
            if (need_folder(node, m_plan->skin_folder))
                m_plan->inputs.push_back(m_plan->skin_folder);
        }
    } else if (tag == "LOG") {
        check_attributes(node, "INSTALLER");
        once(node);
        folder_text(node, "dest_path_from_inst_loc", m_db->log_dest_path, sizeof m_db->log_dest_path);
        folder_text(node, "system_dest_path_from_inst_loc", m_db->log_system_dest_path, sizeof m_db->log_system_dest_path);
    } else if (tag == "PATCH") {
        check_attributes(node, "INSTALLER");
        once(node);
        folder_text(node, "dest_path_from_inst_loc", m_db->patch_dest_path, sizeof m_db->patch_dest_path);
        folder_text(node, "system_dest_path_from_inst_loc", m_db->patch_system_dest_path, sizeof m_db->patch_system_dest_path);
        flag(node, "do_check", &m_db->patch_do_check);
    } else if (tag == "CHECK_DESKTOP_SIZE") {
        check_attributes(node, "INSTALLER");
        once(node);
        s16(node, "width", &m_db->check_desktop_width);
        s16(node, "height", &m_db->check_desktop_height);
    } else if (tag == "SPLASH") {
        once(node);
        read_splash(node);
    } else if (tag == "FONTS") {
        once(node);
        read_fonts(node);
    } else {
        error(node, "unknown element <%s> in <INSTALLER>", tag.c_str());
    }
}

void CONFIG_READER::read_client(const XML_NODE& node, CLIENT_RECORD* client)
{
    check_attributes(node, "INSTALLER");
    if (!node.children.empty())
        error(node, "<%s> holds no elements", node.tag.c_str());
    if (!required(node, "filename"))
        return;
    platform(node, "platform", &client->platform);
    string(node, "filename", &client->filename, DATABASE_TEXT - 1);
    string(node, "destname", &client->destname, DATABASE_TEXT - 1);
    flag(node, "compress_data", &client->compress_data);
    // The client's folder is the publisher's and means nothing to the run-time: the record keeps
    // "$APP", so that the data set does not depend on where it was built. A patch configuration
    // written from it names the client's folder "$APP", which the packer reads as its own folder.
    const std::string_view* path = find(node, "path");
    if (m_plan->client_index < 0 && m_db->matches_platform_for(client->platform.c_str(), m_target)) {
        m_plan->client_index = m_client;
        m_plan->client_path = client_file(path ? std::string(*path) : std::string(), client->filename.c_str());
        m_plan->client_line = node.line;
    }
}

// The client's file: relative to the configuration, absolute, or in the packer's own folder for a
// path that begins with "$APP".
std::string CONFIG_READER::client_file(const std::string& folder, const char* name) const
{
    if (folder.compare(0, 4, "$APP") == 0 && (folder.size() == 4 || folder[4] == '/')) {
        FOLDER own;
        return normalise_path(std::string(own.path()) + folder.substr(4) + "/" + name);
    }
    return resolve(folder, name);
}

// SPLASH: path, filename (the picture), title, bar_x, bar_y, bar_width, bar_height and
// bar_style (a style file, relative to the configuration).
void CONFIG_READER::read_splash(const XML_NODE& node)
{
    check_attributes(node, "INSTALLER");
    if (!node.children.empty())
        error(node, "<%s> holds no elements", node.tag.c_str());
    PACK_SPLASH& splash = m_plan->splash;
    if (!required(node, "filename") || !required(node, "bar_style"))
        return;
    splash.present = true;
    const std::string_view* path = find(node, "path");
    splash.image_folder = resolve(path ? std::string(*path) : std::string());
    splash.image_name = *find(node, "filename");
    need_file(node, resolve(splash.image_folder, splash.image_name));
    const std::string_view* title = find(node, "title");
    if (title) {
        if (title->size() > DATABASE_TEXT - 1)
            error(node, "'title' on <SPLASH> is %zu characters long; the field holds at most %d", title->size(),
                DATABASE_TEXT - 1);
        splash.title = *title;
    }
    s16(node, "bar_x", &splash.bar_x);
    s16(node, "bar_y", &splash.bar_y);
    s16(node, "bar_width", &splash.bar_width);
    s16(node, "bar_height", &splash.bar_height);
    std::string style = resolve(std::string(*find(node, "bar_style")));
    size_t slash = style.rfind('/');
    splash.style_folder = style.substr(0, slash);
    splash.style_name = style.substr(slash + 1);
    need_file(node, style);
}

// FONTS path: the folder that holds the files of the built-in font table; each goes into the
// package under its own name.
void CONFIG_READER::read_fonts(const XML_NODE& node)
{
    check_attributes(node, "INSTALLER");
    if (!node.children.empty())
        error(node, "<%s> holds no elements", node.tag.c_str());
    const std::string_view* path = find(node, "path");
    std::string folder = resolve(path ? std::string(*path) : std::string());
    for (INT_S16 number = 0; number < BUILT_IN_FONT_COUNT; ++number) {
        std::string file = folder + "/" + font_file_name(number);
        need_file(node, file);
        m_fonts.push_back(PACK_MEMBER { font_file_name(number), file, node.line });
    }
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Installations
// ---------------------------------------------------------------------------------------------

void CONFIG_READER::read_installation(const XML_NODE& node, INSTALLATION_RECORD* installation, INT_S16 index)
{
    check_attributes(node, "INSTALLER");
    if (!required(node, "name"))
        return;
    // The packed names add four digits to the name.
    text(node, "name", installation->name, sizeof installation->name - 4);
    flag(node, "allow_system_paths", &installation->allow_system_paths);
    folder_text(node, "default_path", installation->default_path, sizeof installation->default_path);
    text(node, "uninstaller_name", installation->uninstaller_name, sizeof installation->uninstaller_name);
    text(node, "uninstaller_filename", installation->uninstaller_filename, sizeof installation->uninstaller_filename);
    folder_text(node, "uninstaller_path", installation->uninstaller_path, sizeof installation->uninstaller_path);
    folder_text(node, "uninstaller_syspath", installation->uninstaller_syspath, sizeof installation->uninstaller_syspath);
    for (INT_S16 other = 0; other < index; ++other) {
        if (strcmp(m_db->installations[other].name, installation->name) == 0)
            error(node, "the installation name \"%s\" is used twice; packed names would collide", installation->name);
    }

    INT_S32 files = 0, shortcuts = 0, before = 0;
    for (INT_S16 other = 0; other < index; ++other)
        before += m_db->installations[other].file_count;
    for (size_t child : node.children) {
        files += m_nodes[child].tag == "FILE";
        shortcuts += m_nodes[child].tag == "SHORTCUT";
    }
    // A data set counts its files in 16 bits, all install types together.
    if (before + files > INSTALL_ENGINE_MAX_FILES) {
        error(node, "%d files in all; at most %d are allowed", before + files, INSTALL_ENGINE_MAX_FILES);
        return;
    }
    m_plan->members.reserve(m_plan->members.size() + static_cast<size_t>(files));
    if (shortcuts > DATABASE_MAX_SHORTCUTS) {
        error(node, "%d shortcuts; at most %d are allowed", shortcuts, DATABASE_MAX_SHORTCUTS);
        return;
    }
    if (!installation->allocate_files(static_cast<INT_S16>(files))
        || !installation->allocate_shortcuts(static_cast<INT_S16>(shortcuts))) {
        error(node, "out of memory");
        return;
    }
    INT_S16 file = 0, shortcut = 0;
    for (size_t child : node.children) {
        const XML_NODE& element = m_nodes[child];
        if (element.tag == "FILE")
            read_file(element, installation, &installation->files[file], file), ++file;
        else if (element.tag == "SHORTCUT")
            read_shortcut(element, &installation->shortcuts[shortcut++]);
        else
            error(element, "unknown element <%s> in <INSTALLATION>", element.tag.c_str());
    }
}

void CONFIG_READER::read_file(const XML_NODE& node, INSTALLATION_RECORD* installation, FILE_RECORD* file,
    INT_S16 index)
{
    check_attributes(node, "INSTALLATION");
    if (!node.children.empty())
        error(node, "<%s> holds no elements", node.tag.c_str());
    if (!required(node, "src_name"))
        return;
    platform(node, "platform", &file->platform);
    text(node, "src_name", &file->src_name);
    text(node, "dest_name", &file->dest_name);
    text(node, "src_path_from_xml", &file->src_path_from_xml);
    text(node, "dest_path_from_inst_loc", &file->dest_path_from_inst_loc);
    text(node, "system_dest_path_from_inst_loc", &file->system_dest_path_from_inst_loc);
    check_folder_text(node, "dest_path_from_inst_loc");
    check_folder_text(node, "system_dest_path_from_inst_loc");
    check_destination(node, *installation);
    flag(node, "stamp", &file->stamp);
    flag(node, "switch_user", &file->switch_user);
    const std::string_view* overwrite = find(node, "overwrite");
    if (overwrite) {
        if (*overwrite == "always")
            file->overwrite = OVERWRITE_ALWAYS;
        else if (*overwrite == "older")
            file->overwrite = OVERWRITE_WHEN_OLDER;
        else if (*overwrite == "absent")
            file->overwrite = OVERWRITE_WHEN_ABSENT;
        else
            error(node, "'overwrite' on <FILE> must be \"always\", \"older\" or \"absent\", not \"%s\"",
                overwrite->data());
    }
    char packed_name[DATABASE_TEXT];
    // A cut packed name would be another member's, so it is never cut.
    if (!format_text(packed_name, sizeof packed_name, "%s%04X", installation->name, index + 1))
        error(node, "the packed name of \"%s\" in \"%s\" does not fit its field", file->src_name, installation->name);
    file->packed_name = m_db->file_texts.store_once(packed_name);
    if (!file->packed_name) {
        file->packed_name = "";
        error(node, "out of memory");
    }
    std::string source = resolve(file->src_path_from_xml, file->src_name);
    need_file(node, source, true);
    m_plan->members.push_back(PACK_MEMBER { file->packed_name, source, node.line });
}

// SHORTCUT: type ("application", "weblink", "textfile"), exec, name, menu_path (empty: on the
// desktop), platform, arguments, exec_path, exec_syspath, icon, icon_path, icon_syspath.
void CONFIG_READER::read_shortcut(const XML_NODE& node, SHORTCUT_RECORD* shortcut)
{
    check_attributes(node, "INSTALLATION");
    if (!node.children.empty())
        error(node, "<%s> holds no elements", node.tag.c_str());
    if (!required(node, "type") || !required(node, "exec") || !required(node, "name"))
        return;
    std::string_view type = *find(node, "type");
    shortcut->type = shortcut_type_of(type.data());
    if (shortcut->type == SHORTCUT_UNKNOWN)
        error(node, "'type' on <SHORTCUT> must be \"application\", \"weblink\" or \"textfile\", not \"%s\"",
            type.data());
    text(node, "exec", shortcut->exec, sizeof shortcut->exec);
    text(node, "name", shortcut->name, sizeof shortcut->name);
    text(node, "menu_path", shortcut->menu_path, sizeof shortcut->menu_path);
    platform(node, "platform", &shortcut->platform);
    text(node, "arguments", shortcut->arguments, sizeof shortcut->arguments);
    folder_text(node, "exec_path", shortcut->exec_path, sizeof shortcut->exec_path);
    folder_text(node, "exec_syspath", shortcut->exec_syspath, sizeof shortcut->exec_syspath);
    text(node, "icon", shortcut->icon, sizeof shortcut->icon);
    folder_text(node, "icon_path", shortcut->icon_path, sizeof shortcut->icon_path);
    folder_text(node, "icon_syspath", shortcut->icon_syspath, sizeof shortcut->icon_syspath);
}

// ---------------------------------------------------------------------------------------------
// [SECTION] Languages
// ---------------------------------------------------------------------------------------------

void CONFIG_READER::text_member(const XML_NODE& node, const char* pattern, INT_S16 index, const char* path,
    const char* name)
{
    if (!name[0])
        return;
    char member[64];
    snprintf(member, sizeof member, pattern, static_cast<int>(index));
    std::string source = resolve(path, name);
    need_file(node, source);
    m_texts.push_back(PACK_MEMBER { member, source, node.line });
}

void CONFIG_READER::read_language(const XML_NODE& node, LANGUAGE_RECORD* language, INT_S16 index)
{
    check_attributes(node, "INSTALLER");
    if (!required(node, "name"))
        return;
    text(node, "name", language->name, sizeof language->name);
    m_plan->language_lines.push_back(node.line);
    std::vector<std::string> seen;
    for (size_t child : node.children) {
        const XML_NODE& element = m_nodes[child];
        if (!element.children.empty())
            error(element, "<%s> holds no elements", element.tag.c_str());
        bool repeatable = element.tag == "INSTALLATION";
        for (const std::string& tag : seen) {
            if (!repeatable && tag == element.tag)
                error(element, "<%s> is given twice in <LANGUAGE>", element.tag.c_str());
        }
        seen.push_back(element.tag);
        INT_S32 key = language_key_of(element.tag.c_str());
        if (key >= 0) {
            check_attributes(element, "LANGUAGE");
            text(element, "string", language->strings[key], DATABASE_TEXT);
        } else if (element.tag == "INSTALLATION") {
            check_attributes(element, "LANGUAGE");
            if (!required(element, "name") || !required(element, "string"))
                continue;
            std::string_view name = *find(element, "name");
            INT_S16 which = -1;
            for (INT_S16 i = 0; i < m_db->installation_count; ++i) {
                if (name == m_db->installations[i].name)
                    which = i;
            }
            // A patch configuration written by the installer's differ names its install type
            // "default" whatever it is called, so a name that matches nothing is told, not fatal.
            if (which < 0)
                note(element, "no installation is called \"%s\"; its translated name is ignored", name.data());
            else
                text(element, "string", language->installation_names[which], DATABASE_TEXT);
        } else if (element.tag == "LICENCE") {
            check_attributes(element, "LANGUAGE");
            text(element, "path", language->licence_path, sizeof language->licence_path);
            text(element, "filename", language->licence_filename, sizeof language->licence_filename);
            text_member(element, "licence-%d", index, language->licence_path, language->licence_filename);
        } else if (element.tag == "README" || element.tag == "RELEASE_NOTES") {
            check_attributes(element, "LANGUAGE");
            bool readme = element.tag == "README";
            char* path = readme ? language->readme_path : language->release_notes_path;
            char* name = readme ? language->readme_filename : language->release_notes_filename;
            text(element, "path", path, DATABASE_TEXT);
            text(element, "filename", name, DATABASE_TEXT);
            number(element, "lines", readme ? &language->readme_lines : &language->release_notes_lines, 0, 32767);
            text_member(element, readme ? "readme-%d" : "release_notes-%d", index, path, name);
        } else {
            error(element, "unknown element <%s> in <LANGUAGE>", element.tag.c_str());
        }
    }
}

} // namespace

// ---------------------------------------------------------------------------------------------
// [SECTION] Files and the whole reading
// ---------------------------------------------------------------------------------------------

bool read_installer_config(const char* path, INT_U8 target, DATABASE* database, PACK_PLAN* plan,
    CONFIG_ERRORS* errors)
{
    database->reset();
    *plan = PACK_PLAN();
    plan->config_path = path;
    char folder_path[ORLU_MAX_PATH];
    char name[256];
    FOLDER folder;
    if (!host_split_user_path(path, folder_path, sizeof folder_path, name, sizeof name)
        || !folder.set_raw(folder_path) || !folder.exists(name)) {
        errors->add(path, 0, "cannot read the configuration");
        return false;
    }
    plan->config_folder = folder.path();
    plan->inputs.push_back(plan->config_folder + "/" + name);

    TREE_READER reader(path, errors);
    DATA_FILE* file = folder.open_data_file(name, FILE_READ, 0, false);
    if (!file) {
        errors->add(path, 0, "cannot read the configuration");
        return false;
    }
    bool parsed = reader.parse_device(file);
    FOLDER::close_data_file(&file);
    if (!parsed || reader.has_stopped() || !errors->empty())
        return false;
    if (reader.nodes.empty()) {
        errors->add(path, reader.current_line(), "the configuration holds no elements");
        return false;
    }
    if (const XML_NODE* open = reader.unclosed()) {
        errors->add(path, reader.current_line(), "the file ends inside <%s>, opened on line %d", open->tag.c_str(),
            static_cast<int>(open->line));
        return false;
    }
    // The folder the run-time resolves SKIN and the other relative paths against.
    (void)database->data_folder.set_raw(plan->config_folder.c_str());
    CONFIG_READER config(reader.nodes, path, target, database, plan, errors);
    config.read_root();
    return errors->empty();
}

std::vector<std::string> missing_wizard_texts(const DATABASE& database, INT_S16 language)
{
    std::vector<std::string> missing;
    if (language < 0 || language >= database.language_count)
        return missing;
    for (INT_S32 key = 0; key < LANGUAGE_KEY_COUNT; ++key) {
        if (key == static_cast<INT_S32>(LANGUAGE_KEY::PACK_DATA_TITLE) || key == static_cast<INT_S32>(LANGUAGE_KEY::PACK_LOG_TITLE))
            continue;
        if (!database.languages[language].strings[key][0])
            missing.push_back(language_key_name(key));
    }
    return missing;
}
