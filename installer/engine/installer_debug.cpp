// The installer's debug channel. It is built before the framework's own channels, so
// "Installer Debug" is channel 0.

#include "installer/engine/installer_debug.h"
#include "base/static_order.h"

DEBUG_STREAM installer_debug ORLU_INIT_APPLICATION ("Installer Debug", 0, true);
