// Reading "installer.xml" for the packer: first the XML into a small tree, then the tree into the
// database and the plan of the package, checking every element, attribute and file on the way.
//
// [SECTION] Errors and paths
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
#include <string>

#include "io/data_file.h"
#include "installer/engine/database.h"
#include "io/folder.h"
#include "graphics/font.h"
#include "host/host.h"
#include "host/host_files.h"
#include "installer/engine/installer_options.h"
#include "base/orlu_string.h"
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

namespace {

// ---------------------------------------------------------------------------------------------
// [SECTION] The XML tree
// ---------------------------------------------------------------------------------------------

struct XML_NODE {
    std::string tag;
    std::vector<std::pair<std::string, std::string>> attributes; // Latin-1 text
    std::vector<size_t> lengths; // characters of each value as written, before any conversion
    INT_S32 line { 0 };
    std::vector<size_t> children;
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
        XML_NODE node;
        node.tag = name;
        node.line = current_line();
        for (INT_S32 i = 0; attributes[i]; i += 2) {
            ORLU_STRING value;
            if (!utf8_to_string(attributes[i + 1], -1, &value)) {
                fail("Out of memory", name);
                return;
            }
            ORLU_STRING key;
            (void)utf8_to_string(attributes[i], -1, &key);
            node.attributes.emplace_back(key.c_str(), value.c_str());
            node.lengths.push_back(static_cast<size_t>(value.length()));
        }
        size_t index = nodes.size();
        nodes.push_back(node);
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

    void report_error(const char* message, const char* context, INT_S32 line) override
    {
        if (context && context[0])
            m_errors->add(m_file, line, "XML error: %s (%s)", message, context);
        else
            m_errors->add(m_file, line, "XML error: %s", message);
    }

    // The element left open when the input ended (expat is never told the input is over), or
    // null when every element was closed.
    [[nodiscard]] const XML_NODE* unclosed() const { return m_open.empty() ? nullptr : &nodes[m_open.back()]; }

    std::vector<XML_NODE> nodes;

private:
    std::string m_file;
    CONFIG_ERRORS* m_errors;
    std::vector<size_t> m_open;
};

// ---------------------------------------------------------------------------------------------
// [SECTION] Attribute readers
// ---------------------------------------------------------------------------------------------

class CONFIG_READER {
public:
    CONFIG_READER(const std::vector<XML_NODE>& nodes, const std::string& file, INT_U8 target, DATABASE* database,
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
    // Reports every attribute of the node that is not in `allowed` (a null-ended list).
    void check_attributes(const XML_NODE& node, const char* const* allowed)
    {
        for (const auto& attribute : node.attributes) {
            bool known = false;
            for (const char* const* name = allowed; *name; ++name)
                known = known || attribute.first == *name;
            if (!known)
                error(node, "unknown attribute '%s' on <%s>", attribute.first.c_str(), node.tag.c_str());
        }
    }

    const std::string* find(const XML_NODE& node, const char* name, size_t* length = nullptr) const
    {
        for (size_t i = 0; i < node.attributes.size(); ++i) {
            if (node.attributes[i].first == name) {
                if (length)
                    *length = node.lengths[i];
                return &node.attributes[i].second;
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
        const std::string* value = find(node, name, &written);
        if (!value)
            return;
        if (value->size() > size - 1 || written > size - 1) {
            error(node, "'%s' on <%s> is %zu characters long; the field holds at most %zu", name, node.tag.c_str(),
                written > value->size() ? written : value->size(), size - 1);
            return;
        }
        memcpy(field, value->c_str(), value->size() + 1);
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
        const std::string* value = find(node, name);
        if (!value)
            return;
        if (value->size() > most) {
            error(node, "'%s' on <%s> is %zu characters long; at most %zu are allowed", name, node.tag.c_str(),
                value->size(), most);
            return;
        }
        field->assign(value->c_str());
    }

    void flag(const XML_NODE& node, const char* name, INT_U8* field)
    {
        const std::string* value = find(node, name);
        if (!value)
            return;
        if (*value == "yes")
            *field = 1;
        else if (*value == "no")
            *field = 0;
        else
            error(node, "'%s' on <%s> must be \"yes\" or \"no\", not \"%s\"", name, node.tag.c_str(), value->c_str());
    }

    bool integer(const XML_NODE& node, const char* name, long long low, long long high, long long* out)
    {
        const std::string* value = find(node, name);
        if (!value)
            return false;
        const char* text = value->c_str();
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
        const std::string* value = find(node, name);
        if (!value)
            return;
        std::string base = value->substr(0, value->find(':'));
        bool known = base.empty() || platform_code_from_name(base.c_str()) != 0 || base == "lsb" || base == "msb";
        if (!known || (base.empty() && !value->empty())) {
            error(node, "'%s' on <%s>: \"%s\" is not a platform (linux, macosx, windows, gp2x, winmob_arm, psp, nds, "
                        "lsb, msb)",
                name, node.tag.c_str(), value->c_str());
            return;
        }
        if (value->find(':') != std::string::npos) {
            std::string list = value->substr(value->find(':') + 1);
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

    // Notes a file that the build reads; a missing one joins the list of missing files.
    void need_file(const XML_NODE& node, const std::string& path)
    {
        HOST_FILE_INFO info;
        if (!host_file_info(path.c_str(), &info) || info.is_folder) {
            char head[64];
            snprintf(head, sizeof head, ":%d: ", static_cast<int>(node.line));
            m_errors->missing.push_back(m_file + head + path);
            return;
        }
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
    void read_splash(const XML_NODE& node);
    void read_fonts(const XML_NODE& node);
    void text_member(const XML_NODE& node, const char* pattern, INT_S16 index, const char* path, const char* name);

    const std::vector<XML_NODE>& m_nodes;
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
    static const char* const root_attributes[] = { "show_frame_rate", "show_filenames", "show_filepaths",
        "file_cache_sz", "default_language_name", "installation_id", nullptr };
    check_attributes(root, root_attributes);
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
        static const char* const allowed[] = { "version", "build_number", "app_string", nullptr };
        check_attributes(node, allowed);
        once(node);
        text(node, "version", m_db->version, sizeof m_db->version);
        number(node, "build_number", &m_db->build_number, -2147483648LL, 2147483647LL);
        text(node, "app_string", m_db->app_string, sizeof m_db->app_string);
    } else if (tag == "WINDOW") {
        static const char* const allowed[] = { "width", "height", "fullscreen", "show_bg_title", nullptr };
        check_attributes(node, allowed);
        once(node);
        s16(node, "width", &m_db->window.width);
        s16(node, "height", &m_db->window.height);
        flag(node, "fullscreen", &m_db->window.fullscreen);
        flag(node, "show_bg_title", &m_db->window.show_bg_title);
    } else if (tag == "DIALOG") {
        static const char* const allowed[] = { "x", "y", "width", "height", "button_gap", "can_drag", nullptr };
        check_attributes(node, allowed);
        once(node);
        s16(node, "x", &m_db->dialog.x);
        s16(node, "y", &m_db->dialog.y);
        s16(node, "width", &m_db->dialog.width);
        s16(node, "height", &m_db->dialog.height);
        s16(node, "button_gap", &m_db->dialog.button_gap);
        flag(node, "can_drag", &m_db->dialog.can_drag);
    } else if (tag == "EXIT" || tag == "ERROR" || tag == "ABOUT") {
        static const char* const allowed[] = { "x", "y", "width", "height", "can_drag", nullptr };
        check_attributes(node, allowed);
        once(node);
        BOX_SETTINGS* box = tag == "EXIT" ? &m_db->exit : tag == "ERROR" ? &m_db->error : &m_db->about;
        s16(node, "x", &box->x);
        s16(node, "y", &box->y);
        s16(node, "width", &box->width);
        s16(node, "height", &box->height);
        flag(node, "can_drag", &box->can_drag);
    } else if (tag == "FILE_SELECT") {
        static const char* const allowed[] = { "x", "y", "width", "height", "new_folder_too", "can_drag", nullptr };
        check_attributes(node, allowed);
        once(node);
        s16(node, "x", &m_db->file_select.x);
        s16(node, "y", &m_db->file_select.y);
        s16(node, "width", &m_db->file_select.width);
        s16(node, "height", &m_db->file_select.height);
        flag(node, "new_folder_too", &m_db->file_select.new_folder_too);
        flag(node, "can_drag", &m_db->file_select.can_drag);
    } else if (tag == "BACKGROUND") {
        static const char* const allowed[] = { "path", "filename", "speed", "width", "height", "start_offset_ms",
            nullptr };
        check_attributes(node, allowed);
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
        static const char* const allowed[] = { "path", nullptr };
        check_attributes(node, allowed);
        once(node);
        if (required(node, "path")) {
            text(node, "path", m_db->skin_path, sizeof m_db->skin_path);
            m_plan->skin_folder = resolve(m_db->skin_path);
            if (need_folder(node, m_plan->skin_folder))
                m_plan->inputs.push_back(m_plan->skin_folder);
        }
    } else if (tag == "LOG") {
        static const char* const allowed[] = { "dest_path_from_inst_loc", "system_dest_path_from_inst_loc", nullptr };
        check_attributes(node, allowed);
        once(node);
        text(node, "dest_path_from_inst_loc", m_db->log_dest_path, sizeof m_db->log_dest_path);
        text(node, "system_dest_path_from_inst_loc", m_db->log_system_dest_path, sizeof m_db->log_system_dest_path);
    } else if (tag == "PATCH") {
        static const char* const allowed[] = { "dest_path_from_inst_loc", "system_dest_path_from_inst_loc", "do_check",
            nullptr };
        check_attributes(node, allowed);
        once(node);
        text(node, "dest_path_from_inst_loc", m_db->patch_dest_path, sizeof m_db->patch_dest_path);
        text(node, "system_dest_path_from_inst_loc", m_db->patch_system_dest_path, sizeof m_db->patch_system_dest_path);
        flag(node, "do_check", &m_db->patch_do_check);
    } else if (tag == "CHECK_DESKTOP_SIZE") {
        static const char* const allowed[] = { "width", "height", nullptr };
        check_attributes(node, allowed);
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
    static const char* const allowed[] = { "path", "filename", "destname", "platform", "compress_data", nullptr };
    check_attributes(node, allowed);
    if (!node.children.empty())
        error(node, "<%s> holds no elements", node.tag.c_str());
    if (!required(node, "filename"))
        return;
    platform(node, "platform", &client->platform);
    string(node, "filename", &client->filename, DATABASE_TEXT - 1);
    string(node, "destname", &client->destname, DATABASE_TEXT - 1);
    flag(node, "compress_data", &client->compress_data);
    const std::string* path = find(node, "path");
    std::string folder = resolve(path ? *path : "");
    if (folder.size() >= static_cast<size_t>(ORLU_MAX_PATH)) {
        error(node, "the folder '%s' is too long", folder.c_str());
        return;
    }
    if (!need_folder(node, folder) || !client->path.set_raw(folder.c_str()))
        return;
    if (m_plan->client_index < 0 && m_db->matches_platform_for(client->platform.c_str(), m_target)) {
        m_plan->client_index = m_client;
        m_plan->client_path = folder + "/" + client->filename.c_str();
        m_plan->client_line = node.line;
    }
}

// SPLASH: path, filename (the picture), title, bar_x, bar_y, bar_width, bar_height and
// bar_style (a style file, relative to the configuration).
void CONFIG_READER::read_splash(const XML_NODE& node)
{
    static const char* const allowed[] = { "path", "filename", "title", "bar_x", "bar_y", "bar_width", "bar_height",
        "bar_style", nullptr };
    check_attributes(node, allowed);
    if (!node.children.empty())
        error(node, "<%s> holds no elements", node.tag.c_str());
    PACK_SPLASH& splash = m_plan->splash;
    if (!required(node, "filename") || !required(node, "bar_style"))
        return;
    splash.present = true;
    const std::string* path = find(node, "path");
    splash.image_folder = resolve(path ? *path : "");
    splash.image_name = *find(node, "filename");
    need_file(node, resolve(splash.image_folder, splash.image_name));
    const std::string* title = find(node, "title");
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
    std::string style = resolve(*find(node, "bar_style"));
    size_t slash = style.rfind('/');
    splash.style_folder = style.substr(0, slash);
    splash.style_name = style.substr(slash + 1);
    need_file(node, style);
}

// FONTS path: the folder that holds the files of the built-in font table; each goes into the
// package under its own name.
void CONFIG_READER::read_fonts(const XML_NODE& node)
{
    static const char* const allowed[] = { "path", nullptr };
    check_attributes(node, allowed);
    if (!node.children.empty())
        error(node, "<%s> holds no elements", node.tag.c_str());
    const std::string* path = find(node, "path");
    std::string folder = resolve(path ? *path : "");
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
    static const char* const allowed[] = { "name", "allow_system_paths", "default_path", "uninstaller_name",
        "uninstaller_filename", "uninstaller_path", "uninstaller_syspath", nullptr };
    check_attributes(node, allowed);
    if (!required(node, "name"))
        return;
    // The packed names add four digits to the name.
    text(node, "name", installation->name, sizeof installation->name - 4);
    flag(node, "allow_system_paths", &installation->allow_system_paths);
    text(node, "default_path", installation->default_path, sizeof installation->default_path);
    text(node, "uninstaller_name", installation->uninstaller_name, sizeof installation->uninstaller_name);
    text(node, "uninstaller_filename", installation->uninstaller_filename, sizeof installation->uninstaller_filename);
    text(node, "uninstaller_path", installation->uninstaller_path, sizeof installation->uninstaller_path);
    text(node, "uninstaller_syspath", installation->uninstaller_syspath, sizeof installation->uninstaller_syspath);
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
    if (before + files > 0x7FFF || files > 0xFFFF) {
        error(node, "%d files in all; at most 32767 are allowed", before + files);
        return;
    }
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
    static const char* const allowed[] = { "platform", "src_name", "dest_name", "src_path_from_xml",
        "dest_path_from_inst_loc", "system_dest_path_from_inst_loc", "stamp", "switch_user", "overwrite", nullptr };
    check_attributes(node, allowed);
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
    flag(node, "stamp", &file->stamp);
    flag(node, "switch_user", &file->switch_user);
    const std::string* overwrite = find(node, "overwrite");
    if (overwrite) {
        if (*overwrite == "always")
            file->overwrite = OVERWRITE_ALWAYS;
        else if (*overwrite == "older")
            file->overwrite = OVERWRITE_WHEN_OLDER;
        else if (*overwrite == "absent")
            file->overwrite = OVERWRITE_WHEN_ABSENT;
        else
            error(node, "'overwrite' on <FILE> must be \"always\", \"older\" or \"absent\", not \"%s\"",
                overwrite->c_str());
    }
    char packed_name[DATABASE_TEXT];
    snprintf(packed_name, sizeof packed_name, "%s%04X", installation->name, index + 1);
    file->packed_name = m_db->file_texts.store_once(packed_name);
    if (!file->packed_name) {
        file->packed_name = "";
        error(node, "out of memory");
    }
    std::string source = resolve(file->src_path_from_xml, file->src_name);
    need_file(node, source);
    m_plan->members.push_back(PACK_MEMBER { file->packed_name, source, node.line });
}

// SHORTCUT: type ("application", "weblink", "textfile"), exec, name, menu_path (empty: on the
// desktop), platform, arguments, exec_path, exec_syspath, icon, icon_path, icon_syspath.
void CONFIG_READER::read_shortcut(const XML_NODE& node, SHORTCUT_RECORD* shortcut)
{
    static const char* const allowed[] = { "type", "exec", "name", "menu_path", "platform", "arguments", "exec_path",
        "exec_syspath", "icon", "icon_path", "icon_syspath", nullptr };
    check_attributes(node, allowed);
    if (!node.children.empty())
        error(node, "<%s> holds no elements", node.tag.c_str());
    if (!required(node, "type") || !required(node, "exec") || !required(node, "name"))
        return;
    const std::string& type = *find(node, "type");
    shortcut->type = shortcut_type_of(type.c_str());
    if (shortcut->type == SHORTCUT_UNKNOWN)
        error(node, "'type' on <SHORTCUT> must be \"application\", \"weblink\" or \"textfile\", not \"%s\"",
            type.c_str());
    text(node, "exec", shortcut->exec, sizeof shortcut->exec);
    text(node, "name", shortcut->name, sizeof shortcut->name);
    text(node, "menu_path", shortcut->menu_path, sizeof shortcut->menu_path);
    platform(node, "platform", &shortcut->platform);
    text(node, "arguments", shortcut->arguments, sizeof shortcut->arguments);
    text(node, "exec_path", shortcut->exec_path, sizeof shortcut->exec_path);
    text(node, "exec_syspath", shortcut->exec_syspath, sizeof shortcut->exec_syspath);
    text(node, "icon", shortcut->icon, sizeof shortcut->icon);
    text(node, "icon_path", shortcut->icon_path, sizeof shortcut->icon_path);
    text(node, "icon_syspath", shortcut->icon_syspath, sizeof shortcut->icon_syspath);
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
    static const char* const allowed[] = { "name", nullptr };
    check_attributes(node, allowed);
    if (!required(node, "name"))
        return;
    text(node, "name", language->name, sizeof language->name);
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
            static const char* const allowed_key[] = { "string", nullptr };
            check_attributes(element, allowed_key);
            text(element, "string", language->strings[key], DATABASE_TEXT);
        } else if (element.tag == "INSTALLATION") {
            static const char* const allowed_name[] = { "name", "string", nullptr };
            check_attributes(element, allowed_name);
            if (!required(element, "name") || !required(element, "string"))
                continue;
            const std::string& name = *find(element, "name");
            INT_S16 which = -1;
            for (INT_S16 i = 0; i < m_db->installation_count; ++i) {
                if (name == m_db->installations[i].name)
                    which = i;
            }
            // A patch configuration written by the installer's differ names its install type
            // "default" whatever it is called, so a name that matches nothing is told, not fatal.
            if (which < 0)
                note(element, "no installation is called \"%s\"; its translated name is ignored", name.c_str());
            else
                text(element, "string", language->installation_names[which], DATABASE_TEXT);
        } else if (element.tag == "LICENCE") {
            static const char* const allowed_file[] = { "path", "filename", nullptr };
            check_attributes(element, allowed_file);
            text(element, "path", language->licence_path, sizeof language->licence_path);
            text(element, "filename", language->licence_filename, sizeof language->licence_filename);
            text_member(element, "licence-%d", index, language->licence_path, language->licence_filename);
        } else if (element.tag == "README" || element.tag == "RELEASE_NOTES") {
            static const char* const allowed_file[] = { "path", "filename", "lines", nullptr };
            check_attributes(element, allowed_file);
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
