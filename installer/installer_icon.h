// The installer's window icon.
#pragma once

extern const char* const installer_icon_xpm[];
