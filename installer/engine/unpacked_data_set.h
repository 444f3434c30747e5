// UNPACKED_DATA_SET: the members of a data set of several packages once unpack_data_set has
// written them to package files (data_set.h): the main package under its name, package N
// beside it under that name with ".N" behind it. A packed name "installer.pkg.N/<member>" is
// read from package N as <member>; every other name from the main package. This is what the
// install engine, the wizard's texts and the patch differ read members through when a data set
// could not be read in place.
#pragma once

#include "base/orlu_types.h"
#include "io/folder.h"
#include "io/member_store.h"

class DATABASE;
class PACKAGE;

class UNPACKED_DATA_SET : public MEMBER_STORE {
public:
    // `main` is the open main package, borrowed: its owner keeps it open for this object's life.
    // The other packages lie in `folder` and open when a member of theirs is first asked for.
    // `package_count` counts the main one; is_open() is false when it is below 2 or above
    // DATA_SET_MOST_PACKAGES, or memory runs out.
    UNPACKED_DATA_SET(PACKAGE* main, const FOLDER& folder, const char* main_name, INT_U32 package_count);
    ~UNPACKED_DATA_SET() override;
    UNPACKED_DATA_SET(const UNPACKED_DATA_SET&) = delete;
    UNPACKED_DATA_SET& operator=(const UNPACKED_DATA_SET&) = delete;

    [[nodiscard]] INT_U32 package_count() const { return m_package_count; }
    [[nodiscard]] const PACKAGE* main_package() const { return m_main; }

    // Whether the database read from the main package describes these packages: every packed
    // name "installer.pkg.N/..." names a package there is, and every package but the main one is
    // named. False, with the last-error slot saying which, when not: the data set is damaged.
    [[nodiscard]] bool check_records(const DATABASE& database);

    // The package that holds `packed_name` and the member's name in it. Null, with the last-error
    // slot set, when the name is of a package the data set does not have or that does not open.
    [[nodiscard]] PACKAGE* package_of(const char* packed_name, const char** member);

    [[nodiscard]] bool is_open() const override;
    [[nodiscard]] bool has_member(const char* name) override;
    bool read_member(const char* member_name, MEMBER_SINK sink, void* context) override;
    bool extract_file(const FOLDER& folder, const char* file_name, const char* member_name) override;

private:
    // A package beside the main one, opened on first use; one that did not open is not tried again.
    struct SIDE {
        PACKAGE* package { nullptr };
        bool failed { false };
    };

    PACKAGE* m_main { nullptr };
    FOLDER m_folder;
    char m_main_name[256] {};
    INT_U32 m_package_count { 0 };
    SIDE* m_sides { nullptr }; // packages 1 to m_package_count - 1
};

// Whether the file records of `database` fit a data set of `package_count` packages (the main
// one counted): every packed name "installer.pkg.N/..." names a package there is, and every
// package but the main one is named. False, with the last-error slot saying which, when not:
// the data set is not the one its database was packed with. Both ways of reading a data set of
// several packages ask this before anything is installed.
[[nodiscard]] bool check_package_records(const DATABASE& database, INT_U32 package_count);
