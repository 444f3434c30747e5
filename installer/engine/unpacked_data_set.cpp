// The packages of an unpacked data set behind one member store.

#include "installer/engine/unpacked_data_set.h"

#include <cstdio>
#include <new>

#include "base/error_report.h"
#include "installer/engine/data_set.h"
#include "installer/engine/database.h"
#include "io/package.h"

UNPACKED_DATA_SET::UNPACKED_DATA_SET(PACKAGE* main, const FOLDER& folder, const char* main_name, INT_U32 package_count)
    : m_main(main)
    , m_folder(folder)
{
    int length = snprintf(m_main_name, sizeof m_main_name, "%s", main_name ? main_name : "");
    if (length <= 0 || static_cast<size_t>(length) >= sizeof m_main_name || package_count < 2
        || package_count > DATA_SET_MOST_PACKAGES)
        return;
    m_sides = new (std::nothrow) SIDE[package_count - 1];
    if (m_sides)
        m_package_count = package_count;
}

UNPACKED_DATA_SET::~UNPACKED_DATA_SET()
{
    for (INT_U32 i = 0; m_sides && i + 1 < m_package_count; ++i)
        delete m_sides[i].package;
    delete[] m_sides;
}

bool UNPACKED_DATA_SET::is_open() const
{
    return m_sides && m_main && m_main->is_open();
}

bool check_package_records(const DATABASE& database, INT_U32 package_count)
{
    if (package_count < 1 || package_count > DATA_SET_MOST_PACKAGES)
        return set_last_error(ERROR_PACKAGE_NOT_OPEN, "data set");
    // Which packages the records name, one flag each.
    bool* named = new (std::nothrow) bool[package_count]();
    if (!named)
        return set_last_error(ERROR_PACKAGE_MEMORY, "data set");
    bool ok = true;
    for (INT_S16 i = 0; ok && i < database.installation_count; ++i) {
        const INSTALLATION_RECORD& installation = database.installations[i];
        for (INT_S16 f = 0; ok && f < installation.file_count; ++f) {
            INT_U32 number = 0;
            const char* member = nullptr;
            if (!packed_name_package(installation.files[f].packed_name, &number, &member))
                continue;
            if (number == 0 || number >= package_count) {
                char detail[400];
                snprintf(detail, sizeof detail, "data set (the file %.300s names a package it does not hold)",
                    installation.files[f].packed_name);
                ok = set_last_error(ERROR_READ, detail);
                break;
            }
            named[number] = true;
        }
    }
    for (INT_U32 number = 1; ok && number < package_count; ++number) {
        if (!named[number]) {
            char detail[160];
            snprintf(detail, sizeof detail, "data set (%u packages, more than its database names: no file is in installer.pkg.%u)",
                package_count, number);
            ok = set_last_error(ERROR_READ, detail);
        }
    }
    delete[] named;
    return ok;
}

bool UNPACKED_DATA_SET::check_records(const DATABASE& database)
{
    if (!is_open())
        return set_last_error(ERROR_PACKAGE_NOT_OPEN, "data set");
    return check_package_records(database, m_package_count);
}

PACKAGE* UNPACKED_DATA_SET::package_of(const char* packed_name, const char** member)
{
    *member = packed_name;
    if (!is_open()) {
        set_last_error(ERROR_PACKAGE_NOT_OPEN, "data set");
        return nullptr;
    }
    INT_U32 number = 0;
    const char* own_name = nullptr;
    if (!packed_name_package(packed_name, &number, &own_name))
        return m_main;
    if (number == 0 || number >= m_package_count) {
        set_last_error(ERROR_MEMBER_NOT_FOUND, packed_name);
        return nullptr;
    }
    SIDE& side = m_sides[number - 1];
    if (!side.package && !side.failed) {
        char file_name[ORLU_MAX_PATH];
        side.failed = !side_package_name(m_main_name, number, file_name, sizeof file_name);
        if (!side.failed)
            side.package = new (std::nothrow) PACKAGE(m_folder, file_name, false, 1024, true, true);
        if (side.package && !side.package->is_open()) {
            delete side.package;
            side.package = nullptr;
        }
        side.failed = !side.package;
    }
    if (!side.package) {
        char detail[ORLU_MAX_PATH];
        snprintf(detail, sizeof detail, "%s (installer.pkg.%u does not open)", packed_name, number);
        set_last_error(ERROR_PACKAGE_NOT_OPEN, detail);
        return nullptr;
    }
    *member = own_name;
    return side.package;
}

bool UNPACKED_DATA_SET::has_member(const char* name)
{
    const char* member = nullptr;
    PACKAGE* package = package_of(name, &member);
    return package && package->has_member(member);
}

bool UNPACKED_DATA_SET::read_member(const char* member_name, MEMBER_SINK sink, void* context)
{
    const char* member = nullptr;
    PACKAGE* package = package_of(member_name, &member);
    return package && package->read_member(member, sink, context);
}

bool UNPACKED_DATA_SET::extract_file(const FOLDER& folder, const char* file_name, const char* member_name)
{
    // A null member name stands for the file's name, as with a package.
    const char* member = nullptr;
    PACKAGE* package = package_of(member_name ? member_name : file_name, &member);
    return package && package->extract_file(folder, file_name, member);
}
