// "packer build": from an installer configuration to one finished installer file.
//
//   1. read the configuration into a DATABASE and a plan of the package;
//   2. load the skin, the background and the splash;
//   3. copy the client executable with its stamp filled in and append the data set: splash,
//      cache size, compression flag, and the package in chunks. The package (blocks of 1024:
//      payload under packed names, language texts, fonts, then "database.bin") is made in file
//      order as the chunks need it and compressed on every core; it is never a file of its own.
//
// The same inputs give the same bytes: nothing depends on the clock unless SOURCE_DATE_EPOCH is
// missing, and then the build time is the newest modification time of the inputs.
//
// [SECTION] Options and progress
// [SECTION] The package
// [SECTION] The finished file
// [SECTION] The command

#include <malloc.h>
#include <zlib.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "io/data_file.h"
#include "base/error_report.h"
#include "io/folder.h"
#include "host/host.h"
#include "host/host_files.h"
#include "graphics/image_cache.h"
#include "installer/engine/data_set.h"
#include "installer/engine/database.h"
#include "installer/engine/installer_options.h"
#include "installer/engine/skin.h"
#include "wm/core/wm_look.h"
#include "chunk_writer.h"
#include "host/host_threads.h"
#include "installer_config.h"
#include "package_image.h"
#include "packer_common.h"
#include "io/stamp.h"
#include "wm/core/wm_style_set.h"

// ---------------------------------------------------------------------------------------------
// [SECTION] Options and progress
// ---------------------------------------------------------------------------------------------

namespace {

// The largest package: its positions are 32 bits.
constexpr INT_U64 PACKAGE_LIMIT = 0xFFFFFFFFull;

// More threads than this gain nothing but memory: each holds two chunk buffers.
constexpr INT_S32 PACKER_MAX_JOBS = 64;

struct BUILD_OPTIONS {
    const char* config { nullptr };
    const char* output { nullptr };
    const char* client { nullptr };
    const char* platform { "linux" };
    INT_S32 level { 6 };
    INT_S32 jobs { 0 }; // 0: one for each processor
    INT_U64 package_limit { PACKAGE_LIMIT };
    bool quiet { false };
    bool strict { false };
};

// The progress line on a terminal: files and bytes done, and the rate. Redrawn at most ten times
// a second; nothing at all when standard error is not a terminal or with --quiet.
class PROGRESS {
public:
    explicit PROGRESS(bool quiet)
        : m_show(!quiet && host_is_terminal(2))
    {
    }

    void start(const char* phase, INT_U64 total_bytes, INT_U32 total_files)
    {
        m_phase = phase;
        m_total = total_bytes;
        m_files_total = total_files;
        m_done = 0;
        m_files = 0;
        m_start = milliseconds_now();
        m_last = 0;
        draw(true);
    }
    void add_bytes(INT_U64 bytes)
    {
        m_done += bytes;
        draw(false);
    }
    void add_file()
    {
        ++m_files;
        draw(false);
    }
    void finish()
    {
        draw(true);
        if (m_show)
            fputc('\n', stderr);
    }

private:
    void draw(bool now)
    {
        if (!m_show)
            return;
        INT_U32 time = milliseconds_now();
        if (!now && time - m_last < 100)
            return;
        m_last = time;
        double seconds = (time - m_start) / 1000.0;
        double rate = seconds > 0 ? m_done / 1048576.0 / seconds : 0;
        fprintf(stderr, "\r%-12s %u/%u files, %.1f/%.1f MiB, %.1f MiB/s   ", m_phase, m_files, m_files_total,
            m_done / 1048576.0, m_total / 1048576.0, rate);
        fflush(stderr);
    }

    bool m_show;
    const char* m_phase { "" };
    INT_U64 m_total { 0 };
    INT_U64 m_done { 0 };
    INT_U32 m_files { 0 };
    INT_U32 m_files_total { 0 };
    INT_U32 m_start { 0 };
    INT_U32 m_last { 0 };
};

void print_build_help()
{
    printf("Usage: packer build CONFIG -o FILE [--client EXECUTABLE] [--platform NAME] [--level 0-9] [--jobs N] [--quiet] [--strict]\n\n"
           "Makes a finished installer from an installer configuration.\n\n"
           "  -o FILE              the installer to write\n"
           "  --client EXECUTABLE  the run-time to put in front of the data, instead of the one that\n"
           "                       the configuration's INSTALLER_CLIENT names for the platform\n"
           "  --platform NAME      the target platform (linux)\n"
           "  --level N            zlib compression level of the chunks (6)\n"
           "  --jobs N             threads that compress chunks (one for each processor); the\n"
           "                       installer is the same whatever the number\n"
           "  --package-limit N    the most bytes one package may take (4294967295); a larger\n"
           "                       payload goes into several packages. Smaller limits are for tests\n"
           "  --quiet              no progress line\n\n"
           "  --quiet              no progress line\n"
           "  --strict             a language without all of the wizard's texts is an error, not a warning\n\n"
           "SOURCE_DATE_EPOCH, when set, is the build time written into the data; otherwise the\n"
           "newest modification time of the inputs is.\n");
}

// "a/b/c" into folder "a/b" (absolute) and name "c".
bool split_path(const std::string& path, FOLDER* folder, std::string* name)
{
    char folder_path[ORLU_MAX_PATH];
    char leaf[256];
    if (!host_split_user_path(path.c_str(), folder_path, sizeof folder_path, leaf, sizeof leaf)
        || !folder->set_raw(folder_path))
        return false;
    *name = leaf;
    return true;
}

bool is_plain_file(const std::string& path)
{
    HOST_FILE_INFO info;
    return host_file_info(path.c_str(), &info) && !info.is_folder;
}

INT_U64 file_size(const std::string& path)
{
    HOST_FILE_INFO info;
    return host_file_info(path.c_str(), &info) ? info.size : 0;
}

// The build time: SOURCE_DATE_EPOCH, else the newest input. False for a SOURCE_DATE_EPOCH that
// is not a number of seconds that fits the field.
bool build_time(const PACK_PLAN& plan, INT_S32* time)
{
    const char* epoch = getenv("SOURCE_DATE_EPOCH");
    if (epoch && epoch[0]) {
        char* end = nullptr;
        errno = 0;
        long long value = strtoll(epoch, &end, 10);
        if (errno || !end || *end || value < 0 || value > 0x7FFFFFFF) {
            packer_error("SOURCE_DATE_EPOCH is \"%s\"; it must be seconds since 1970 up to 2147483647", epoch);
            return false;
        }
        *time = static_cast<INT_S32>(value);
        return true;
    }
    INT_U32 newest = 0;
    auto note = [&newest](const std::string& path) {
        HOST_FILE_INFO info;
        if (host_file_info(path.c_str(), &info) && info.modified > newest)
            newest = info.modified;
    };
    for (const std::string& input : plan.inputs)
        note(input);
    for (const PACK_MEMBER& member : plan.members)
        note(member.path);
    *time = static_cast<INT_S32>(newest > 0x7FFFFFFF ? 0x7FFFFFFF : newest);
    return true;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] The package
// ---------------------------------------------------------------------------------------------

// The CRC-32 of a file's bytes, for the installation id derived from the inputs.
bool file_crc(const std::string& path, uLong* crc)
{
    FOLDER folder;
    std::string name;
    if (!split_path(path, &folder, &name))
        return false;
    FILE* stream = folder.open_stream(name.c_str(), "rb");
    if (!stream)
        return false;
    static unsigned char buffer[1 << 16];
    size_t got = 0;
    while (!host_stop_requested() && (got = fread(buffer, 1, sizeof buffer, stream)) > 0)
        *crc = crc32(*crc, buffer, static_cast<uInt>(got));
    bool ok = !ferror(stream) && !host_stop_requested();
    fclose(stream);
    return ok;
}

// Room kept in the database for the package names put before packed names ("installer.pkg.12/").
constexpr INT_U64 PACKAGE_PREFIX_ROOM = 24;

// What a member takes in a package of 1024-byte blocks: its entry and its blocks.
INT_U64 member_footprint(const std::string& name, INT_U64 size)
{
    return 20 + name.size() + (size + 1023) / 1024 * 1032;
}

// The packages of the data set and their members in order. One package holds everything when it
// can: the plan's files, then "database.bin". A payload too large for one package of 4 GiB is
// cut into several, one behind the other in the data set: "installer.pkg.1", "installer.pkg.2"
// ... with the first payload files, then the main package with the rest of the payload, the
// texts, the fonts and "database.bin", whose file records name the members of the other packages
// "installer.pkg.N/<packed name>". "database.bin" is written to a temporary file when its turn
// comes, so that it carries the id derived from every byte before it.
class PACKAGE_SET {
public:
    PACKAGE_SET(DATABASE* database, const PACK_PLAN& plan, PROGRESS* progress)
        : m_database(database)
        , m_plan(plan)
        , m_progress(progress)
    {
    }
    ~PACKAGE_SET()
    {
        for (VOLUME& volume : m_volumes)
            delete volume.image;
        if (m_database_name[0])
            (void)m_temp.delete_file(m_database_name);
    }
    PACKAGE_SET(const PACKAGE_SET&) = delete;
    PACKAGE_SET& operator=(const PACKAGE_SET&) = delete;

    // Shares the members out and lays the packages out. Answers false after reporting what
    // failed.
    bool prepare(INT_U64 limit)
    {
        std::vector<INT_U64> sizes;
        INT_U64 all = 54;
        for (const PACK_MEMBER& member : m_plan.members) {
            sizes.push_back(file_size(member.path));
            all += member_footprint(member.member, sizes.back());
        }
        // The database's length does not depend on the id, so a first copy tells it.
        if (!m_temp.make_temp_name(m_database_name, sizeof m_database_name, ".bin") || !write_database()) {
            packer_error("cannot write the member database.bin in %s", m_temp.path());
            return false;
        }
        size_t payload = 0;
        for (INT_S16 i = 0; i < m_database->installation_count; ++i)
            payload += static_cast<size_t>(m_database->installations[i].file_count);
        if (payload > m_plan.members.size())
            payload = m_plan.members.size();

        std::vector<size_t> first_of; // the first plan member of each package but the main one
        size_t main_from = 0;         // the first payload member of the main package
        if (all + member_footprint("database.bin", m_database_size) > limit) {
            // Members of the other packages are named "installer.pkg.N/...": no packed name of
            // the main package may look like one.
            for (INT_S16 i = 0; i < m_database->installation_count; ++i) {
                if (strncmp(m_database->installations[i].name, "installer.pkg.", 14) == 0) {
                    packer_error("%s: the install type \"%s\" cannot be packed into several packages (its name "
                                 "begins with \"installer.pkg.\")",
                        m_plan.config_path.c_str(), m_database->installations[i].name);
                    return false;
                }
            }
            // The main package keeps the texts, the fonts, the database (with room for the
            // package names) and as much of the end of the payload as fits beside them.
            INT_U64 database_most = m_database_size + PACKAGE_PREFIX_ROOM * payload;
            INT_U64 used = 54 + member_footprint("database.bin", database_most);
            for (size_t i = payload; i < m_plan.members.size(); ++i)
                used += member_footprint(m_plan.members[i].member, sizes[i]);
            if (used > limit) {
                packer_error("the texts, fonts and database alone do not fit one package of %llu bytes",
                    static_cast<unsigned long long>(limit));
                return false;
            }
            main_from = payload;
            while (main_from > 0) {
                INT_U64 footprint = member_footprint(m_plan.members[main_from - 1].member, sizes[main_from - 1]);
                if (used + footprint > limit)
                    break;
                used += footprint;
                --main_from;
            }
            INT_U64 held = limit; // forces a first package
            for (size_t i = 0; i < main_from; ++i) {
                INT_U64 footprint = member_footprint(m_plan.members[i].member, sizes[i]);
                if (54 + footprint > limit) {
                    packer_error("%s:%d: '%s' is larger than one package can hold (%llu bytes)",
                        m_plan.config_path.c_str(), m_plan.members[i].line, m_plan.members[i].path.c_str(),
                        static_cast<unsigned long long>(limit));
                    return false;
                }
                if (held + footprint > limit) {
                    first_of.push_back(i);
                    held = 54;
                }
                held += footprint;
            }
        }

        // The packages in data set order, the main one last.
        std::vector<FILE_RECORD*> records;
        for (INT_S16 i = 0; i < m_database->installation_count; ++i) {
            for (INT_S16 f = 0; f < m_database->installations[i].file_count; ++f)
                records.push_back(&m_database->installations[i].files[f]);
        }
        m_volumes.resize(first_of.size() + 1);
        m_volumes.back().members.reserve(m_plan.members.size() - (first_of.empty() ? 0 : main_from) + 1);
        for (size_t v = 0; v < first_of.size(); ++v) {
            size_t end = v + 1 < first_of.size() ? first_of[v + 1] : main_from;
            for (size_t i = first_of[v]; i < end; ++i) {
                add(&m_volumes[v], i, sizes[i]);
                if (i < records.size() && !rename(records[i], v + 1))
                    return false;
            }
        }
        VOLUME& main = m_volumes.back();
        for (size_t i = first_of.empty() ? 0 : main_from; i < m_plan.members.size(); ++i)
            add(&main, i, sizes[i]);
        if (!first_of.empty() && !write_database()) {
            packer_error("cannot write the member database.bin in %s", m_temp.path());
            return false;
        }
        main.members.push_back(IMAGE_MEMBER { "database.bin", m_temp.path_text(m_database_name), m_database_size });
        main.sources.push_back(-1);

        for (VOLUME& volume : m_volumes) {
            volume.image = new (std::nothrow) PACKAGE_IMAGE;
            if (!volume.image || !volume.image->lay_out(std::move(volume.members), 1024)) {
                packer_error("a package would be larger than 4 GiB, which its offsets cannot reach");
                return false;
            }
            m_total += volume.image->size();
        }
        m_progress->start("packing", m_total, static_cast<INT_U32>(m_plan.members.size() + 1));
        return true;
    }

    [[nodiscard]] size_t count() const { return m_volumes.size(); }
    [[nodiscard]] PACKAGE_IMAGE* image(size_t volume) const { return m_volumes[volume].image; }

    // Makes package `volume` ready to be read. The id's CRC-32 runs on from one package into the
    // next, over every member in the order of the plan.
    bool start(size_t volume)
    {
        m_current = volume;
        PACKAGE_IMAGE* image = m_volumes[volume].image;
        image->set_open_member(open_member, this);
        if (m_plan.installation_id_given)
            return true;
        INT_U32 crc = 0;
        if (volume == 0) {
            uLong first = crc32(0L, Z_NULL, 0);
            if (!file_crc(m_plan.inputs[0], &first)) {
                packer_error("cannot read '%s'", m_plan.inputs[0].c_str());
                return false;
            }
            crc = static_cast<INT_U32>(first);
        } else {
            crc = m_volumes[volume - 1].image->crc();
        }
        size_t counted = image->member_count() - (volume + 1 == m_volumes.size() ? 1 : 0);
        image->set_crc_members(counted, crc);
        return true;
    }

    // After a failed build: what went wrong with the package's members, when it was them.
    void report_failure() const
    {
        const VOLUME& volume = m_volumes[m_current];
        INT_S64 failed = volume.image ? volume.image->failed_member() : -1;
        if (failed < 0)
            return;
        INT_S64 source = volume.sources[static_cast<size_t>(failed)];
        if (source < 0) {
            packer_error("cannot write the member database.bin");
            return;
        }
        const PACK_MEMBER& member = m_plan.members[static_cast<size_t>(source)];
        packer_error("%s:%d: '%s' changed or could not be read whole while it was packed", m_plan.config_path.c_str(),
            member.line, member.path.c_str());
    }

private:
    struct VOLUME {
        std::vector<IMAGE_MEMBER> members; // until the image is laid out, which keeps them
        std::vector<INT_S64> sources; // the plan's index of each member; -1 for database.bin
        PACKAGE_IMAGE* image { nullptr };
    };

    void add(VOLUME* volume, size_t index, INT_U64 size)
    {
        const PACK_MEMBER& member = m_plan.members[index];
        // The path stays in the plan: open_member finds it there by the source index.
        volume->members.push_back(IMAGE_MEMBER { member.member, std::string(), size });
        volume->sources.push_back(static_cast<INT_S64>(index));
    }

    // A file record of package `number`: its packed name gets the package's name in front.
    bool rename(FILE_RECORD* record, size_t number)
    {
        char name[DATABASE_TEXT];
        int length = snprintf(name, sizeof name, "installer.pkg.%zu/%s", number, record->packed_name);
        const char* stored = length > 0 && length < DATABASE_TEXT ? m_database->file_texts.store_once(name) : nullptr;
        if (!stored) {
            packer_error("cannot name the member '%s' in package %zu", record->packed_name, number);
            return false;
        }
        record->packed_name = stored;
        return true;
    }

    static FILE* open_member(size_t index, const IMAGE_MEMBER& member, void* context)
    {
        PACKAGE_SET* self = static_cast<PACKAGE_SET*>(context);
        self->m_progress->add_file();
        const VOLUME& volume = self->m_volumes[self->m_current];
        if (volume.sources[index] < 0) {
            INT_U64 planned = self->m_database_size;
            if (!self->m_plan.installation_id_given) {
                self->m_database->installation_id = volume.image->crc();
                if (!self->write_database() || self->m_database_size != planned)
                    return nullptr;
            }
        }
        INT_S64 source = volume.sources[index];
        const std::string& path = source < 0 ? member.path : self->m_plan.members[static_cast<size_t>(source)].path;
        FOLDER folder;
        std::string name;
        if (!split_path(path, &folder, &name))
            return nullptr;
        return folder.open_stream(name.c_str(), "rb");
    }

    // "database.bin" as a package member opened for writing would hold it: the byte-order byte,
    // then the stream.
    bool write_database()
    {
        DATA_FILE* stream = m_temp.open_data_file(m_database_name, FILE_WRITE, ORDER_MARKER_IN_FILE, false);
        if (!stream)
            return false;
        bool written = m_database->put_to_data_device(stream) && stream->flush();
        written = stream->close() && written;
        FOLDER::close_data_file(&stream);
        m_database_size = file_size(m_temp.path_text(m_database_name));
        return written && m_database_size > 0;
    }

    DATABASE* m_database;
    const PACK_PLAN& m_plan;
    PROGRESS* m_progress;
    std::vector<VOLUME> m_volumes;
    size_t m_current { 0 };
    INT_U64 m_total { 0 };
    FOLDER m_temp { "$TEMP" };
    char m_database_name[64] {};
    INT_U64 m_database_size { 0 };
};

// ---------------------------------------------------------------------------------------------
// [SECTION] The finished file
// ---------------------------------------------------------------------------------------------

// The output as a device: every byte goes to the file and into the running CRC-32 of the data
// set. Numbers go out big-endian, the order that the file's first byte (0x7F) tells a reader.
class OUTPUT_DEVICE : public DATA_DEVICE {
public:
    explicit OUTPUT_DEVICE(FILE* stream)
        : m_stream(stream)
    {
        const INT_U16 probe = 1;
        swap_bytes = *reinterpret_cast<const INT_U8*>(&probe) == 1;
    }

    INT_U32 tell() override { return static_cast<INT_U32>(m_count); }
    bool seek(INT_U32, bool) override { return false; }
    INT_S32 read(void*, INT_S32) override { return 0; }
    INT_S32 write(const void* buffer, INT_S32 size) override
    {
        if (size <= 0)
            return 0;
        size_t put = fwrite(buffer, 1, static_cast<size_t>(size), m_stream);
        m_crc = crc32(m_crc, static_cast<const Bytef*>(buffer), static_cast<uInt>(put));
        m_count += put;
        return static_cast<INT_S32>(put);
    }

    [[nodiscard]] INT_U32 crc() const { return static_cast<INT_U32>(m_crc); }
    [[nodiscard]] INT_U64 count() const { return m_count; }

private:
    FILE* m_stream;
    uLong m_crc { crc32(0L, Z_NULL, 0) };
    INT_U64 m_count { 0 };
};

bool read_whole(const std::string& path, std::vector<INT_U8>* bytes)
{
    FOLDER folder;
    std::string name;
    if (!split_path(path, &folder, &name))
        return false;
    FILE* stream = folder.open_stream(name.c_str(), "rb");
    if (!stream)
        return false;
    INT_U8 buffer[1 << 16];
    size_t got = 0;
    while (!host_stop_requested() && (got = fread(buffer, 1, sizeof buffer, stream)) > 0) {
        // A client above 512 MiB is not a program of ours.
        if (bytes->size() + got > (512u << 20)) {
            fclose(stream);
            return false;
        }
        bytes->insert(bytes->end(), buffer, buffer + got);
    }
    bool ok = !ferror(stream) && !host_stop_requested();
    fclose(stream);
    return ok;
}

void chunk_progress(INT_U64 bytes, void* context) { static_cast<PROGRESS*>(context)->add_bytes(bytes); }

// The whole output: client with its stamp, data set, chunks. Written to a temporary name beside
// the output and renamed at the end, so that a failed build leaves no half installer.
bool write_installer(const BUILD_OPTIONS& options, const PACK_PLAN& plan, DATABASE* database, INT_U8 compress,
    const DATA_SET_SPLASH& splash, PROGRESS* progress)
{
    const std::string& client_path = plan.client_path;
    std::vector<INT_U8> client;
    if (!read_whole(client_path, &client)) {
        packer_error("cannot read the client '%s'", client_path.c_str());
        return false;
    }
    size_t stamp_at = 0;
    if (!find_stamp_in(client.data(), client.size(), &stamp_at)) {
        packer_error("the client '%s' carries no stamp record", client_path.c_str());
        return false;
    }
    if (client.size() > 0xFFFFFFFFu) {
        packer_error("the client '%s' is too large", client_path.c_str());
        return false;
    }
    STAMP_RECORD record;
    stamp_record_from_bytes(client.data() + stamp_at, &record);
    if (record.flags & STAMP_FLAG_DATA_SET) {
        packer_error("the client '%s' is a finished installer already", client_path.c_str());
        return false;
    }

    FOLDER folder;
    std::string name;
    if (!split_path(options.output, &folder, &name)) {
        packer_error("cannot find the folder of '%s'", options.output);
        return false;
    }
    // A name of its own beside the output, made exclusively, so that it can never be an input
    // or anything else that was there.
    char part_name[64];
    if (!folder.make_temp_name(part_name, sizeof part_name, ".part")) {
        packer_error("cannot write '%s'", options.output);
        return false;
    }
    std::string part = part_name;
    FILE* stream = folder.open_stream(part.c_str(), "r+b");
    if (!stream) {
        (void)folder.delete_file(part.c_str());
        packer_error("cannot write '%s'", options.output);
        return false;
    }
    // The data set starts where the program ends; the run-time counts behind the first byte.
    bool ok = fwrite(client.data(), 1, client.size(), stream) == client.size();
    OUTPUT_DEVICE out(stream);
    ok = ok && device_write(&out, splash.present);
    if (ok && splash.present) {
        ok = image_cache.put_to_data_device(&out) && splash.image.put_to_data_device(&out)
            && device_write(&out, splash.bar_x) && device_write(&out, splash.bar_y)
            && device_write(&out, splash.bar_width) && device_write(&out, splash.bar_height)
            && splash.title.put_to_data_device(&out) && splash.bar_style.put_to_data_device(&out);
    }
    ok = ok && device_write(&out, database->file_cache_sz) && device_write(&out, compress);
    // The package goes out in chunks as its members are read: the package, without its
    // byte-order byte, cut into pieces of the cache size. Each compressed chunk inflates to at
    // most that and takes at most that itself, so the reader's buffers of that size hold it.
    CHUNK_SETTINGS chunks;
    chunks.cache = database->file_cache_sz;
    chunks.compressed = compress != 0;
    chunks.level = options.level;
    chunks.jobs = options.jobs;
    PACKAGE_SET packages(database, plan, progress);
    bool prepared = ok && packages.prepare(options.package_limit);
    if (ok && !prepared) {
        fclose(stream);
        (void)folder.delete_file(part.c_str());
        return false;
    }
    // Packages are parted by a chunk of length 0.
    for (size_t volume = 0; ok && volume < packages.count(); ++volume) {
        if (volume > 0)
            ok = device_write(&out, static_cast<INT_S32>(0));
        PACKAGE_IMAGE* image = packages.image(volume);
        ok = ok && packages.start(volume)
            && write_package_chunks(&out, image, image->size(), chunks, chunk_progress, progress);
    }
    if (prepared) {
        progress->finish();
        if (!ok && !host_stop_requested())
            packages.report_failure();
    }

    record.flags = static_cast<INT_U8>(record.flags | STAMP_FLAG_ALWAYS | STAMP_FLAG_DATA_SET);
    record.data_offset = static_cast<INT_U32>(client.size() - 1);
    set_stamp_check(&record, out.count(), out.crc());
    INT_U8 bytes[STAMP_RECORD_SIZE];
    stamp_record_to_bytes(record, bytes);
    ok = ok && fseek(stream, static_cast<long>(stamp_at), SEEK_SET) == 0
        && fwrite(bytes, 1, sizeof bytes, stream) == sizeof bytes;
    ok = fclose(stream) == 0 && ok;
    if (!ok) {
        (void)folder.delete_file(part.c_str());
        if (!host_stop_requested())
            packer_error("cannot write '%s'", options.output);
        return false;
    }
    if (!folder.rename_file(part.c_str(), folder, name.c_str()) || !folder.set_permissions(name.c_str(), 0755)) {
        (void)folder.delete_file(part.c_str());
        packer_error("cannot write '%s'", options.output);
        return false;
    }
    return true;
}

// ---------------------------------------------------------------------------------------------
// [SECTION] The command
// ---------------------------------------------------------------------------------------------

bool parse_options(int argc, char** argv, BUILD_OPTIONS* options, int* status)
{
    for (int i = 1; i < argc; ++i) {
        const char* argument = argv[i];
        bool has_value = i + 1 < argc;
        if (strcmp(argument, "--help") == 0 || strcmp(argument, "-h") == 0) {
            print_build_help();
            *status = PACKER_OK;
            return false;
        }
        if (strcmp(argument, "--quiet") == 0 || strcmp(argument, "-q") == 0) {
            options->quiet = true;
        } else if (strcmp(argument, "--strict") == 0) {
            options->strict = true;
        } else if (strcmp(argument, "-o") == 0 && has_value) {
            options->output = argv[++i];
        } else if (strcmp(argument, "--client") == 0 && has_value) {
            options->client = argv[++i];
        } else if (strcmp(argument, "--platform") == 0 && has_value) {
            options->platform = argv[++i];
        } else if (strcmp(argument, "--level") == 0 && has_value) {
            const char* text = argv[++i];
            if (strlen(text) != 1 || text[0] < '0' || text[0] > '9') {
                packer_error("--level takes a number from 0 to 9, not '%s'", text);
                *status = PACKER_USAGE;
                return false;
            }
            options->level = text[0] - '0';
        } else if (strcmp(argument, "--package-limit") == 0 && has_value) {
            const char* text = argv[++i];
            char* end = nullptr;
            unsigned long long limit = strtoull(text, &end, 10);
            if (!text[0] || *end || text[0] == '-' || limit < 65536 || limit > PACKAGE_LIMIT) {
                packer_error("--package-limit takes a number of bytes from 65536 to %llu, not '%s'",
                    static_cast<unsigned long long>(PACKAGE_LIMIT), text);
                *status = PACKER_USAGE;
                return false;
            }
            options->package_limit = limit;
        } else if (strcmp(argument, "--jobs") == 0 && has_value) {
            const char* text = argv[++i];
            char* end = nullptr;
            long jobs = strtol(text, &end, 10);
            if (!text[0] || *end || jobs < 1 || jobs > PACKER_MAX_JOBS) {
                packer_error("--jobs takes a number from 1 to %d, not '%s'", PACKER_MAX_JOBS, text);
                *status = PACKER_USAGE;
                return false;
            }
            options->jobs = static_cast<INT_S32>(jobs);
        } else if (argument[0] == '-') {
            packer_error("unknown or incomplete option '%s' (see packer build --help)", argument);
            *status = PACKER_USAGE;
            return false;
        } else if (!options->config) {
            options->config = argument;
        } else {
            packer_error("one configuration only: '%s' (see packer build --help)", argument);
            *status = PACKER_USAGE;
            return false;
        }
    }
    if (options->jobs == 0) {
        INT_S32 processors = host_processor_count();
        options->jobs = processors < PACKER_MAX_JOBS ? processors : PACKER_MAX_JOBS;
    }
    if (!options->config || !options->output) {
        packer_error("build needs a configuration and -o FILE (see packer build --help)");
        *status = PACKER_USAGE;
        return false;
    }
    return true;
}

// Only regular files are read: a FIFO would block the build for ever, and a device such as
// /dev/zero would never end. Folders (the skin tree) are read through their files.
bool sources_are_regular_files(const PACK_PLAN& plan)
{
    std::vector<std::string> refused;
    for (const PACK_MEMBER& member : plan.members) {
        if (!host_is_regular_file(member.path.c_str())) {
            packer_error("%s:%d: '%s' is not a regular file", plan.config_path.c_str(), member.line, member.path.c_str());
            refused.push_back(member.path);
        }
    }
    for (const std::string& input : plan.inputs) {
        bool told = false;
        for (const std::string& path : refused)
            told = told || path == input;
        if (!told && !host_is_folder(input.c_str()) && !host_is_regular_file(input.c_str())) {
            packer_error("'%s' is not a regular file", input.c_str());
            refused.push_back(input);
        }
    }
    return refused.empty();
}

// The output replaces its file only at the end, but it must not replace an input at all: the
// configuration, the client, a payload file, a picture. Compared as files, so that another name
// for the same file (a link, "./", a hard link) is caught too.
bool output_is_no_input(const char* output, const PACK_PLAN& plan)
{
    bool ok = true;
    auto check = [&](const std::string& input) {
        if (ok && host_same_file(output, input.c_str())) {
            packer_error("-o '%s' is an input of the build ('%s'); choose another output", output, input.c_str());
            ok = false;
        }
    };
    for (const std::string& input : plan.inputs)
        check(input);
    for (const PACK_MEMBER& member : plan.members)
        check(member.path);
    return ok;
}

bool load_pictures(DATABASE* database, const PACK_PLAN& plan, DATA_SET_SPLASH* splash)
{
    // load_skin stores the text it is given in skin_path itself, so it gets a copy.
    char skin_text[DATABASE_LONG_TEXT];
    snprintf(skin_text, sizeof skin_text, "%s", database->skin_path);
    if (!plan.skin_folder.empty() && !load_skin(database, skin_text)) {
        packer_error("%s: the skin '%s' does not load", plan.config_path.c_str(), plan.skin_folder.c_str());
        return false;
    }
    if (!plan.background_name.empty()) {
        FOLDER folder;
        if (!folder.set_raw(plan.background_folder.c_str())
            || !database->background_image.load(folder, plan.background_name.c_str())) {
            packer_error("%s: the background '%s/%s' does not load: %s", plan.config_path.c_str(),
                plan.background_folder.c_str(), plan.background_name.c_str(), last_error_text());
            return false;
        }
    }
    if (!plan.splash.present)
        return true;
    splash->present = 1;
    FOLDER folder;
    if (!folder.set_raw(plan.splash.image_folder.c_str()) || !splash->image.load(folder, plan.splash.image_name.c_str())) {
        packer_error("%s: the splash '%s/%s' does not load: %s", plan.config_path.c_str(),
            plan.splash.image_folder.c_str(), plan.splash.image_name.c_str(), last_error_text());
        return false;
    }
    splash->bar_x = plan.splash.bar_x;
    splash->bar_y = plan.splash.bar_y;
    splash->bar_width = plan.splash.bar_width;
    splash->bar_height = plan.splash.bar_height;
    splash->title.assign(plan.splash.title.c_str());
    if (!folder.set_raw(plan.splash.style_folder.c_str())
        || !splash->bar_style.load_file(folder, plan.splash.style_name.c_str())) {
        packer_error("%s: the bar style '%s/%s' does not load", plan.config_path.c_str(),
            plan.splash.style_folder.c_str(), plan.splash.style_name.c_str());
        return false;
    }
    return true;
}

// A picture's folder (a field of ORLU_MAX_PATH bytes) as the data set keeps it. The run-time never reads these folders: it only
// matches a style set's folder text against the image cache's entries that came with the data
// set. So a folder below the configuration's is written from "/" on, relative to it, and the
// same inputs in another folder give the same bytes; a folder elsewhere stays as it is.
void relative_to_configuration(char* path, const std::string& config_folder)
{
    size_t length = config_folder.size();
    if (length == 0 || strncmp(path, config_folder.c_str(), length) != 0 || (path[length] != 0 && path[length] != '/'))
        return;
    if (!path[length]) {
        path[0] = '/';
        path[1] = 0;
    } else {
        memmove(path, path + length, strlen(path + length) + 1);
    }
    // The fields go out whole: what lay behind the shorter text must not.
    size_t used = strlen(path);
    memset(path + used, 0, ORLU_MAX_PATH - used);
}

void store_picture_folders(DATABASE* database, DATA_SET_SPLASH* splash, const std::string& config_folder)
{
    for (WM_STYLE_SET& style : database->style_sets)
        relative_to_configuration(style.image_path, config_folder);
    for (INT_S32 which = 0; which < TOOLKIT_STYLE_COUNT; ++which)
        relative_to_configuration(toolkit_style(which)->image_path, config_folder);
    relative_to_configuration(splash->bar_style.image_path, config_folder);
    for (INT_S32 i = 0; i < image_cache.entry_count(); ++i)
        relative_to_configuration(image_cache.entry_at(i)->path, config_folder);
}

} // namespace

int run_build_command(int argc, char** argv)
{
    BUILD_OPTIONS options;
    int status = PACKER_OK;
    if (!parse_options(argc, argv, &options, &status))
        return status;
    INT_U8 target = platform_code_from_name(options.platform);
    if (!target) {
        packer_error("unknown platform '%s'", options.platform);
        return PACKER_USAGE;
    }

    if (host_path_taken(options.config) && !host_is_regular_file(options.config)) {
        packer_error("'%s' is not a regular file", options.config);
        return PACKER_FAILED;
    }
    DATABASE* database = new (std::nothrow) DATABASE;
    PACK_PLAN plan;
    CONFIG_ERRORS errors;
    if (!database)
        return packer_error("out of memory");
    bool read = read_installer_config(options.config, target, database, &plan, &errors);
    // The configuration's tree is gone: its many small blocks go back to the system rather than
    // stay mapped beside the buffers of the packing, which are allocated next.
    (void)malloc_trim(0);
    // One client is used: --client, else the configuration's for the platform. Only that one
    // must exist, and its absence is one message that names the file.
    if (read && options.client) {
        FOLDER folder;
        std::string name;
        bool found = split_path(options.client, &folder, &name);
        plan.client_path = found ? std::string(folder.path()) + "/" + name : options.client;
        if (!found || !is_plain_file(plan.client_path)) {
            errors.lines.push_back(std::string("--client: the client '") + plan.client_path + "' does not exist");
            read = false;
        }
    } else if (read && plan.client_path.empty()) {
        errors.add(plan.config_path, 0, "no client: add an <INSTALLER_CLIENT> for \"%s\" or give --client",
            options.platform);
        read = false;
    } else if (read && !is_plain_file(plan.client_path)) {
        errors.add(plan.config_path, plan.client_line, "the client '%s' of <INSTALLER_CLIENT> does not exist",
            plan.client_path.c_str());
        read = false;
    }
    // A language without some of the wizard's texts shows empty buttons and titles.
    for (INT_S16 language = 0; read && language < database->language_count; ++language) {
        std::vector<std::string> missing = missing_wizard_texts(*database, language);
        if (missing.empty())
            continue;
        std::string list;
        for (const std::string& tag : missing)
            list += (list.empty() ? "" : ", ") + tag;
        INT_S32 line = language < static_cast<INT_S16>(plan.language_lines.size()) ? plan.language_lines[language] : 0;
        if (options.strict)
            errors.add(plan.config_path, line, "the language \"%s\" lacks %zu of the wizard's texts: %s",
                database->languages[language].name, missing.size(), list.c_str());
        else
            fprintf(stderr, "packer: %s:%d: warning: the language \"%s\" lacks %zu of the wizard's texts: %s\n",
                plan.config_path.c_str(), static_cast<int>(line), database->languages[language].name, missing.size(),
                list.c_str());
    }
    if (read && options.strict && !errors.lines.empty())
        read = false;
    if (!read) {
        for (const std::string& line : errors.lines)
            packer_error("%s", line.c_str());
        if (!errors.missing.empty()) {
            packer_error("%zu file%s missing:", errors.missing.size(), errors.missing.size() == 1 ? " is" : "s are");
            for (const std::string& line : errors.missing)
                fprintf(stderr, "  %s\n", line.c_str());
        }
        delete database;
        return PACKER_FAILED;
    }
    plan.inputs.push_back(plan.client_path);
    if (!sources_are_regular_files(plan) || !output_is_no_input(options.output, plan)) {
        delete database;
        return PACKER_FAILED;
    }

    DATA_SET_SPLASH* splash = new (std::nothrow) DATA_SET_SPLASH;
    bool ok = splash && build_time(plan, &database->data_time) && load_pictures(database, plan, splash);
    if (ok)
        store_picture_folders(database, splash, plan.config_folder);
    INT_U8 compress = 1;
    if (plan.client_index >= 0)
        compress = database->clients[plan.client_index]->compress_data;

    PROGRESS progress(options.quiet);
    ok = ok && write_installer(options, plan, database, compress, *splash, &progress);
    delete splash;
    delete database;
    return ok ? PACKER_OK : PACKER_FAILED;
}
