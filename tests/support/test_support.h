// Helpers for the tests: temporary folders and running the real executables.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

// A fresh folder under the system's temporary folder, deleted with everything in it at the end
// of the scope.
class TEMP_FOLDER {
public:
    TEMP_FOLDER();
    ~TEMP_FOLDER();
    TEMP_FOLDER(const TEMP_FOLDER&) = delete;
    TEMP_FOLDER& operator=(const TEMP_FOLDER&) = delete;

    const std::string& path() const { return m_path; }
    std::string file(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

// Environment variables set or unset for a scope; each goes back to what it was at the end.
class SCOPED_ENVIRONMENT {
public:
    SCOPED_ENVIRONMENT() = default;
    ~SCOPED_ENVIRONMENT();
    SCOPED_ENVIRONMENT(const SCOPED_ENVIRONMENT&) = delete;
    SCOPED_ENVIRONMENT& operator=(const SCOPED_ENVIRONMENT&) = delete;

    // Sets `name` to `value`, or unsets it when `value` is null.
    void set(const char* name, const char* value);

private:
    std::vector<std::pair<std::string, std::pair<bool, std::string>>> m_saved;
};

struct RUN_RESULT {
    int status { -1 };      // exit status as the shell shows it (0 to 255), -1 if killed
    std::string output;     // standard output
    std::string errors;     // standard error
};

// Runs a program with arguments (no shell), with standard input from /dev/null, extra
// environment entries of the form "NAME=value" and an optional working folder.
RUN_RESULT run_program(const std::string& program, const std::vector<std::string>& arguments,
    const std::vector<std::string>& environment = {}, const std::string& working_folder = "");

// A program started in the background, for tests that act while it runs (signals, kills). Its
// standard input is /dev/null; what it prints is gathered by the polling calls. The destructor
// kills and reaps a program still running.
class RUNNING_PROGRAM {
public:
    RUNNING_PROGRAM(const std::string& program, const std::vector<std::string>& arguments,
        const std::vector<std::string>& environment = {});
    ~RUNNING_PROGRAM();
    RUNNING_PROGRAM(const RUNNING_PROGRAM&) = delete;
    RUNNING_PROGRAM& operator=(const RUNNING_PROGRAM&) = delete;

    [[nodiscard]] int pid() const { return m_pid; }
    // Reads what is there, waiting up to `milliseconds` for something; false once both outputs
    // are closed.
    bool poll_output(int milliseconds);
    // Polls until the output holds `text` or the program closes its outputs; true when it holds it.
    bool wait_for_output(const std::string& text, int timeout_milliseconds = 60000);
    // Closes the reading end of standard output, as "| head" does once it has its lines.
    void close_output();
    // True while the program has not ended (it is reaped when it has).
    bool running();
    void send(int signal_number);
    // Reads the rest and waits for the end: the exit status (0 to 255), or -1 - signal when a
    // signal ended it.
    int finish();

    std::string output;
    std::string errors;

private:
    int m_pid { -1 };
    int m_out { -1 };
    int m_err { -1 };
    int m_status { 0 };
    bool m_reaped { false };
};

// Runs `body` in a forked child with standard input from /dev/null and the given environment
// entries, capturing what it prints. The child exits with 0 when body returns.
RUN_RESULT run_in_child(const std::function<void()>& body, const std::vector<std::string>& environment = {});

// Waits up to `seconds` for the program to end; one that does not is killed and counted as
// hanging (status -1000).
int end_within(RUNNING_PROGRAM& program, int seconds);

// Makes a folder holding a fake program `name` (a shell script) that writes each of its
// arguments on a line of `record_file` and exits with `status`. Answers the folder, to be put
// first on PATH.
std::string make_recording_program(const TEMP_FOLDER& folder, const std::string& name,
    const std::string& record_file, int status);

// Paths of the built executables.
std::string installer_path();
std::string packer_path();

// Whole-file helpers.
std::string read_file(const std::string& path);
bool write_file(const std::string& path, const std::string& bytes);

// Incompressible bytes, the same for the same seed.
std::string noise_bytes(size_t size, unsigned seed);
// Every entry below `folder`, by relative path: a file's bytes (behind its permission bits in
// decimal and a space, `with_modes`), "<folder>" or "<link>".
std::map<std::string, std::string> tree_of(const std::string& folder, bool with_modes = false);

// Bytes as a data set holds its chunks: pieces of at most `piece` bytes, each compressed (zlib,
// level 6) or stored as it stands, behind its length in four big-endian bytes.
std::string data_set_chunks(const std::string& bytes, size_t piece, bool compressed);

// Payload bytes that packages compress unevenly, the same for the same arguments.
// Letters with a byte of noise at every `noise_every`th place (a power of two), the letters
// changing every `letter_run` bytes.
std::string interleaved_bytes(size_t size, unsigned seed, unsigned noise_every, unsigned letter_run);
// Stretches of `shortest_stretch` plus up to `stretch_spread` bytes, each either noise or text
// cycling through `letter_count` letters every `letter_run` bytes: runs of chunks that shrink
// and runs that do not follow each other.
std::string mixed_bytes(size_t size, unsigned seed, size_t shortest_stretch, size_t stretch_spread,
    unsigned letter_run, unsigned letter_count);

// The source of an installer whose payload needs several packages at a package limit of 200000:
// installer.xml, readme.txt and eight files part<i>.bin of `bytes`(size, i), large and small
// (a package of one large file has its only entry at its start, one of several has its last
// entry further on), installed to $HERE/d<i % 3>. Their contents are appended to `contents`.
bool write_several_packages_source(const TEMP_FOLDER& folder,
    const std::function<std::string(size_t, unsigned)>& bytes, std::vector<std::string>* contents);
