// What the installer's -v prints: the default folders on the "Default Path Trace" channel.

#include "base/debug_stream.h"
#include "io/folder.h"

void trace_default_paths()
{
    log_default_paths();
}
