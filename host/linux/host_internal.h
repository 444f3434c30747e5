// Functions shared inside the Linux host layer only.
#pragma once

// Closes the two input device descriptors of the host layer if they are open.
void host_close_input_devices();
// Releases pointer and keyboard grabs when the display is in full-screen mode.
void host_release_grabs();
// Runs a program by argument vector (never a shell) and waits. Answers the exit status, 127
// when it could not be started, -1 when it did not exit normally.
int host_run_program(const char* const* argv, bool quiet);
