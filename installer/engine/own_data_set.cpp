// Unpacking the running installer's own data set.

#include "installer/engine/own_data_set.h"

#include <cstdio>
#include <new>

#include "base/error_report.h"
#include "frame/application_frame.h"
#include "base/error_report.h"
#include "io/data_file.h"
#include "installer/engine/data_set_reader.h"
#include "installer/engine/database.h"
#include "io/folder.h"
#include "host/host.h"
#include "host/host_files.h"
#include "installer/engine/installer_debug.h"
#include "io/stamp.h"

namespace {

const char* const PACKAGE_NAME = "installer.pkg";
bool temporary = false;
// How many packages the unpacking left: the main one and, of a data set of several, the others
// beside it ("installer.pkg.1" and on).
INT_U32 unpacked_packages = 0;
// Where the package was unpacked: "$TEMP" may mean another folder once the install root has
// become the base of the path variables.
char unpacked_in[ORLU_MAX_PATH];

} // namespace

bool package_is_temporary() { return temporary; }

void delete_temporary_package()
{
    if (temporary) {
        FOLDER temp;
        if (temp.set_raw(unpacked_in)) {
            (void)temp.delete_file(PACKAGE_NAME);
            delete_side_packages(temp, PACKAGE_NAME, unpacked_packages);
        }
        temporary = false;
        unpacked_packages = 0;
    }
    // The run's private folder goes with it: anything else in it was this run's own.
    host_remove_run_temp_folder();
}

namespace {

struct CHECK_PROGRESS {
    DATA_SET_PROGRESS progress;
    void* context;
};

void report_check(INT_U64 done, INT_U64 total, void* context)
{
    const CHECK_PROGRESS* check = static_cast<const CHECK_PROGRESS*>(context);
    check->progress(-1, done, total, check->context);
}

} // namespace

UNPACK_RESULT unpack_own_data_set(DATABASE* database, DATA_SET_SPLASH* splash, DATA_SET_PROGRESS progress, void* context)
{
    FOLDER own;
    if (!own.set_raw(own_folder_path))
        return UNPACK_NO_DATA_SET;
    STAMP_RECORD stamp;
    DATA_FILE* plain = own.open_data_file(own_file_name, FILE_READ, 0, false);
    if (!plain)
        return UNPACK_NO_DATA_SET;
    bool found = read_stamp(plain, &stamp);
    FOLDER::close_data_file(&plain);
    if (!found || !(stamp.flags & STAMP_FLAG_DATA_SET))
        return UNPACK_NO_DATA_SET;

    DATA_FILE* device = own.open_data_file(own_file_name, FILE_READ, ORDER_MARKER_IN_FILE, false);
    if (!device)
        return UNPACK_NO_DATA_SET;
    DATA_SET_HEADER header;
    if (!read_data_set_header(device, stamp.data_offset, splash, &header)) {
        FOLDER::close_data_file(&device);
        return UNPACK_DAMAGED;
    }
    database->file_cache_sz = header.file_cache_size;
    // Chunk 0: the header is read and nothing is unpacked yet. The splash shows from here, before
    // the whole file is read through for its check.
    if (progress)
        progress(0, 0, header.data_end > header.chunk_start ? header.data_end - header.chunk_start : 0, context);

    // The whole file is checked before anything is written, so a damaged installer installs
    // nothing and leaves nothing behind.
    // When the data set is read in place, the check is the long part of the wait: the bar
    // follows it.
    CHECK_PROGRESS check { progress, context };
    switch (verify_stamped_file(own, own_file_name, progress ? report_check : nullptr, &check)) {
    case STAMP_VERIFY_DAMAGED:
        FOLDER::close_data_file(&device);
        return UNPACK_DAMAGED;
    case STAMP_VERIFY_STOPPED:
        FOLDER::close_data_file(&device);
        return UNPACK_INTERRUPTED;
    default:
        break;
    }
    set_data_set_end(own, own_file_name, &header);

    // The members are read straight out of the data set when it allows that; nothing the size
    // of the payload goes to the temporary folder then.
    FOLDER temp("$TEMP");
    DATA_SET_READER* reader = new (std::nothrow) DATA_SET_READER;
    if (reader && reader->open(own, own_file_name, header)) {
        FOLDER::close_data_file(&device);
        database->use_data_set(reader);
        database->data_folder = temp;
        debug_printf(&installer_debug, "Data set read in place: %u chunks, package of %llu bytes\n",
            reader->chunk_count(), static_cast<unsigned long long>(reader->package_size()));
        return UNPACK_DONE;
    }
    delete reader;
    if (host_stop_requested()) {
        FOLDER::close_data_file(&device);
        return UNPACK_INTERRUPTED;
    }
    FOLDER::close_data_file(&device);
    debug_printf(&installer_debug, "Data set unpacked: %s\n", last_error_text());
    DATA_SET_UNPACKED unpacked;
    bool done = unpack_data_set(own, own_file_name, header, temp, PACKAGE_NAME, &unpacked, progress, context);
    bool stopped = quit_requested || host_stop_requested();
    if (!done || stopped) {
        (void)temp.delete_file(PACKAGE_NAME);
        delete_side_packages(temp, PACKAGE_NAME, unpacked.packages);
        if (stopped)
            return UNPACK_INTERRUPTED;
        // A chunk that is too long, cut short or does not inflate is damage that the stamp's
        // check did not catch (an installer without one); anything else is the writing side, a
        // full disk most likely.
        return last_error_code() == ERROR_READ ? UNPACK_DAMAGED : UNPACK_FAILED;
    }
    // Of a data set of several packages the database names the others' members by package.
    database->use_unpacked_packages(unpacked.packages);
    unpacked_packages = unpacked.packages;
    database->data_folder = temp;
    snprintf(unpacked_in, sizeof unpacked_in, "%s", temp.path());
    temporary = true;
    debug_printf(&installer_debug, "Data set unpacked to %s: %u package%s\n", temp.path_text(PACKAGE_NAME), unpacked_packages,
        unpacked_packages == 1 ? "" : "s");
    return UNPACK_DONE;
}
