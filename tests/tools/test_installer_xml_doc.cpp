// docs/installer-xml.md against the packer's own list of what it accepts: every element and
// attribute is documented, and nothing is documented that the packer would refuse.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "installer/engine/database.h"
#include "test_support.h"
#include "tools/packer/installer_config.h"

namespace {

std::vector<std::string> document_lines()
{
    std::string text = read_file(std::string(ORLU_SOURCE_DIR) + "/docs/installer-xml.md");
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string::npos)
            end = text.size();
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

std::string header_of(const CONFIG_ELEMENT& element)
{
    std::string where = element.parent[0] ? std::string("(in `") + element.parent + "`)" : "(the root)";
    return std::string("### `") + element.tag + "` " + where;
}

// The first cell of a table row, without its back-quotes: "| `name` | ..." gives "name".
bool row_name(const std::string& line, std::string* name)
{
    if (line.compare(0, 3, "| `") != 0)
        return false;
    size_t end = line.find('`', 3);
    if (end == std::string::npos)
        return false;
    *name = line.substr(3, end - 3);
    return true;
}

// The lines of the section that a header opens, up to the next header.
std::vector<std::string> section(const std::vector<std::string>& lines, const std::string& header)
{
    std::vector<std::string> body;
    bool inside = false;
    for (const std::string& line : lines) {
        if (inside && line.compare(0, 1, "#") == 0)
            break;
        if (inside)
            body.push_back(line);
        if (line == header)
            inside = true;
    }
    return body;
}

bool is_language_text(const CONFIG_ELEMENT& element)
{
    return std::string(element.parent) == "LANGUAGE" && language_key_of(element.tag) >= 0;
}

} // namespace

TEST(INSTALLER_XML_DOCUMENTATION, every_element_and_attribute_the_packer_accepts_is_documented)
{
    std::vector<std::string> lines = document_lines();
    ASSERT_GT(lines.size(), 100u);
    std::vector<std::string> texts = section(lines, "## The language texts");
    for (const CONFIG_ELEMENT& element : accepted_config_elements()) {
        if (is_language_text(element)) {
            bool found = false;
            for (const std::string& line : texts) {
                std::string name;
                found = found || (row_name(line, &name) && name == element.tag);
            }
            EXPECT_TRUE(found) << "the language text " << element.tag << " has no row";
            continue;
        }
        std::vector<std::string> body = section(lines, header_of(element));
        ASSERT_FALSE(body.empty()) << "no section \"" << header_of(element) << "\"";
        for (const char* attribute : element.attributes) {
            bool found = false;
            for (const std::string& line : body) {
                std::string name;
                found = found || (row_name(line, &name) && name == attribute);
            }
            EXPECT_TRUE(found) << header_of(element) << " does not document '" << attribute << "'";
        }
    }
}

TEST(INSTALLER_XML_DOCUMENTATION, nothing_is_documented_that_the_packer_refuses)
{
    std::vector<std::string> lines = document_lines();
    size_t sections = 0;
    for (size_t i = 0; i < lines.size(); ++i) {
        const std::string& line = lines[i];
        if (line.compare(0, 5, "### `") != 0)
            continue;
        ++sections;
        const CONFIG_ELEMENT* element = nullptr;
        for (const CONFIG_ELEMENT& candidate : accepted_config_elements()) {
            if (header_of(candidate) == line)
                element = &candidate;
        }
        ASSERT_NE(element, nullptr) << "\"" << line << "\" is no element the packer accepts";
        for (const std::string& row : section(lines, line)) {
            std::string name;
            if (!row_name(row, &name))
                continue;
            bool accepted = false;
            for (const char* attribute : element->attributes)
                accepted = accepted || name == attribute;
            EXPECT_TRUE(accepted) << line << " documents '" << name << "', which the packer refuses";
        }
    }
    EXPECT_EQ(sections, 24u);
    size_t rows = 0;
    for (const std::string& line : section(lines, "## The language texts")) {
        std::string name;
        if (!row_name(line, &name))
            continue;
        ++rows;
        EXPECT_GE(language_key_of(name.c_str()), 0) << name << " is no language text";
    }
    EXPECT_EQ(rows, static_cast<size_t>(LANGUAGE_KEY_COUNT));
}
