// Folders and path variables.
#pragma once

// Prints the default folders on the "Default Path Trace" channel (what -v shows).
void trace_default_paths();
