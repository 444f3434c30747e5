// Shared by the packer's commands: messages and files named on the command line.
#pragma once

#include "io/folder.h"
#include "base/orlu_types.h"

// Exit statuses: 0 done, 1 the work failed, 2 the command line was wrong.
constexpr int PACKER_OK = 0;
constexpr int PACKER_FAILED = 1;
constexpr int PACKER_USAGE = 2;

// "packer: <message>" on standard error; answers PACKER_FAILED.
int packer_error(const char* format, ...) __attribute__((format(printf, 1, 2)));

// A file named on the command line: its folder and its name. False (with a message) when the
// folder does not exist.
bool packer_locate(const char* path, FOLDER* folder, char* name, size_t name_size);

int run_pkg_command(int argc, char** argv);
// "packer build CONFIG -o FILE" and "packer info FILE"; argv[0] is the command's name.
int run_build_command(int argc, char** argv);
int run_info_command(int argc, char** argv);
void print_pkg_help();
