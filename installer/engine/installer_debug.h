// The installer's own debug channel, "Installer Debug" (channel 0).
#pragma once

#include "base/debug_stream.h"

extern DEBUG_STREAM installer_debug;
