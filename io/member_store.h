// MEMBER_STORE: where an installer's named members are read from. A package file is one
// (PACKAGE); the data set behind a finished installer, read in place without unpacking it, is
// another. The install engine, the database's loading and the wizard's texts see only this.
#pragma once

#include "base/orlu_types.h"

class FOLDER;

// Takes a member's bytes, a piece at a time; answers false to stop the reading.
typedef bool (*MEMBER_SINK)(const void* bytes, INT_U32 size, void* context);

class MEMBER_STORE {
public:
    virtual ~MEMBER_STORE() = default;

    [[nodiscard]] virtual bool is_open() const = 0;
    [[nodiscard]] virtual bool has_member(const char* name) = 0;
    // Hands the member's bytes, in order, to `sink`. False, with the last-error slot set, when the
    // member is not there, cannot be read whole, or the sink stopped it.
    virtual bool read_member(const char* member_name, MEMBER_SINK sink, void* context) = 0;
    // Writes the member to the file `file_name` in `folder` (member_name null: the file name).
    virtual bool extract_file(const FOLDER& folder, const char* file_name, const char* member_name) = 0;
};
